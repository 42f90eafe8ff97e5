// The feature tree that an image object publishes: one file load feature
// with one string parameter. The feature validates, but loading a file is
// not offered (process_feature and setFromFile refuse).
#include "IKVFeature.h"
#include "IKVValue.h"
#include "ImgProc.h"

int CImgProc::createFileLoadFeature(IKVFeature** feature)
{
    CKvString name("");
    CKvString description("");
    *feature = new IKVFeature(KORVA_FEATURE_FILE_LOAD, "Load a image from file.");
    name = "File name.";
    description = "";
    IKVValue* value = new IKVValue(static_cast<KORVA_ValueId>(1), static_cast<KORVA_Type>(4),
                                   static_cast<KORVA_ValueType>(0), name, description);
    (*feature)->setValue(value);
    KORVA_FeatureState state;
    state.iSize = 8;
    state.stateFlag1 = true;
    state.stateFlag2 = true;
    state.stateFlag3 = false;
    state.stateFlag4 = true;
    (*feature)->setState(&state);
    return RESULT_OK;
}

int CImgProc::createFeatureTree()
{
    int count = 0;
    createFileLoadFeature(&mpRootFeature);
    mpRootFeature->countElements(count);
    setFeatureCount(count);
    return setRootFeature(mpRootFeature);
}

// Written for any tree: children first, then siblings, then the value,
// then the node itself.
void CImgProc::DeleteFeatureTree(IKVFeature* feature)
{
    if (feature == nullptr)
        return;
    IKVFeature* sub = nullptr;
    feature->getSub(&sub);
    if (sub != nullptr)
        DeleteFeatureTree(sub);
    IKVFeature* next = nullptr;
    feature->getNext(&next);
    if (next != nullptr)
        DeleteFeatureTree(next);
    IKVValue* value = nullptr;
    feature->getValue(&value);
    if (value != nullptr)
        DeleteValue(value);
    delete feature;
}

void CImgProc::DeleteValue(IKVValue* value)
{
    if (value == nullptr)
        return;
    IKVValue* next = nullptr;
    value->getNext(&next);
    DeleteValue(next);
    IKVValue* parameters = nullptr;
    value->getParameterList(&parameters);
    DeleteValue(parameters);
    IKVValue* list = nullptr;
    value->getListValue(&list);
    DeleteValue(list);
    delete value;
}

int CImgProc::process_feature(IKVFeature* feature)
{
    KORVA_FeatureId id = static_cast<KORVA_FeatureId>(-1);
    IKVValue* value = nullptr;
    feature->getId(&id);
    feature->getValue(&value);
    return RESULT_NOT_SUPPORTED;
}

bool CImgProc::refresh_feature(IKVFeature* feature, void*)
{
    KORVA_FeatureId id = static_cast<KORVA_FeatureId>(-1);
    feature->getId(&id);
    return id == KORVA_FEATURE_FILE_LOAD;
}

bool CImgProc::validate_feature(IKVFeature* feature)
{
    KORVA_FeatureId id = static_cast<KORVA_FeatureId>(-1);
    feature->getId(&id);
    return id == KORVA_FEATURE_FILE_LOAD;
}
