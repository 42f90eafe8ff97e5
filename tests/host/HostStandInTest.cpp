// The open stand-in of the host library: its string class and feature tree.
#include "CKvString.h"
#include "IKVBasicAPI.h"
#include "IKVFeature.h"
#include "IKVValue.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

std::string Text(const CKvString& s) { return std::string(static_cast<const char*>(s)); }

TEST(CKvString, EmptyNeverNullAndSelfUse) {
    const CKvString fromNull(static_cast<const char*>(nullptr));
    ASSERT_NE(static_cast<const char*>(fromNull), nullptr);
    EXPECT_TRUE(fromNull == nullptr);
    EXPECT_EQ(fromNull.GetAt(0), '\0');
    CKvString s("abc");
    s += s;
    s = s.GetString() + 2;  // a tail of its own text
    for (int i = 0; i < 5; ++i) s += s;  // reallocates while reading itself
    EXPECT_EQ(s.GetLength(), 4 * 32);
    s.Format("<%s>", s.GetString() + 120);
    EXPECT_EQ(Text(s), "<cabccabc>");
    EXPECT_EQ((CKvString("ab") + CKvString("cd")).GetAt(1000), '\0');
}

TEST(CKvString, BufferStaysInside) {
    CKvString s;
    std::memset(s.GetBuffer(4), 'z', 4);  // no terminator written
    s.ReleaseBuffer(-1);
    EXPECT_EQ(Text(s), "zzzz");
    s.GetBuffer(4);
    s.ReleaseBuffer(INT_MAX);
    EXPECT_EQ(Text(s), "zzzz");
    s.GetBuffer(0);
    s.ReleaseBuffer(3);
    EXPECT_EQ(Text(s), "zzz");
}

TEST(CKvString, SearchAndEditClamp) {
    const CKvString s("abcabc");
    const struct { const char* text; int start, expected; } finds[] = {
        {"bc", 2, 4}, {"bc", 5, -1}, {"", 6, 6}, {"a", 7, -1}, {"a", -5, 0}};
    for (const auto& c : finds) EXPECT_EQ(s.Find(c.text, c.start), c.expected) << c.text << c.start;
    EXPECT_EQ(s.ReverseFind('\0'), -1);
    EXPECT_EQ(Text(s.Mid(3, ~0UL)), "abc");
    const struct { int start, count; const char* expected; } deletes[] = {
        {4, 100, "abca"}, {9, 1, "abcabc"}, {1, -3, "abcabc"}, {-2, 2, "cabc"}};
    for (const auto& c : deletes) {
        CKvString d(s);
        EXPECT_EQ(d.Delete(c.start, c.count), static_cast<int>(std::strlen(c.expected)));
        EXPECT_EQ(Text(d), c.expected) << c.start << "," << c.count;
    }
    CKvString r("aaa");
    EXPECT_EQ(r.Replace("aa", "a"), 1);
    EXPECT_EQ(Text(r), "aa");
    EXPECT_EQ(CKvString("  -17xyz").ToInt(), -17);
}

TEST(FeatureTree, LinksCopiesAndCounts) {
    std::string name = "v1";
    IKVFeature root(KORVA_FEATURE_FILE_LOAD, "root"), sub(KORVA_FEATURE_FILE_LOAD, "sub");
    IKVValue* v1 = new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, name.c_str(), nullptr);
    IKVValue* v2 = new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "v2", "");
    name = "##";
    EXPECT_STREQ(v1->getName(), "v1");  // texts are copied
    EXPECT_STREQ(v1->getDescription(), "");
    IKVFeature* f = &root;
    EXPECT_NE(root.getSub(&f), RESULT_OK);
    EXPECT_EQ(f, &root);  // nothing linked: output left alone
    v1->setParameterList(v2);
    root.setValue(v1);
    root.setSub(&sub);
    EXPECT_EQ(root.getSub(&f), RESULT_OK);
    EXPECT_EQ(f, &sub);
    int count = 5;  // adds to what the caller holds
    root.countElements(count);
    EXPECT_EQ(count, 5 + 4);
    KORVA_FeatureState in{8, true, true, false, true}, out{};
    root.setState(&in);
    root.getState(&out);
    EXPECT_EQ(std::memcmp(&in, &out, sizeof in), 0);
    delete v1;  // leaves what it links to alive
    EXPECT_STREQ(v2->getName(), "v2");
    delete v2;
    IKVBasicAPI api;
    EXPECT_EQ(api.getRootFeature(), nullptr);
    api.setRootFeature(&root);
    EXPECT_EQ(api.getRootFeature(), &root);
}

}  // namespace
