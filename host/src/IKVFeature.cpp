#include "IKVFeature.h"

#include <cstring>

#include "IKVValue.h"

namespace {

// The caller's name is usually a temporary, so the node keeps its own copy.
char* CopyText(const char* text) {
    if (text == nullptr) text = "";
    const std::size_t length = std::strlen(text);
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length + 1);
    return copy;
}

}  // namespace

IKVFeature::IKVFeature(KORVA_FeatureId id, const char* name)
    : mId(id),
      mpName(CopyText(name)),
      mpValue(nullptr),
      mpSub(nullptr),
      mpNext(nullptr),
      mState{static_cast<int32_t>(sizeof(KORVA_FeatureState)), false, false, false, false} {}

// Linked nodes and values belong to whoever built the tree; they are deleted
// by that owner, so only the node's own name goes here.
namespace {
IKVFeature::DeleteObserver g_deleteObserver = nullptr;
void* g_deleteObserverContext = nullptr;
}  // namespace

void IKVFeature::SetDeleteObserver(DeleteObserver observer, void* context) {
    g_deleteObserver = observer;
    g_deleteObserverContext = context;
}

IKVFeature::~IKVFeature() {
    if (g_deleteObserver != nullptr) g_deleteObserver(this, g_deleteObserverContext);
    delete[] mpName;
}

int IKVFeature::getId(KORVA_FeatureId* id) {
    if (id == nullptr) return RESULT_BAD_PARAM;
    *id = mId;
    return RESULT_OK;
}

const char* IKVFeature::getName() const { return mpName; }

// The getters leave *out untouched when there is nothing to deliver: callers
// preset it to null and test it afterwards.
int IKVFeature::getValue(IKVValue** value) {
    if (value == nullptr) return RESULT_BAD_PARAM;
    if (mpValue == nullptr) return RESULT_NOT_SUPPORTED;
    *value = mpValue;
    return RESULT_OK;
}

int IKVFeature::setValue(IKVValue* value) {
    mpValue = value;
    return RESULT_OK;
}

int IKVFeature::setState(KORVA_FeatureState* state) {
    if (state == nullptr) return RESULT_BAD_PARAM;
    mState = *state;
    return RESULT_OK;
}

// Delivers the whole record, size word included, as it was last stored.
int IKVFeature::getState(KORVA_FeatureState* state) {
    if (state == nullptr) return RESULT_BAD_PARAM;
    *state = mState;
    return RESULT_OK;
}

int IKVFeature::getSub(IKVFeature** feature) {
    if (feature == nullptr) return RESULT_BAD_PARAM;
    if (mpSub == nullptr) return RESULT_NOT_SUPPORTED;
    *feature = mpSub;
    return RESULT_OK;
}

int IKVFeature::setSub(IKVFeature* feature) {
    mpSub = feature;
    return RESULT_OK;
}

int IKVFeature::getNext(IKVFeature** feature) {
    if (feature == nullptr) return RESULT_BAD_PARAM;
    if (mpNext == nullptr) return RESULT_NOT_SUPPORTED;
    *feature = mpNext;
    return RESULT_OK;
}

int IKVFeature::setNext(IKVFeature* feature) {
    mpNext = feature;
    return RESULT_OK;
}

// One element per feature and one per value reachable from it: this node,
// its value chain (next values, parameter lists and list values), its
// sub-features and its following siblings, all recursively. So a feature
// with a single plain value counts 2. Siblings are walked in a loop so that a
// long sibling chain does not deepen the recursion; depth is only spent on
// sub-features. The tree is assumed to be free of cycles.
int IKVFeature::countElements(int& count) {
    for (IKVFeature* feature = this; feature != nullptr; feature = feature->mpNext) {
        ++count;
        if (feature->mpValue != nullptr) feature->mpValue->countElements(count);
        if (feature->mpSub != nullptr) feature->mpSub->countElements(count);
    }
    return RESULT_OK;
}
