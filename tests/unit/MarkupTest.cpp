// The markup document: parse, walk and edit round trips, the parse errors,
// entities, comments, and inputs that must fail cleanly.
#include <gtest/gtest.h>

#include <string>

#include "Markup.h"

namespace {

std::string Str(const CKvString& s)
{
    return s.GetString();
}

// Names and data of every element, depth first, from the records.
std::string Walk(CMarkup& doc)
{
    std::string out;
    doc.ResetPos();
    int depth = 0;
    for (;;) {
        if (doc.FindElem()) {
            out += "<" + Str(doc.GetTagName()) + "|" + Str(doc.GetData());
            doc.IntoElem();
            ++depth;
        } else if (depth > 0 && doc.OutOfElem()) {
            --depth;
            out += ">";
        } else {
            return out;
        }
    }
}

// Edits must leave records that agree with a fresh parse of the new text.
void ExpectReparses(CMarkup& doc)
{
    CMarkup again;
    ASSERT_TRUE(again.SetDoc(doc.GetDoc())) << doc.GetDoc().GetString();
    EXPECT_EQ(Walk(again), Walk(doc));
}

TEST(Markup, WalksElementsAttributesAndData)
{
    CMarkup doc;
    // Text may hold "-->" and a comment may hold markup: neither is a node.
    ASSERT_TRUE(doc.SetDoc("<?xml version=\"1.0\"?>\n<!DOCTYPE r [<!ELEMENT r ANY>]>\n"
                           "<r v='1'>\na--><!-- note --><!--<b>-->\n"
                           "<item id=\"a&amp;b\" n=x>one &amp; &lt;two&gt; &apos;&quot; &unknown; &amp</item>\n"
                           "<empty/>\n<raw>  <![CDATA[<b>&amp;]]></raw>\n</r>trailing <x/>"));
    EXPECT_TRUE(doc.IsWellFormed());
    EXPECT_TRUE(doc.FindElem("r"));
    EXPECT_FALSE(doc.FindChildElem("none"));
    EXPECT_EQ("1", Str(doc.GetAttrib("v")));
    EXPECT_EQ("", Str(doc.GetAttrib("w")));
    ASSERT_TRUE(doc.FindChildElem("item"));
    EXPECT_EQ("item", Str(doc.GetChildTagName()));
    EXPECT_EQ("a&b", Str(doc.GetChildAttrib("id")));
    EXPECT_EQ("x", Str(doc.GetChildAttrib("n")));
    // Known entities decode; an unknown one and a bare '&' stay as written.
    EXPECT_EQ("one & <two> '\" &unknown; &amp", Str(doc.GetChildData()));
    ASSERT_TRUE(doc.FindChildElem());
    EXPECT_EQ("empty", Str(doc.GetChildTagName()));
    EXPECT_EQ("", Str(doc.GetChildData()));
    ASSERT_TRUE(doc.FindChildElem("raw"));
    EXPECT_EQ("<b>&amp;", Str(doc.GetChildData()));
    EXPECT_FALSE(doc.FindChildElem());
    // An element with children has no data; text after the root is ignored.
    EXPECT_EQ("", Str(doc.GetData()));
    EXPECT_EQ("<r|<item|one & <two> '\" &unknown; &amp><empty|><raw|<b>&amp;>>", Walk(doc));
}

TEST(Markup, ParseErrorsNameTheirCause)
{
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"", ""},
        {"<", "Abrupt end within tag"},
        {"<'a'/>", "Tag starts with quote"},
        {"<a", "End of tag not found"},
        {"<?xml?>", "Element tag not found"},
        {"<a>text", "Element tag not found"},
        {"<a><b></a>", "End tag does not correspond to b"},
        {"<a></a", "End tag not completed for element a"},
        {"<a><!-- open</a>", "Invalid node"},
        {"<a><![CDATA[open</a>", "Invalid node"},
        // '<' and white space before '!' or '?' would find the same '<' again.
        {"< !x><a/>", "Invalid node"},
        {"<a>< ?x?></a>", "Invalid node"},
    };
    for (const auto& c : cases) {
        CMarkup doc;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(doc.SetDoc(c.text)) << c.text;
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(c.error, Str(doc.GetError())) << c.text;
        EXPECT_EQ(*c.error ? "Parser error: " + std::string(c.error) + "\n" : "", printed) << c.text;
        EXPECT_FALSE(doc.IsWellFormed());
        EXPECT_EQ(c.text, Str(doc.GetDoc()));
        EXPECT_FALSE(doc.FindElem());
    }
}

TEST(Markup, EditsShiftEveryLaterRecord)
{
    CMarkup doc;
    ASSERT_TRUE(doc.SetDoc("<r><a>1</a>\r\n<b/>\r\n<c k=\"old\">3</c></r>"));
    ASSERT_TRUE(doc.FindElem());
    ASSERT_TRUE(doc.FindChildElem("a"));
    EXPECT_TRUE(doc.AddChildElem("n", "x<&y"));
    EXPECT_EQ("x<&y", Str(doc.GetChildData()));
    ASSERT_TRUE(doc.FindChildElem("b"));
    EXPECT_TRUE(doc.SetChildAttrib("k", "v\"<"));
    ASSERT_TRUE(doc.IntoElem());
    EXPECT_TRUE(doc.AddChildElem("inner"));
    EXPECT_TRUE(doc.OutOfElem());
    ASSERT_TRUE(doc.FindChildElem("c"));
    EXPECT_TRUE(doc.SetChildAttrib("k", "new"));
    EXPECT_TRUE(doc.SetAttrib("top", "1"));
    EXPECT_EQ("<r top=\"1\"><a>1</a>\r\n<n>x&lt;&amp;y</n>\r\n"
              "<b k=\"v&quot;&lt;\"><inner/>\r\n</b>\r\n<c k=\"new\">3</c></r>",
              Str(doc.GetDoc()));
    const CMarkup copy(doc);
    EXPECT_EQ("new", Str(copy.GetChildAttrib("k")));
    ExpectReparses(doc);

    // An empty document takes a root element.
    CMarkup fresh;
    EXPECT_FALSE(fresh.AddChildElem("x"));
    EXPECT_TRUE(fresh.AddElem("root", "v"));
    EXPECT_EQ("<root>v</root>\r\n", Str(fresh.GetDoc()));
    EXPECT_TRUE(fresh.IsWellFormed());
    // Its first child goes inside it, behind the data.
    EXPECT_TRUE(fresh.AddChildElem("c"));
    EXPECT_EQ("<root>v<c/>\r\n</root>\r\n", Str(fresh.GetDoc()));
}

// The builder's insert mode, which no public call takes yet: the new
// element goes in front of the given sibling, in the text and in the links.
struct InsertingMarkup : CMarkup {
    using CMarkup::x_AddElem;
};

TEST(Markup, InsertGoesInFrontOfTheSibling)
{
    InsertingMarkup doc;
    ASSERT_TRUE(doc.SetDoc("<r><a/><b/><c/></r>"));
    ASSERT_TRUE(doc.FindElem());
    ASSERT_TRUE(doc.FindChildElem("c"));
    EXPECT_TRUE(doc.x_AddElem("n", nullptr, true, true));
    EXPECT_EQ("<r|<a|><b|><n|><c|>>", Walk(doc));
    ExpectReparses(doc);
}

TEST(Markup, AttributeWithUnclosedQuoteStaysInItsTag)
{
    // The value's quote runs past the tag: it is no attribute, and setting
    // one must not swallow the content behind the tag.
    CMarkup doc;
    ASSERT_TRUE(doc.SetDoc("<r id='q>text</r>"));
    ASSERT_TRUE(doc.FindElem());
    EXPECT_EQ("", Str(doc.GetAttrib("id")));
    EXPECT_TRUE(doc.SetAttrib("id", "v"));
    EXPECT_EQ("text", Str(doc.GetData()));
    ExpectReparses(doc);
}

TEST(Markup, EmptyElementOpensForAChild)
{
    // Every '/' before the '>' goes, or the element would still read as empty.
    CMarkup doc;
    ASSERT_TRUE(doc.SetDoc("<r><a x=1//></r>"));
    ASSERT_TRUE(doc.FindChildElem());
    ASSERT_TRUE(doc.IntoElem());
    EXPECT_TRUE(doc.AddChildElem("c", "v"));
    EXPECT_EQ("<r><a x=1><c>v</c>\r\n</a></r>", Str(doc.GetDoc()));
    ExpectReparses(doc);
}

TEST(Markup, DeepNestingParsesWithoutRecursion)
{
    const int depth = 100000;
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    CMarkup open;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(open.SetDoc(text.c_str()));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ("Element tag not found", Str(open.GetError()));

    text += "x";
    for (int i = 0; i < depth; ++i)
        text += "</a>";
    CMarkup doc;
    ASSERT_TRUE(doc.SetDoc(text.c_str()));
    int level = 0;
    while (doc.FindElem("a") && doc.IntoElem())
        ++level;
    EXPECT_EQ(depth, level);
    EXPECT_TRUE(doc.OutOfElem());
    EXPECT_EQ("x", Str(doc.GetData()));
}

TEST(Markup, StripCommentsUpToTheNextTag)
{
    EXPECT_EQ("<a><b/></a>", Str(CMarkup::StripComments("<a><!-- x -->  <b/><!--y--></a>")));
    EXPECT_EQ("<a/>tail", Str(CMarkup::StripComments("<a/><!-- z -->tail")));
    EXPECT_EQ("<a/><!-- open", Str(CMarkup::StripComments("<a/><!-- open")));
}

}  // namespace
