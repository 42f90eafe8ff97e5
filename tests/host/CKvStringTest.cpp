#include "CKvString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

std::string Text(const CKvString& s) { return std::string(static_cast<const char*>(s)); }

TEST(CKvString, EmptyStringsNeverGiveNull) {
    CKvString fromDefault;
    CKvString fromNull(static_cast<const char*>(nullptr));
    CKvString copied(fromDefault);
    for (const CKvString* s : {&fromDefault, &fromNull, &copied}) {
        ASSERT_NE(static_cast<const char*>(*s), nullptr);
        EXPECT_STREQ(s->GetString(), "");
        EXPECT_TRUE(s->IsEmpty());
        EXPECT_EQ(s->GetLength(), 0);
        EXPECT_EQ(s->GetAt(0), '\0');
        EXPECT_TRUE(*s == "");
        EXPECT_TRUE(*s == nullptr);
    }
}

TEST(CKvString, SelfAssignmentAndSelfAppend) {
    CKvString s("abc");
    CKvString& alias = s;
    s = alias;
    EXPECT_EQ(Text(s), "abc");
    s += s;
    EXPECT_EQ(Text(s), "abcabc");
    s = s.GetString() + 2;  // assigning a tail of its own text
    EXPECT_EQ(Text(s), "cabc");
    // Forces a reallocation while appending its own text.
    for (int i = 0; i < 5; ++i) s += s;
    EXPECT_EQ(s.GetLength(), 4 * 32);
    EXPECT_EQ(s.Find("cabccabc"), 0);
    s.Format("<%s>", s.GetString() + 120);
    EXPECT_EQ(Text(s), "<cabccabc>");
}

TEST(CKvString, CopyJoinAndCompare) {
    CKvString a("ab");
    CKvString copy(a);
    a += "x";
    EXPECT_EQ(Text(copy), "ab");  // copies do not share their text
    a.Empty();
    EXPECT_TRUE(a.IsEmpty());
    a = "ab";
    const CKvString joined = a + CKvString("cd");
    EXPECT_EQ(Text(joined), "abcd");
    EXPECT_EQ(Text(a), "ab");
    EXPECT_TRUE(joined == "abcd");
    EXPECT_FALSE(joined == "abc");
    EXPECT_FALSE(joined == nullptr);
    EXPECT_EQ(joined.GetAt(3), 'd');
    EXPECT_EQ(joined.GetAt(4), '\0');
    EXPECT_EQ(joined.GetAt(1000), '\0');
}

TEST(CKvString, FormatReplacesContent) {
    CKvString s("old content that is long");
    s.Format("%d-%s-%04x", 42, "x", 255);
    EXPECT_EQ(Text(s), "42-x-00ff");
    s.Format("%s", "");
    EXPECT_TRUE(s.IsEmpty());
    const std::string big(1000, 'q');
    s.Format("[%s]", big.c_str());
    EXPECT_EQ(s.GetLength(), 1002);
}

TEST(CKvString, BufferRoundTrip) {
    CKvString s("hello");
    EXPECT_STREQ(s.GetBuffer(0), "hello");
    s.ReleaseBuffer(-1);
    EXPECT_EQ(Text(s), "hello");

    char* buffer = s.GetBuffer(20);
    std::strcpy(buffer, "a much longer text");
    s.ReleaseBuffer();
    EXPECT_EQ(Text(s), "a much longer text");

    s.GetBuffer(0);
    s.ReleaseBuffer(3);
    EXPECT_EQ(Text(s), "a m");
    EXPECT_EQ(s.GetLength(), 3);

    CKvString empty;
    char* fresh = empty.GetBuffer(0);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh[0], '\0');
    empty.ReleaseBuffer();
    EXPECT_TRUE(empty.IsEmpty());
}

TEST(CKvString, ReleaseBufferStaysInsideTheBuffer) {
    CKvString s;
    char* buffer = s.GetBuffer(4);
    std::memset(buffer, 'z', 4);  // no terminator written
    s.ReleaseBuffer(-1);
    EXPECT_EQ(Text(s), "zzzz");
    s.GetBuffer(4);
    s.ReleaseBuffer(INT_MAX);  // more than was handed out
    EXPECT_GE(s.GetLength(), 4);
    EXPECT_EQ(Text(s), "zzzz");
}

TEST(CKvString, Find) {
    const CKvString s("abcabc");
    struct Case { const char* text; int start; int expected; };
    const Case cases[] = {
        {"bc", 0, 1}, {"bc", 2, 4}, {"bc", 5, -1}, {"x", 0, -1},    {"abc", 3, 3},
        {"c", 6, -1}, {"", 6, 6},   {"a", 7, -1},  {"a", 1000, -1}, {"a", -5, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(s.Find(c.text, c.start), c.expected) << c.text << " from " << c.start;
    EXPECT_EQ(s.Find(nullptr), -1);
    EXPECT_EQ(s.ReverseFind('b'), 4);
    EXPECT_EQ(s.ReverseFind('z'), -1);
    EXPECT_EQ(s.ReverseFind('\0'), -1);
    EXPECT_EQ(CKvString().ReverseFind('a'), -1);
}

TEST(CKvString, MidClampsToText) {
    const CKvString s("abcdef");
    struct Case { unsigned long start, count; const char* expected; };
    const Case cases[] = {
        {0, 3, "abc"}, {2, 2, "cd"}, {4, 100, "ef"}, {6, 1, ""}, {100, 3, ""}, {1, 0, ""},
        {3, ~0UL, "def"},
    };
    for (const Case& c : cases) EXPECT_EQ(Text(s.Mid(c.start, c.count)), c.expected) << c.start;
}

TEST(CKvString, DeleteClampsAndReturnsLength) {
    struct Case { int start, count; const char* expected; };
    const Case cases[] = {
        {0, 1, "bcdef"}, {2, 2, "abef"}, {4, 100, "abcd"}, {6, 1, "abcdef"},
        {9, 1, "abcdef"}, {1, 0, "abcdef"}, {1, -3, "abcdef"}, {-2, 2, "cdef"},
    };
    for (const Case& c : cases) {
        CKvString s("abcdef");
        EXPECT_EQ(s.Delete(c.start, c.count), static_cast<int>(std::strlen(c.expected)));
        EXPECT_EQ(Text(s), c.expected) << c.start << "," << c.count;
    }
}

TEST(CKvString, ReplaceCountsOccurrences) {
    struct Case { const char* text; const char* from; const char* to; int count; const char* expected; };
    const Case cases[] = {
        {"a.b.c", ".", "::", 2, "a::b::c"}, {"aaaa", "aa", "b", 2, "bb"},
        {"aaa", "aa", "a", 1, "aa"},        {"abc", "x", "y", 0, "abc"},
        {"abc", "", "y", 0, "abc"},         {"abcabc", "abc", "", 2, ""},
        {"x<y", "<", "&lt;", 1, "x&lt;y"},  {"", "a", "b", 0, ""},
    };
    for (const Case& c : cases) {
        CKvString s(c.text);
        EXPECT_EQ(s.Replace(c.from, c.to), c.count) << c.text;
        EXPECT_EQ(Text(s), c.expected) << c.text;
    }
    CKvString s("abab");
    EXPECT_EQ(s.Replace(s.GetString() + 2, "x"), 2);  // pattern taken from itself
    EXPECT_EQ(Text(s), "xx");
}

TEST(CKvString, UpperAndInteger) {
    CKvString s("0x1f-Ab");
    s.MakeUpper();
    EXPECT_EQ(Text(s), "0X1F-AB");
    struct Case { const char* text; int value; };
    const Case cases[] = {{"42", 42}, {"  -17xyz", -17}, {"+8", 8}, {"abc", 0}, {"", 0}};
    for (const Case& c : cases) EXPECT_EQ(CKvString(c.text).ToInt(), c.value) << c.text;
}

}  // namespace
