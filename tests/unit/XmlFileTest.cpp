// The XML document file: writing with and without the prologue, reading
// back, typed children and typed reads.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "XML.h"

namespace {

std::string Str(const CKvString& s)
{
    return s.GetString();
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

class XmlFile : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/xmlfileXXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        mDir = pattern;
    }
    void TearDown() override
    {
        std::remove((mDir + "/doc.xml").c_str());
        rmdir(mDir.c_str());
    }
    std::string mDir;
};

TEST_F(XmlFile, WritesThePrologueAndDropsTheLastByte)
{
    CXML xml;
    EXPECT_EQ("transformer.xsl", Str(xml.GetTransformer()));
    xml.SetTransformer("view.xsl");
    ASSERT_TRUE(xml.SetDoc("<cfg><n>5</n></cfg>\n"));
    // The extension is added to a name without it.
    ASSERT_TRUE(xml.WriteAs((mDir + "/doc").c_str()));
    EXPECT_EQ(mDir + "/doc.xml", Str(xml.GetFileName()));
    EXPECT_EQ("<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" href=\"view.xsl\"?>\n\n"
              "<cfg><n>5</n></cfg>",
              ReadFile(mDir + "/doc.xml"));
    // The held document keeps its text.
    EXPECT_EQ("<cfg><n>5</n></cfg>\n", Str(xml.GetDoc()));

    CXML back((mDir + "/doc.xml").c_str());
    ASSERT_TRUE(back.IsWellFormed());
    ASSERT_TRUE(back.FindChildElem("n"));
    EXPECT_EQ(5, back.GetChildIntData());
}

TEST_F(XmlFile, OwnPrologueIsKeptAndWriteReusesTheName)
{
    const std::string text = "<?xml version=\"1.0\"?>\n<cfg/>";
    CXML xml;
    ASSERT_TRUE(xml.SetDoc(text.c_str()));
    ASSERT_TRUE(xml.WriteAs((mDir + "/doc.xml").c_str()));
    EXPECT_EQ(text.substr(0, text.size() - 1), ReadFile(mDir + "/doc.xml"));
    // The last byte was the tag's '>': the file no longer parses.
    CXML back;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(back.Open((mDir + "/doc.xml").c_str()));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ("End of tag not found", Str(back.GetError()));

    EXPECT_FALSE(xml.ResetDoc());
    ASSERT_TRUE(xml.SetDoc("<?xml version=\"1.0\"?><c/>\n"));
    ASSERT_TRUE(xml.Write());
    EXPECT_EQ("<?xml version=\"1.0\"?><c/>", ReadFile(mDir + "/doc.xml"));
}

TEST_F(XmlFile, UnreadableFilesGiveFalse)
{
    CXML xml;
    EXPECT_FALSE(xml.Open((mDir + "/missing.xml").c_str()));
    // A directory named like a document.
    const std::string dir = mDir + "/d.xml";
    ASSERT_EQ(0, mkdir(dir.c_str(), 0700));
    EXPECT_FALSE(xml.Open(dir.c_str()));
    EXPECT_FALSE(xml.WriteAs(dir.c_str()));
    rmdir(dir.c_str());
    EXPECT_EQ(0, CreateAllDirectories("a\\b\\c"));
}

TEST(XmlTyped, ChildrenAndReads)
{
    CXML xml;
    ASSERT_TRUE(xml.SetDoc("<v><i>-12</i><h>0x1f</h><H>0X1F</H><bad>g0x1</bad><f>2.5</f><t>true</t></v>"));
    ASSERT_TRUE(xml.FindElem());
    long l = 0;
    int i = 0;
    ASSERT_TRUE(xml.FindChildElem("i"));
    EXPECT_TRUE(xml.GetChildData(l) && xml.GetChildData(i));
    EXPECT_EQ(-12 * 3, l + i + xml.GetChildIntData());
    // Hexadecimal with either x; a leading letter refuses.
    for (const char* child : {"h", "H", "bad"}) {
        l = 0;
        ASSERT_TRUE(xml.FindChildElem(child));
        EXPECT_EQ(std::string(child) != "bad", xml.GetChildData(l)) << child;
        EXPECT_TRUE(std::string(child) == "bad" || l == 31) << child;
    }
    double d = 0;
    float f = 0;
    bool b = false;
    CKvString s;
    ASSERT_TRUE(xml.FindChildElem("f"));
    EXPECT_TRUE(xml.GetChildData(d) && xml.GetChildData(f) && xml.GetChildData(s));
    EXPECT_TRUE(d == 2.5 && f == 2.5f && Str(s) == "2.5");
    ASSERT_TRUE(xml.FindChildElem("t"));
    EXPECT_TRUE(xml.GetChildData(b) && b);

    // The number forms store "true" whatever the number.
    EXPECT_TRUE(xml.AddChildElem("n", 5));
    EXPECT_EQ("true", Str(xml.GetChildData()));
    EXPECT_TRUE(xml.AddChildElem("z", 0.0));
    EXPECT_EQ("true", Str(xml.GetChildData()));
    EXPECT_TRUE(xml.AddChildElem("no", false));
    EXPECT_TRUE(xml.GetChildData(b));
    EXPECT_FALSE(b);
    EXPECT_TRUE(xml.AddChildElem("s", "text"));
    EXPECT_EQ("text", Str(xml.GetChildData()));
}

}  // namespace
