// Default bodies of the image interface's optional operations.
#include "ikvimage.h"

IKVImage::~IKVImage() {}

int IKVImage::setSystemBuffer(unsigned char*, int)
{
    return RESULT_NOT_SUPPORTED;
}

int IKVImage::getChunkOfData(KORVA_ChunkId, unsigned char**, int*)
{
    return RESULT_NOT_SUPPORTED;
}

int IKVImage::setChunkOfData(KORVA_ChunkId, unsigned char*, int, int, int)
{
    return RESULT_NOT_SUPPORTED;
}

void IKVImage::freeChunkOfData() {}

int IKVImage::getState(KORVA_ImageStatus*)
{
    return RESULT_NOT_SUPPORTED;
}

int IKVImage::setState(KORVA_ImageStatus)
{
    return RESULT_NOT_SUPPORTED;
}

int IKVImage::getStateInformation(KORVA_ImageInformation*)
{
    return RESULT_NOT_SUPPORTED;
}

int IKVImage::setStateInformation(KORVA_ImageInformation)
{
    return RESULT_NOT_SUPPORTED;
}
