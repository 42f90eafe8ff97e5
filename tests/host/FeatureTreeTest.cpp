#include "IKVBasicAPI.h"
#include "IKVFeature.h"
#include "IKVValue.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

IKVValue* MakeValue(const char* name) {
    return new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, name, "");
}

TEST(FeatureTree, NodesKeepCopiesOfTheirTexts) {
    std::string name = "Load a image from file.";
    std::string valueName = "File name.";
    std::string description = "desc";
    IKVFeature feature(KORVA_FEATURE_FILE_LOAD, name.c_str());
    IKVValue value(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, valueName.c_str(),
                   description.c_str());
    name.assign(name.size(), '#');
    valueName.assign(valueName.size(), '#');
    description.assign(description.size(), '#');

    EXPECT_STREQ(feature.getName(), "Load a image from file.");
    EXPECT_STREQ(value.getName(), "File name.");
    EXPECT_STREQ(value.getDescription(), "desc");
    EXPECT_EQ(value.getId(), KORVA_VALUE_FILE_NAME);
    EXPECT_EQ(value.getType(), KORVA_TYPE_STRING);
    EXPECT_EQ(value.getValueType(), KORVA_VALUETYPE_PLAIN);

    KORVA_FeatureId id = static_cast<KORVA_FeatureId>(-1);
    EXPECT_EQ(feature.getId(&id), RESULT_OK);
    EXPECT_EQ(id, KORVA_FEATURE_FILE_LOAD);
}

TEST(FeatureTree, GettersLeaveOutputAloneWhenNothingIsLinked) {
    IKVFeature feature(KORVA_FEATURE_FILE_LOAD, "f");
    IKVValue value(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, nullptr, nullptr);
    EXPECT_STREQ(value.getName(), "");
    EXPECT_STREQ(value.getDescription(), "");

    for (auto getter : {&IKVFeature::getSub, &IKVFeature::getNext}) {
        IKVFeature* f = &feature;
        EXPECT_NE((feature.*getter)(&f), RESULT_OK);
        EXPECT_EQ(f, &feature);
    }

    IKVValue* const valueMarker = &value;
    IKVValue* v = valueMarker;
    feature.getValue(&v);
    EXPECT_EQ(v, valueMarker);
    for (auto getter : {&IKVValue::getNext, &IKVValue::getParameterList, &IKVValue::getListValue}) {
        v = valueMarker;
        EXPECT_NE((value.*getter)(&v), RESULT_OK);
        EXPECT_EQ(v, valueMarker);
    }
}

TEST(FeatureTree, LinksAndStateRoundTrip) {
    IKVFeature root(KORVA_FEATURE_FILE_LOAD, "root");
    IKVFeature sub(KORVA_FEATURE_FILE_LOAD, "sub");
    IKVFeature next(KORVA_FEATURE_FILE_LOAD, "next");
    IKVValue value(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "v", "");
    root.setSub(&sub);
    root.setNext(&next);
    root.setValue(&value);

    IKVFeature* f = nullptr;
    EXPECT_EQ(root.getSub(&f), RESULT_OK);
    EXPECT_EQ(f, &sub);
    EXPECT_EQ(root.getNext(&f), RESULT_OK);
    EXPECT_EQ(f, &next);
    IKVValue* v = nullptr;
    EXPECT_EQ(root.getValue(&v), RESULT_OK);
    EXPECT_EQ(v, &value);

    KORVA_FeatureState in{8, true, true, false, true};
    EXPECT_EQ(root.setState(&in), RESULT_OK);
    KORVA_FeatureState out{0, false, false, true, false};
    EXPECT_EQ(root.getState(&out), RESULT_OK);
    EXPECT_EQ(std::memcmp(&in, &out, sizeof in), 0);
}

TEST(FeatureTree, CountElements) {
    // The image object's tree: one feature with one value.
    IKVFeature single(KORVA_FEATURE_FILE_LOAD, "f");
    IKVValue* plain = MakeValue("v");
    single.setValue(plain);
    int count = 0;
    EXPECT_EQ(single.countElements(count), RESULT_OK);
    EXPECT_EQ(count, 2);
    count = 5;  // adds to what the caller holds
    single.countElements(count);
    EXPECT_EQ(count, 7);
    delete plain;

    // root(value: v1 -> v2, v1 params p1, v1 list l1) / sub: s1 -> s2 / next: n1(sub s3)
    IKVFeature root(KORVA_FEATURE_FILE_LOAD, "root");
    IKVFeature s1(KORVA_FEATURE_FILE_LOAD, "s1"), s2(KORVA_FEATURE_FILE_LOAD, "s2");
    IKVFeature n1(KORVA_FEATURE_FILE_LOAD, "n1"), s3(KORVA_FEATURE_FILE_LOAD, "s3");
    IKVValue* v1 = MakeValue("v1");
    IKVValue* v2 = MakeValue("v2");
    IKVValue* p1 = MakeValue("p1");
    IKVValue* l1 = MakeValue("l1");
    v1->setNext(v2);
    v1->setParameterList(p1);
    v1->setListValue(l1);
    root.setValue(v1);
    root.setSub(&s1);
    s1.setNext(&s2);
    root.setNext(&n1);
    n1.setSub(&s3);

    count = 0;
    v1->countElements(count);
    EXPECT_EQ(count, 4);
    count = 0;
    root.countElements(count);
    EXPECT_EQ(count, 5 + 4);
    count = 0;
    n1.countElements(count);
    EXPECT_EQ(count, 2);

    // Destroying a node leaves everything it links to alive (ASan would report otherwise).
    delete v1;
    EXPECT_STREQ(v2->getName(), "v2");
    EXPECT_STREQ(p1->getName(), "p1");
    EXPECT_STREQ(l1->getName(), "l1");
    delete v2;
    delete p1;
    delete l1;
}

TEST(FeatureTree, BasicApiRemembersWithoutOwning) {
    IKVFeature* root = new IKVFeature(KORVA_FEATURE_FILE_LOAD, "root");
    {
        IKVBasicAPI api;
        EXPECT_EQ(api.getRootFeature(), nullptr);
        EXPECT_EQ(api.getFeatureCount(), 0);
        EXPECT_EQ(api.setRootFeature(root), RESULT_OK);
        EXPECT_EQ(api.setFeatureCount(2), RESULT_OK);
        EXPECT_EQ(api.getRootFeature(), root);
        EXPECT_EQ(api.getFeatureCount(), 2);
        // The owner deletes the tree before the holder goes away.
        delete root;
    }
}

}  // namespace
