#include "IKVBasicAPI.h"

IKVBasicAPI::IKVBasicAPI() : mpRootFeatureRef(nullptr), miFeatureCount(0) {}

// The owner has already deleted the tree when this runs, so the remembered
// root must not be looked at here.
IKVBasicAPI::~IKVBasicAPI() {}

int IKVBasicAPI::setRootFeature(IKVFeature* root) {
    mpRootFeatureRef = root;
    return RESULT_OK;
}

IKVFeature* IKVBasicAPI::getRootFeature() const { return mpRootFeatureRef; }

int IKVBasicAPI::setFeatureCount(int count) {
    miFeatureCount = count;
    return RESULT_OK;
}

int IKVBasicAPI::getFeatureCount() const { return miFeatureCount; }
