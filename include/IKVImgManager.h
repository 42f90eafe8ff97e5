// The image manager that the plug-in hands to the host. Operation order is
// part of the binary contract.
#ifndef IKVIMGMANAGER_H
#define IKVIMGMANAGER_H

class IKVImage;

class IKVImgManager {
public:
    virtual ~IKVImgManager() {}
    virtual int create(IKVImage** image) = 0;
    virtual int destroy(IKVImage* image) = 0;
};

#endif
