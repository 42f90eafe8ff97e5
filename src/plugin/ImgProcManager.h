// Creates and destroys image objects and keeps those that live, so that
// whatever the host forgets is destroyed when the plug-in is unloaded.
#ifndef IMGPROC_MANAGER_H
#define IMGPROC_MANAGER_H

#include <list>

#include "IKVImgManager.h"

class CImgProc;

class CImgProcManager : public IKVImgManager {
public:
    CImgProcManager();
    ~CImgProcManager() override;

    int create(IKVImage** image) override;
    int destroy(IKVImage* image) override;

    int Add(CImgProc* image);

    // In order of creation; the list owns the objects.
    std::list<CImgProc*> mImages;
};

#endif
