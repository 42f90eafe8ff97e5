// A node of a feature tree. The node links to a first child, a next sibling
// and a value; it owns none of them: whoever builds a tree deletes it.
#ifndef IKV_FEATURE_H
#define IKV_FEATURE_H

#include "KorvaTypes.h"

class IKVValue;

class IKVFeature {
public:
    IKVFeature(KORVA_FeatureId id, const char* name);
    virtual ~IKVFeature();

    int getId(KORVA_FeatureId* id);
    const char* getName() const;

    int getValue(IKVValue** value);
    int setValue(IKVValue* value);

    int setState(KORVA_FeatureState* state);
    int getState(KORVA_FeatureState* state);

    int getSub(IKVFeature** feature);
    int setSub(IKVFeature* feature);
    int getNext(IKVFeature** feature);
    int setNext(IKVFeature* feature);

    // Adds the number of elements of the tree below and including this node
    // (features and the values attached to them) to count.
    int countElements(int& count);

    // Observation point of the stand-in, for tests of a plug-in's teardown:
    // the observer sees every feature just before it is destroyed.
    typedef void (*DeleteObserver)(IKVFeature* feature, void* context);
    static void SetDeleteObserver(DeleteObserver observer, void* context);

private:
    // Owns its texts: a copy would release them twice.
    IKVFeature(const IKVFeature&) = delete;
    IKVFeature& operator=(const IKVFeature&) = delete;

    KORVA_FeatureId mId;
    char* mpName;
    IKVValue* mpValue;
    IKVFeature* mpSub;
    IKVFeature* mpNext;
    KORVA_FeatureState mState;
};

#endif
