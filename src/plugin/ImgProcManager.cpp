#include "ImgProcManager.h"

#include <algorithm>

#include "ImgProc.h"

CImgProcManager::CImgProcManager() {}

CImgProcManager::~CImgProcManager()
{
    // Forgotten images go in order of creation. Nodes stay in place during
    // the walk; the list's own destructor releases them afterwards.
    for (CImgProc* image : mImages) {
        if (image != nullptr)
            delete image;
    }
    mImages.clear();
}

int CImgProcManager::create(IKVImage** image)
{
    CImgProc* created = new CImgProc();
    if (created == nullptr)
        return RESULT_FAIL;
    Add(created);
    *image = created;
    return RESULT_OK;
}

int CImgProcManager::destroy(IKVImage* image)
{
    // Compared as addresses: the list holds CImgProc pointers, the host
    // passes the interface pointer of the same object.
    auto same = [image](CImgProc* held) { return static_cast<IKVImage*>(held) == image; };
    if (std::find_if(mImages.begin(), mImages.end(), same) == mImages.end())
        return RESULT_BAD_PARAM;
    mImages.remove_if(same);
    if (image != nullptr)
        delete image;
    return RESULT_OK;
}

int CImgProcManager::Add(CImgProc* image)
{
    mImages.push_back(image);
    return RESULT_OK;
}
