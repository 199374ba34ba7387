#include "support/Files.h"
#include "support/LogCapture.h"

#include <vlio2/FileWriter.h>
#include <vlio2/XmlData.h>
#include <vlio2/XmlScan.h>

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace vlio;
using namespace std::string_literals;
using Lines = std::vector<std::string>;

namespace {

class XmlDataFile : public vela::vlgim::test::FolderTest {};

int Parse(XmlData& xml, std::string_view text)
{
    return xml.Parse(text.data(), text.size());
}

int ResultOf(std::string_view text)
{
    XmlData xml;
    const int result = Parse(xml, text);
    EXPECT_EQ(xml.IsEmpty(), result != 0) << text;
    return result;
}

std::string Repeat(std::string_view text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

// count attributes with names of their own
std::string Attributes(int count)
{
    std::string all = "<a";
    for (int i = 0; i < count; ++i)
        all += " n" + std::to_string(i) + "=''";
    return all + "/>";
}

const std::string kOddities[] = {
    "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<Vela >\r\n\t<SubMesh\tName = 'a\"b'></SubMesh>\r\n\r\n<x/></Vela>"s,
    "<!DOCTYPE Vela [ <!ENTITY e \"x\"> ]>\n<Vela a=\"&e;&#65;\n\">R & D &#xE4; </Vela><!-- end -->"s,
    "  <a> </a>\r<b/>\0\0"s,
};

TEST_F(XmlDataFile, UneditedIsSavedToTheByte)
{
    for (const std::string& text : kOddities) {
        XmlData xml;
        ASSERT_EQ(xml.Load(Write("in.xml", text).c_str()), 0) << text;
        auto* root = xml.GetElement(nullptr, nullptr);
        root->SetAttribute("passing", 1);
        root->DeleteAttribute("passing");
        ASSERT_EQ(xml.Save(Path("out.xml").c_str()), 0);
        EXPECT_EQ(Read(Path("out.xml")), text);
    }
}

TEST_F(XmlDataFile, EditedKeepsLineEndsMarkAndValues)
{
    const std::string cases[][2] = {
        {"\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a b='1'>\r\n\t<c></c></a>\r\n",
         "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a b=\"1\" edited=\"1\">\r\n    <c/>\r\n</a>\r\n"},
        {"<a><c/>\r\n</a>\n", "<a edited=\"1\">\r\n    <c/>\r\n</a>\r\n"},
        {"<a>\n<c/>\r\n</a>", "<a edited=\"1\">\n    <c/>\n</a>\n"},
        {"<a>\r<c/></a>", "<a edited=\"1\">\r    <c/>\r</a>\r"},
        {"<a><c/></a>", "<a edited=\"1\">\n    <c/>\n</a>\n"},
        {"<a b='&#13;&#10;&amp;&lt;\"'> x\r\ny&#13;</a>",
         "<a b=\"&#13;\r\n&amp;&lt;&quot;\" edited=\"1\"> x\r\ny&#13;</a>\r\n"},
        {"<a>&#32;</a>", "<a edited=\"1\">&#32;</a>\n"},
        {"<a>&#13;&#10;</a>", "<a edited=\"1\">&#13;\n</a>\n"},
        {"<a><![CDATA[&<\r\n]]><!--\r\n--></a>", "<a edited=\"1\"><![CDATA[&<\r\n]]><!--\r\n--></a>\r\n"},
    };
    for (const auto& [loaded, saved] : cases) {
        XmlData xml;
        ASSERT_EQ(Parse(xml, loaded), 0) << loaded;
        xml.GetElement("a", nullptr)->SetAttribute("edited", 1);
        ASSERT_EQ(xml.Save(Path("out.xml").c_str()), 0) << loaded;
        EXPECT_EQ(Read(Path("out.xml")), saved);
    }
}

TEST_F(XmlDataFile, EveryKindOfEditIsSeen)
{
    XmlData xml;
    const auto saved = [&](auto edit) {
        EXPECT_EQ(Parse(xml, "<!--c--><a b='1'>t<![CDATA[d]]></a>"), 0);
        edit(*xml.GetElement("a", nullptr));
        EXPECT_EQ(xml.Save(Path("out.xml").c_str()), 0);
        return Read(Path("out.xml"));
    };
    using Element = tinyxml2::XMLElement;
    EXPECT_EQ(saved([](Element&) {}), "<!--c--><a b='1'>t<![CDATA[d]]></a>");
    EXPECT_EQ(saved([](Element& a) { a.SetName("x"); }), "<!--c-->\n<x b=\"1\">t<![CDATA[d]]></x>\n");
    EXPECT_EQ(saved([](Element& a) { a.SetAttribute("b", 2); }), "<!--c-->\n<a b=\"2\">t<![CDATA[d]]></a>\n");
    EXPECT_EQ(saved([](Element& a) { a.SetText("u"); }), "<!--c-->\n<a b=\"1\">u<![CDATA[d]]></a>\n");
    EXPECT_EQ(saved([](Element& a) { a.LastChild()->ToText()->SetCData(false); }),
              "<!--c-->\n<a b=\"1\">td</a>\n");
    EXPECT_EQ(saved([](Element& a) {
                  a.SetText("");
                  a.LastChild()->SetValue("e");
              }),
              "<!--c-->\n<a b=\"1\"><![CDATA[e]]></a>\n");
    EXPECT_EQ(saved([](Element& a) { a.PreviousSibling()->SetValue("-"); }),
              "<!----->\n<a b=\"1\">t<![CDATA[d]]></a>\n");
    EXPECT_EQ(saved([](Element& a) {
                  a.InsertNewText(" ");
                  a.InsertNewText("x");
              }),
              "<!--c-->\n<a b=\"1\">t<![CDATA[d]]>&#32;x</a>\n");
    EXPECT_EQ(saved([](Element& a) { a.GetDocument()->SetBOM(true); }),
              "\xEF\xBB\xBF<!--c-->\n<a b=\"1\">t<![CDATA[d]]></a>\n");
}

TEST_F(XmlDataFile, WhatWouldNotReadBackIsNotWritten)
{
    const auto refuses = [&](const char* text, auto edit) {
        XmlData xml;
        EXPECT_EQ(Parse(xml, text), 0);
        edit(xml);
        Write("out.xml", "old");
        const vela::vlgim::test::LogCapture log;
        EXPECT_EQ(xml.Save(Path("out.xml").c_str()), 1);
        EXPECT_EQ(Read(Path("out.xml")), "old");
        return log.lines.size() == 1 ? log.lines[0] : "?";
    };
    const std::string message = "E failed to write " + Path("out.xml") + ": the document ";
    const std::string unlike = message + "would not read back as it is";
    const auto root = [](XmlData& xml) { return xml.GetElement("a", nullptr); };
    EXPECT_EQ(refuses("<a/>", [](XmlData& xml) { xml.Document().Clear(); }), message + "is empty");
    EXPECT_EQ(refuses("<a/>", [&](XmlData& xml) { root(xml)->SetName("a b"); }), unlike);
    EXPECT_EQ(refuses("<a/>", [&](XmlData& xml) { root(xml)->InsertNewComment("--><b/><!--"); }), unlike);
    EXPECT_EQ(refuses("<a/>", [&](XmlData& xml) { root(xml)->InsertNewText("]]>")->SetCData(true); }),
              unlike);
    EXPECT_EQ(refuses("<!DOCTYPE a [<!ENTITY e 'x'>]><a/>", [&](XmlData& xml) { root(xml)->SetText(1); }),
              unlike);
    EXPECT_EQ(refuses("<a/>",
                      [&](XmlData& xml) {
                          for (int i = 0; i < 257; ++i)
                              root(xml)->SetAttribute(("n" + std::to_string(i)).c_str(), i);
                      }),
              unlike);
}

TEST(XmlData, MadeByHandOrEmpty)
{
    XmlData xml;
    EXPECT_TRUE(xml.IsEmpty());
    EXPECT_EQ(xml.GetElement("a", nullptr), nullptr);
    EXPECT_EQ(xml.FindElement("a/b", nullptr), nullptr);
    xml.Document().InsertEndChild(xml.Document().NewComment("not yet"));
    EXPECT_TRUE(xml.IsEmpty());
    auto* root = xml.Document().InsertEndChild(xml.Document().NewElement("a"));
    EXPECT_FALSE(xml.IsEmpty());
    EXPECT_EQ(xml.GetElement("a", nullptr), root);
}

TEST(XmlData, Lookups)
{
    XmlData xml;
    ASSERT_EQ(Parse(xml, "<v n='1'><s><x/></s><!-- --><t/>text<s n='2'><y/></s></v><v/>"), 0);
    auto* root = xml.GetElement("v", nullptr);
    ASSERT_TRUE(root && root->IntAttribute("n") == 1);
    EXPECT_EQ(xml.GetElement("s", nullptr), nullptr);
    EXPECT_EQ(xml.FindElement("v", nullptr), root);
    EXPECT_STREQ(xml.FindElement("v/s/x", nullptr)->Value(), "x");
    EXPECT_EQ(xml.FindElement("s/x", root), xml.FindElement("v/s/x", nullptr));
    for (const char* path : {"", "/", "/v", "v/", "v//s", "v/s/y", "v/s/x/x", "V"})
        EXPECT_EQ(xml.FindElement(path, nullptr), nullptr) << path;

    std::vector<tinyxml2::XMLElement*> list{root};
    const auto count = [&](const tinyxml2::XMLElement* parent, const char* name) {
        xml.GetChildElementList(list, parent, name);
        return list.size();
    };
    EXPECT_EQ(count(root, nullptr), 3U);
    EXPECT_EQ(count(root, "s"), 2U);
    EXPECT_EQ(list[1]->IntAttribute("n"), 2);
    EXPECT_EQ(count(nullptr, "v"), 2U);
    EXPECT_EQ(count(list[1], nullptr), 0U);
}

TEST_F(XmlDataFile, LoadReplacesOrEmpties)
{
    const vela::vlgim::test::LogCapture log;
    const std::string good = Write("good.xml", "<a/>"), other = Write("other.xml", "<b/>");
    const std::string locked = Write("locked.xml", "<a/>"), pipe = Path("pipe");
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::pair<std::string, int> failures[] = {
        {Path("missing.xml"), tinyxml2::XML_ERROR_FILE_NOT_FOUND},
        {folder.string(), tinyxml2::XML_ERROR_FILE_READ_ERROR},
        {pipe, tinyxml2::XML_ERROR_FILE_READ_ERROR},
        {locked, geteuid() == 0 ? 0 : tinyxml2::XML_ERROR_FILE_READ_ERROR},
        {Write("empty.xml", ""), tinyxml2::XML_ERROR_EMPTY_DOCUMENT},
        {Write("refused.xml", "<a></a></a>"), XML_REFUSED_END_TAG},
        {Write("broken.xml", "<a><b></a>"), tinyxml2::XML_ERROR_MISMATCHED_ELEMENT},
    };
    XmlData xml;
    for (const auto& [path, result] : failures) {
        ASSERT_EQ(xml.Load(good.c_str()), 0);
        EXPECT_EQ(xml.Load(path.c_str()), result) << path;
        EXPECT_EQ(xml.IsEmpty(), result != 0) << path;
    }
    ASSERT_EQ(xml.Load(good.c_str()), 0);
    ASSERT_EQ(xml.Load(other.c_str()), 0);
    EXPECT_EQ(xml.GetElement("a", nullptr), nullptr);
    ASSERT_EQ(xml.Save(good.c_str()), 0);
    EXPECT_EQ(Read(good), "<b/>");
    const char* own = xml.GetElement("b", nullptr)->Value();
    EXPECT_EQ(xml.Parse(own, 1), tinyxml2::XML_ERROR_PARSING_TEXT);
    EXPECT_EQ(log.lines, Lines{});
}

TEST_F(XmlDataFile, FailedSaveSaysWhy)
{
    XmlData xml;
    ASSERT_EQ(Parse(xml, "<a/>"), 0);
    const std::string good = Path("good.xml"), lost = Path("no/a.xml");
    const std::string message = "E failed to write " + lost + ": No such file or directory";
    const vela::vlgim::test::LogCapture log;
    EXPECT_EQ(xml.Save(lost.c_str()), 1);
    EXPECT_EQ(xml.Save("/dev/full"), 1);
    FileWriter set;
    EXPECT_EQ(xml.Save(good.c_str(), set), 0);
    EXPECT_EQ(xml.Save(lost.c_str(), set), 1);
    EXPECT_FALSE(FileStream::Exists(good.c_str(), FILE_SYSTEM_ANY));
    EXPECT_TRUE(set.Commit());
    EXPECT_EQ(Read(good), "<a/>");
    EXPECT_EQ(log.lines, (Lines{message, "E failed to write /dev/full: No space left on device", message}));
}

// Each refusal, and its neighbours that look like it.
TEST(XmlScan, RefusesJustWhatWouldBeLost)
{
    const std::pair<std::string, int> cases[] = {
        {"<a/>\0<b/>"s, XML_REFUSED_NUL},
        {"<a b='\0'/>"s, XML_REFUSED_NUL},
        {"<a/>\0\0\n"s, XML_REFUSED_NUL},
        {"<a/>\0\0"s, 0},

        {"<a></a></a><b/>", XML_REFUSED_END_TAG},
        {"< / a><b/>", tinyxml2::XML_ERROR_PARSING},
        {"< /a><b/>", XML_REFUSED_END_TAG},
        {"<!-- </a> --><a/>", 0},
        {"<!--></a>--><a/>", 0},
        {"<!--><a></a>", tinyxml2::XML_ERROR_PARSING_COMMENT},
        {"<?x </a> > ?><a/>", 0},
        {"<?></a>?><a/>", 0},
        {"<![CDATA[</a>]>]]]><a/>", 0},
        {"<!x '></a>'><a/>", XML_REFUSED_END_TAG},  // a quote doesn't hold the end of this one
        {"<!-></a>--><a/>", XML_REFUSED_END_TAG},
        {"<a b='></a>' c=\"'/>\"/>", 0},
        {"<a b='</a>'></a>", 0},
        {"<r><a></a b='1'></r>", XML_REFUSED_END_TAG},
        {"<r></a/></r>", XML_REFUSED_END_TAG},
        {"<r><a></a \r\n></r>", 0},
        {"<a></a", tinyxml2::XML_ERROR_PARSING_ELEMENT},
        {" \n\xEF\xBB\xBF</a>", XML_REFUSED_END_TAG},

        {"<a b='&#0;'/>", XML_REFUSED_REFERENCE},
        {"<a>&#;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x0000;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x10FFFF;&#55295;&#xe000;&#000000000000000000065;&#1;</a>", 0},
        {"<a>&#x110000;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#xD800;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#57343;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x100000041;</a>", XML_REFUSED_REFERENCE},            // the parser's sum is 'A'
        {"<a>&#4294967296;</a>", XML_REFUSED_REFERENCE},            // 2^32
        {"<a>&#18446744073709551681;</a>", XML_REFUSED_REFERENCE},  // 2^64 + 'A'
        {"<a>&# lost &#65;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x lost &#x41;</a>", XML_REFUSED_REFERENCE},
        {"<a>&#x lost &#41;</a>", 0},  // of another kind: stays as it is
        {"<a>&#6 5;&#X41;&#xg;&#-1;</a>", 0},
        {"<a b='&#'/>", XML_REFUSED_REFERENCE},
        {"<a b='&#x' c='&#6'/>", 0},
        {"<a>&#<b>65;</b></a>", XML_REFUSED_REFERENCE},
        {"<![CDATA[&#0;]]><a><!-- &#0; --></a>", 0},
        {"<?x &#0;?><!x &#0;><a/>", 0},

        {"<a>R &amp; D & Q</a>", XML_REFUSED_AMPERSAND},
        {"<a b='&#65;&x;'/>", XML_REFUSED_AMPERSAND},
        {"<a>\r\n&</a>", XML_REFUSED_AMPERSAND},
        {"<a>\n\r&</a>", XML_REFUSED_AMPERSAND},
        {"<a>\n\n \r\r & &x; && &amp</a>", 0},
        {"<a>& &amp;<b/>& &#65;</a>", 0},
        {"<a b='&amp;' c='&'>&#x&lt;</a>", 0},
        {"<a><![CDATA[&amp;]]>&</a>", 0},

        {Attributes(256), 0},
        {Attributes(257), XML_REFUSED_ATTRIBUTES},
        {"<r>" + Repeat(Attributes(200), 3) + "</r>", 0},
        {"<a b='" + Repeat("&#", 128) + "'>" + Repeat("&#z;", 128) + "</a>", XML_REFUSED_REFERENCE},
        {"<a b='" + Repeat("&# ", 128) + "'>" + Repeat("&#z;", 128) + "</a>", 0},
        {"<a b='" + Repeat("&# ", 128) + "'>" + Repeat("&#z;", 129) + "</a>", XML_REFUSED_OPEN_REFERENCES},
        {"<a>" + Repeat("&#65;", 1000) + "</a>", 0},

        {"<!-- no root -->", tinyxml2::XML_ERROR_EMPTY_DOCUMENT},
        {"\xEF\xBB\xBF\n", tinyxml2::XML_ERROR_EMPTY_DOCUMENT},
        {"\0\0"s, tinyxml2::XML_ERROR_EMPTY_DOCUMENT},
    };
    for (const auto& [text, result] : cases)
        EXPECT_EQ(ResultOf(text), result) << text.substr(0, 200);
    XmlData xml;
    EXPECT_EQ(xml.Parse(nullptr, 0), tinyxml2::XML_ERROR_EMPTY_DOCUMENT);
}

// Quadratic time would be hours here, and a recursion without an end a crash.
TEST(XmlScan, HugeInputs)
{
    constexpr int kMany = 1'000'000;
    const std::string deepest = Repeat("<a>", 98) + "<a/>" + Repeat("</a>", 98);
    EXPECT_EQ(ResultOf(deepest), 0);
    EXPECT_EQ(ResultOf("<a>" + deepest + "</a>"), tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED);
    EXPECT_EQ(ResultOf(Repeat("<a>", kMany) + Repeat("</a>", kMany)), tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED);
    EXPECT_EQ(ResultOf(Attributes(100'000)), XML_REFUSED_ATTRIBUTES);
    for (const char* piece : {"&#", "&#x", "&#z", "&# ;"})
        EXPECT_EQ(ResultOf("<a>" + Repeat(piece, kMany) + "</a>"), XML_REFUSED_OPEN_REFERENCES);
    EXPECT_EQ(ResultOf("<a b='" + Repeat("&#65;", kMany) + "'/>"), 0);
    EXPECT_EQ(ResultOf("<a b='&#" + Repeat("1", kMany) + ";'/>"), XML_REFUSED_REFERENCE);
    EXPECT_EQ(ResultOf("<r>" + Repeat("<a/>x ", kMany) + "</r>"), 0);
    EXPECT_EQ(ResultOf("<r><!" + Repeat("--", kMany)), tinyxml2::XML_ERROR_PARSING_COMMENT);
}

template <std::size_t N>
std::string Random(std::mt19937& random, const char* const (&tokens)[N], std::size_t maxCount)
{
    std::string text;
    for (std::size_t count = random() % maxCount + 1; count > 0; --count)
        text += tokens[random() % N];
    return text;
}

// What the scan lets through the parser reads to the end, and what it can't follow the parser refuses.
TEST(XmlScan, SeesTheMarkupThatTheParserSees)
{
    const char* const tokens[] = {"<",  ">",  "/",  "<a>", "</a>", "<a ",   "b='",       "'",
                                  "\"", "=",  "<!", "--",  "<!--", "-->",   "<![CDATA[", "]]>",
                                  "<?", "?>", "x",  " ",   "\r\n", "&#65;", "&"};
    std::mt19937 random(1);
    int passed = 0, lost = 0;
    for (int i = 0; i < 100'000; ++i) {
        const std::string text =
            Random(random, tokens, 12) + "<end/><end/>";  // "<!" may take the first one in
        tinyxml2::XMLDocument parser;
        const bool parsed = parser.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
        const bool whole = parsed && parser.LastChildElement("end");
        const int scan = ScanXml(text);
        ASSERT_FALSE(parsed && scan == XML_REFUSED_MARKUP) << text;
        ASSERT_FALSE(parsed && scan == 0 && !whole) << text;
        passed += parsed && scan == 0;
        lost += parsed && !whole;
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(lost, 100);  // the parser alone does lose some
}

// A value as it is written: line ends and the references that have an end and a character are replaced, all
// else is itself.
std::string Decoded(std::string_view value)
{
    const std::pair<std::string_view, std::string_view> meanings[] = {
        {"\r\n", "\n"},
        {"\n\r", "\n"},
        {"\r", "\n"},
        {"&amp;", "&"},
        {"&lt;", "<"},
        {"&#65;", "A"},
        {"&#x65;", "e"},
        {"&#6565;", "\xE1\xA6\xA5"},
        {"&#x6565;", "\xE6\x95\xA5"},
    };
    std::string text;
    while (!value.empty()) {
        const auto* const found =
            std::find_if(std::begin(meanings), std::end(meanings),
                         [&](const auto& meaning) { return value.starts_with(meaning.first); });
        const bool isPlain = found == std::end(meanings);
        text += isPlain ? value.substr(0, 1) : found->second;
        value.remove_prefix(isPlain ? 1 : found->first.size());
    }
    return text;
}

TEST(XmlScan, LetsThroughOnlyValuesThatAreReadAsWritten)
{
    const char* const tokens[] = {"&",     "&#",   "&#x", "#",  "x",     "65", ";",
                                  "&amp;", "&lt;", "\r",  "\n", "&#65;", " "};
    std::mt19937 random(2);
    int passed = 0, lost = 0;
    for (int i = 0; i < 100'000; ++i) {
        const std::string value = Random(random, tokens, 8);
        const std::string text = "<a b='" + value + "'/>";
        tinyxml2::XMLDocument parser;
        ASSERT_EQ(parser.Parse(text.data(), text.size()), tinyxml2::XML_SUCCESS);
        const bool same = parser.RootElement()->Attribute("b") == Decoded(value);
        const bool accepted = ScanXml(text) == 0;
        ASSERT_FALSE(accepted && !same) << value;
        passed += accepted;
        lost += !same;
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(lost, 100);
}

}  // namespace
