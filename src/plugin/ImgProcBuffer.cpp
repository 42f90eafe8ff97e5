// Buffer ownership of the image object: only a buffer that the object
// allocated itself is ever released by it; any other is merely forgotten.
#include <cstdio>

#include "ImgProc.h"

void CImgProc::freeBufferinternal()
{
    mMemSrc.FreeBasePointer(miBufferType == KORVA_BUFFER_INTERNAL);
}

int CImgProc::allocateBuffer(int size)
{
    if (miBufferType == KORVA_BUFFER_EXTERNAL || miBufferType == KORVA_BUFFER_SYSTEM)
        return RESULT_ERROR;
    if (size == 0)
        return RESULT_BAD_PARAM;
    if (size != mMemSrc.miBufferLength) {
        freeBufferinternal();
        // A negative size would be an enormous request once sign-extended;
        // it can never be satisfied, so it takes the failure path without
        // asking the allocator.
        unsigned char* buffer = size > 0 ? KvAllocateGuarded(size) : nullptr;
        if (buffer != nullptr) {
            mMemSrc.SetBasePointer(buffer, size);
        } else {
            CKvString message;
            message.Format("KORVA CImgProc::allocateBuffer throw an exception for size %d, ptr 0x%p reason bad alloc\n",
                           size, static_cast<void*>(nullptr));
            std::fputs(message, stdout);
            std::fflush(stdout);
        }
    }
    return mMemSrc.mpBasePointer != nullptr ? RESULT_OK : RESULT_ERROR;
}

int CImgProc::freeBuffer()
{
    freeBufferinternal();
    return RESULT_OK;
}

// setBuffer and setSystemBuffer differ only in the kind they leave behind.
static int SetForeignBuffer(CImgProc& image, unsigned char* buffer, int length, int32_t kind)
{
    if ((length == 0 && buffer != nullptr) || (length != 0 && buffer == nullptr))
        return RESULT_BAD_PARAM;
    image.freeBufferinternal();
    image.mMemSrc.SetBasePointer(buffer, length);
    image.miBufferType = (length == 0 && buffer == nullptr) ? KORVA_BUFFER_INTERNAL : kind;
    return RESULT_OK;
}

int CImgProc::setBuffer(unsigned char* buffer, int length)
{
    return SetForeignBuffer(*this, buffer, length, KORVA_BUFFER_EXTERNAL);
}

int CImgProc::setSystemBuffer(unsigned char* buffer, int length)
{
    return SetForeignBuffer(*this, buffer, length, KORVA_BUFFER_SYSTEM);
}

int CImgProc::useExternalBuffer(bool use)
{
    if (miBufferType == KORVA_BUFFER_EXTERNAL)
        return RESULT_OK;
    if (use) {
        // An own buffer stays in the view and is from now on the caller's:
        // the object never releases it.
        miBufferType = KORVA_BUFFER_EXTERNAL;
    } else {
        freeBufferinternal();
        miBufferType = KORVA_BUFFER_INTERNAL;
    }
    return RESULT_OK;
}

int CImgProc::isExternBuffer(bool* external)
{
    if (external == nullptr)
        return RESULT_BAD_PARAM;
    *external = miBufferType == KORVA_BUFFER_EXTERNAL;
    return RESULT_OK;
}

int CImgProc::getBuffer(unsigned char** buffer)
{
    *buffer = mMemSrc.mpBasePointer;
    return *buffer != nullptr ? RESULT_OK : RESULT_ERROR;
}

int CImgProc::getExternalBuffer(unsigned char** buffer)
{
    if (miBufferType != KORVA_BUFFER_EXTERNAL) {
        *buffer = nullptr;
        return RESULT_ERROR;
    }
    *buffer = mMemSrc.mpBasePointer;
    return RESULT_OK;
}

int CImgProc::getBufferLength(int* maximum, int* minimum, int* current)
{
    if (maximum == nullptr || minimum == nullptr || current == nullptr)
        return RESULT_BAD_PARAM;
    *maximum = miMaxBufferLength;
    *minimum = miMinBufferLength;
    *current = mMemSrc.miBufferLength;
    return RESULT_OK;
}

int CImgProc::setMaxBufferLength(int length)
{
    if (miBufferType == KORVA_BUFFER_EXTERNAL)
        return RESULT_ERROR;
    miMaxBufferLength = length;
    return RESULT_OK;
}

int CImgProc::setMinBufferLength(int length)
{
    if (miBufferType == KORVA_BUFFER_EXTERNAL)
        return RESULT_ERROR;
    miMinBufferLength = length;
    return RESULT_OK;
}
