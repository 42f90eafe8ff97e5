// Base of every object that the camera kit exposes as a feature holder.
// Its only virtual operation is the destructor, so that a derived
// interface's own operations start at slot 2 of the virtual table.
#ifndef IKV_BASIC_API_H
#define IKV_BASIC_API_H

#include "KorvaTypes.h"

class IKVFeature;

class IKVBasicAPI {
public:
    IKVBasicAPI();
    virtual ~IKVBasicAPI();

    // Remembers the root of the feature tree without owning it.
    int setRootFeature(IKVFeature* root);
    IKVFeature* getRootFeature() const;

    int setFeatureCount(int count);
    int getFeatureCount() const;

private:
    IKVFeature* mpRootFeatureRef;
    int miFeatureCount;
};

#endif
