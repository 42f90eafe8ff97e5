#include "KvImageStretch.h"

CKvImageStretch::CKvImageStretch() : miStretchState(0), mpStretchBuffer(nullptr), miStretchIndex(-1) {}

CKvImageStretch::~CKvImageStretch() {}

int CKvImageStretch::Transform(eKVIMGFILTYPE, unsigned int, unsigned int, char*, unsigned int, unsigned int, char*&,
                               unsigned int, unsigned int)
{
    return 0;
}

int CKvImageStretch::TransformFix(eKVIMGFILTYPE, unsigned int, unsigned int, char*, unsigned int, unsigned int,
                                  char*, unsigned int, unsigned int)
{
    return 0;
}

int CKvImageStretch::TransformFixByRoi(eKVIMGFILTYPE, unsigned int, double, char*, unsigned int, unsigned int,
                                       unsigned int, unsigned int, unsigned int, unsigned int, char*, unsigned int,
                                       unsigned int)
{
    return 0;
}
