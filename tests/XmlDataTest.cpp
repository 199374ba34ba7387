#include "support/Bytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <vlio2/XmlData.h>
#include <vlio2/XmlScan.h>

#include <tinyxml2.h>

#include <random>

namespace vlio {

namespace {

using namespace std::string_literals;
using vela::vlgim::test::Lines;
using vela::vlgim::test::LogCapture;
using vela::vlgim::test::Repeat;
using Element = tinyxml2::XMLElement;

int ResultOf(std::string_view text)
{
    XmlData xml;
    const int result = xml.Parse(text.data(), text.size());
    EXPECT_EQ(xml.IsEmpty(), result != 0) << text.substr(0, 200);
    return result;
}

class XmlDataFile : public vela::vlgim::test::FolderTest {
protected:
    // What a document is saved as, once edit(its first element) has been at it.
    template <class Edit>
    std::string Saved(std::string_view loaded, Edit edit) const
    {
        XmlData xml;
        EXPECT_FALSE(xml.ParseText(loaded)) << loaded;
        edit(*xml.GetElement("a", nullptr));
        EXPECT_EQ(xml.Save(Path("out.xml").c_str()), 0) << loaded;
        return Read(Path("out.xml"));
    }
};

// count attributes with names of their own
std::string Attributes(int count)
{
    std::string all = "<a";
    for (int i = 0; i < count; ++i)
        all += " n" + std::to_string(i) + "=''";
    return all + "/>";
}

TEST_F(XmlDataFile, UneditedIsSavedToTheByte)
{
    const auto undone = [](Element& a) { a.SetAttribute("passing", 1), a.DeleteAttribute("passing"); };
    for (const std::string& text : {
             "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a >\r\n\t<b\tc = 'a\"b'></b>\r\n\r\n<x/></a>"s,
             "<!DOCTYPE a [ <!ENTITY e \"x\"> ]>\n<a b=\"&e;&#65;\n\">R & D &#xE4; </a><!-- -->"s,
             "  <a> </a>\r<b/>\0\0"s,
         })
        EXPECT_EQ(Saved(text, undone), text);
}

TEST_F(XmlDataFile, EditedKeepsLineEndsMarkAndValues)
{
    const std::string cases[][2] = {
        {"\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a b='1'>\r\n\t<c></c></a>\r\n",
         "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a b=\"1\" e=\"1\">\r\n    <c/>\r\n</a>\r\n"},
        {"<a>\n<c/>\r\n</a>", "<a e=\"1\">\n    <c/>\n</a>\n"},
        {"<a>\r<c/></a>", "<a e=\"1\">\r    <c/>\r</a>\r"},
        {"<a b='&#13;&#10;&amp;&lt;\"'> x\r\ny&#13;</a>",
         "<a b=\"&#13;\r\n&amp;&lt;&quot;\" e=\"1\"> x\r\ny&#13;</a>\r\n"},
        {"<a>&#32;</a>", "<a e=\"1\">&#32;</a>\n"},
        {"<a>&#13;&#10;</a>", "<a e=\"1\">&#13;\n</a>\n"},
        {"<a><![CDATA[ ]]></a>", "<a e=\"1\"><![CDATA[ ]]></a>\n"},
        {"<a><![CDATA[&<\r\n]]><!--\r\n--></a>", "<a e=\"1\"><![CDATA[&<\r\n]]><!--\r\n--></a>\r\n"}};
    for (const auto& [loaded, saved] : cases)
        EXPECT_EQ(Saved(loaded, [](Element& a) { a.SetAttribute("e", 1); }), saved);
}

TEST_F(XmlDataFile, EveryKindOfEditIsSeen)
{
    void (*const edits[])(Element&) = {
        [](Element& a) { a.SetName("x"); },
        [](Element& a) { a.SetAttribute("b", 2); },
        [](Element& a) { a.DeleteAttribute("b"), a.SetAttribute("x", 1); },
        [](Element& a) { a.FirstChild()->SetValue("u"); },
        [](Element& a) { a.FirstChild()->NextSibling()->SetValue("e"); },
        [](Element& a) { a.FirstChild()->NextSibling()->ToText()->SetCData(false); },
        [](Element& a) { a.FirstChildElement("c")->InsertEndChild(a.LastChild()); },
        [](Element& a) { a.PreviousSibling()->SetValue("-"); },
        [](Element& a) { a.GetDocument()->FirstChild()->SetValue("q"); },
        [](Element& a) { a.GetDocument()->FirstChild()->NextSibling()->SetValue("v"); },
        [](Element& a) { a.GetDocument()->SetBOM(true); }};
    const std::string text = "<?p?>\n<!u>\n<!--c-->\n<a b=\"1\">t<![CDATA[d]]><c/><d/></a>\n";
    for (const auto edit : edits)
        EXPECT_NE(Saved(text, edit), text);
    const auto pieces = [](Element& a) { a.SetText(""), a.InsertNewText(" "), a.InsertNewText("x"); };
    EXPECT_EQ(Saved("<a>t<![CDATA[d]]></a>", pieces), "<a><![CDATA[d]]>&#32;x</a>\n");
}

TEST_F(XmlDataFile, FailedSaveSaysWhyAndLeavesTheFile)
{
    using vela::vlgim::ErrorKind;
    const std::string path = Write("out.xml", "old"), lost = Path("no/a.xml"),
                      unread = ": the document would not read back as it is";
    const std::tuple<std::string, std::string, void (*)(Element&)> cases[] = {
        {path, unread, [](Element& a) { a.SetName("a b"); }},
        {path, unread, [](Element& a) { a.InsertNewComment("--><b/><!--"); }},
        {path, unread, [](Element& a) { a.InsertNewText("]]>")->SetCData(true); }},
        {path, unread, [](Element& a) { a.Parent()->InsertEndChild(a.GetDocument()->NewText("x")); }},
        {path, ": the document is empty", [](Element& a) { a.GetDocument()->Clear(); }},
        {"/dev/full", ": No space left on device", [](Element&) {}},
        {lost, ": No such file or directory", [](Element&) {}}};
    for (const auto& [target, reason, edit] : cases) {
        XmlData xml;
        ASSERT_FALSE(xml.ParseText("<a/>"));
        edit(*xml.GetElement("a", nullptr));
        const LogCapture log;
        EXPECT_EQ(xml.SaveFile(target.c_str()).kind, target == path   ? ErrorKind::Unwritable
                                                     : target == lost ? ErrorKind::NotCreated
                                                                      : ErrorKind::NotWritten);
        EXPECT_EQ(xml.Save(target.c_str()), 1);
        EXPECT_EQ(log.lines, Lines{std::string("E failed to write ").append(target).append(reason)});
    }
    EXPECT_EQ(Read(path), "old");
}

TEST_F(XmlDataFile, Lookups)
{
    XmlData xml;
    EXPECT_EQ(xml.FindElement("a/b", nullptr), nullptr);
    xml.Document().InsertEndChild(xml.Document().NewComment("no root yet"));
    EXPECT_TRUE(xml.IsEmpty());
    ASSERT_FALSE(xml.ParseText("<v n='1'><s><x/></s><!-- --><t/>text<s n='2'><y/></s></v><v/>"));
    auto* root = xml.GetElement("v", nullptr);
    ASSERT_TRUE(root && root->IntAttribute("n") == 1);
    EXPECT_EQ(xml.FindElement("v", nullptr), root);
    EXPECT_STREQ(xml.FindElement("v/s/x", nullptr)->Value(), "x");
    EXPECT_EQ(xml.FindElement("s/x", root), xml.FindElement("v/s/x", nullptr));
    for (const char* path : {"", "s", "/v", "v/", "v//s", "v/s/y", "v/s/x/x", "V"})
        EXPECT_EQ(xml.FindElement(path, nullptr), nullptr) << path;

    std::vector<Element*> list{root};
    const std::tuple<Element*, const char*, std::size_t> lists[] = {
        {nullptr, "v", 2}, {root->FirstChildElement("t"), nullptr, 0}, {root, nullptr, 3}, {root, "s", 2}};
    for (const auto& [parent, name, count] : lists) {
        xml.GetChildElementList(list, parent, name);
        EXPECT_EQ(list.size(), count) << (name ? name : "all");
    }
    EXPECT_EQ(list[1]->IntAttribute("n"), 2);
}

TEST_F(XmlDataFile, LoadReplacesOrEmpties)
{
    const std::string good = Write("good.xml", "<a/>"), other = Write("other.xml", "<b/>");
    const std::tuple<std::string, int, const char*> failures[] = {
        {Path("missing.xml"), tinyxml2::XML_ERROR_FILE_NOT_FOUND, "No such file or directory"},
        {folder.string(), tinyxml2::XML_ERROR_FILE_READ_ERROR, "it is a folder"},
        {Write("broken.xml", "<a>\n<b></c></a>"), tinyxml2::XML_ERROR_MISMATCHED_ELEMENT,
         "at byte 4: an end tag has another name than its start tag"}};
    XmlData loaded;
    for (const auto& [path, result, why] : failures) {
        ASSERT_EQ(loaded.Load(good.c_str()), 0);
        EXPECT_EQ(loaded.Load(path.c_str()), result) << path;
        EXPECT_TRUE(loaded.IsEmpty()) << path;
        const LogCapture log;
        EXPECT_EQ(loaded.LoadFile(path.c_str()).Message(), std::string(path).append(": ").append(why));
        EXPECT_EQ(log.lines, Lines{});
    }
    ASSERT_EQ(loaded.Load(good.c_str()), 0);
    ASSERT_EQ(loaded.Load(other.c_str()), 0);
    XmlData xml = std::move(loaded);
    ASSERT_EQ(xml.Save(good.c_str()), 0);
    EXPECT_EQ(Read(good), "<b/>");
    const char* own = xml.GetElement("b", nullptr)->Value();  // lies in the document that it replaces
    EXPECT_EQ(xml.Parse(own, 1), tinyxml2::XML_ERROR_PARSING_TEXT);
    EXPECT_EQ(xml.ParseText(std::string_view("<a/>\0b", 6)).offset, 4U);
}

using Texts = std::vector<std::pair<int, std::vector<std::string>>>;

void ExpectResults(const Texts& cases, const std::string& ahead, const std::string& behind)
{
    for (const auto& [result, texts] : cases)
        for (const std::string& text : texts)
            EXPECT_EQ(ResultOf(ahead + text + behind), result) << text.substr(0, 200);
}

// Each refusal, and neighbours that look like it.
TEST(XmlScan, RefusesMarkupThatWouldBeLost)
{
    const Texts cases{
        {XML_REFUSED_NUL, {"<a/>\0<b/>"s, "<a b='\0'/>"s, "<a/>\0\0\n"s}},
        {XML_REFUSED_END_TAG,
         {"<a></a></a><b/>", "< /a><b/>", " \n\xEF\xBB\xBF</a>", "<!x '></a>'><a/>", "<!-></a>--><a/>",
          "<r><a></a b='1'></r>", "<r></a/></r>"}},
        {XML_REFUSED_ATTRIBUTES, {Attributes(257), "<r>" + Attributes(300) + "</r>"}},
        {0,
         {"<a/>\0\0"s, "<!-- </a> --><a/>", "<!--></a>--><a/>", "<?x </a> > ?><a/>", "<?></a>?><a/>",
          "<![CDATA[></a>]>]]]><a/>", "<a b='></a>' c=\"'/>\"/>", "<r><a></a \r\n></r>",
          "<![CDATA[&#0;]]><a><!-- &#0; --></a>", "<?x &#0;?><!x &#0;><a/>", "<a>& &amp;<b/>& &#65;</a>",
          "<a b='&amp;' c='&'>&#x&lt;</a>", "<a><![CDATA[&amp;]]>&</a>", Attributes(256),
          "<r>" + Repeat(Attributes(200), 3) + "</r>"}},
        {tinyxml2::XML_ERROR_PARSING, {"< / a><b/>", "<"}},
        {tinyxml2::XML_ERROR_PARSING_ELEMENT, {"<a></a", "<a / ></a>"}},
        {tinyxml2::XML_ERROR_PARSING_COMMENT, {"<!--><a></a>"}},
        {tinyxml2::XML_ERROR_EMPTY_DOCUMENT, {"<!-- no root -->", "\xEF\xBB\xBF\n", "\0\0"s, ""}}};
    ExpectResults(cases, "", "");
    EXPECT_EQ(XmlData().Parse(nullptr, 0), tinyxml2::XML_ERROR_EMPTY_DOCUMENT);
}

TEST(XmlScan, RefusesValuesThatWouldBeLost)
{
    const Texts cases{
        {XML_REFUSED_REFERENCE,
         {"&#0;", "&#;", "&#x;", "&#x0000;", "&#x110000;", "&#xD800;", "&#57343;", "&#", "&#65;&#",
          "&#x100000041;",            // the parser's sum is 'A'
          "&#18446744073709551681;",  // 2^64 + 'A'
          "&# lost &#65;", "&#65 &#65;", "&#x lost &#x41;", Repeat("&#", 128) + "65;"}},
        {XML_REFUSED_AMPERSAND,
         {"&amp;&", "&lt;&", "&gt;&", "&apos;&", "&quot; &", "&#65;&x;", "\r\n&", "\n\r&"}},
        {XML_REFUSED_OPEN_REFERENCES, {Repeat("&# ", 257), Repeat("&#z;", 200) + Repeat("&#x", 57)}},
        {0,
         {"&#x10FFFF;&#55295;&#xe000;&#000000000000000000065;&#1;", "&#x stays &#41;",
          "&#6 5;&#X41;&#xg;&#-1;", "&#x", "&#6", "\n\n \r\r & &x; && &amp", Repeat("&#65;", 1000),
          Repeat("&# ", 256)}}};
    ExpectResults(cases, "<a b='", "'/>");
    ExpectResults(cases, "<a>", "</a>");
    const std::string half = Repeat("&# ", 128);  // the limit is the document's
    EXPECT_EQ(ResultOf("<a b='" + half + "'>" + half + "</a>"), 0);
    EXPECT_EQ(ResultOf("<a b='" + half + "'>" + half + "<b/>&# </a>"), XML_REFUSED_OPEN_REFERENCES);
}

TEST(XmlScan, NestingEndsWhereTheParserEndsIt)
{
    for (int depth = 1; depth < 600; ++depth) {
        const std::string text = Repeat("<a>", depth) + Repeat("</a>", depth);
        EXPECT_EQ(ResultOf(text), tinyxml2::XMLDocument().Parse(text.c_str())) << depth;
    }
    EXPECT_EQ(ResultOf(Repeat("<a>", 1'000'000)), tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED);
}

// Each byte but NUL as the start of a name, as a part of one, and as what ends one.
TEST(XmlScan, TakesTheBytesThatTheParserTakes)
{
    for (const auto& [ahead, behind] : {std::pair("<r><", "/></r>"), {"<a", "/>"}, {"<a", "b='1'/>"}})
        for (int code = 1; code < 256; ++code) {
            const std::string text = std::string(ahead) + static_cast<char>(code) + behind;
            EXPECT_EQ(ResultOf(text), tinyxml2::XMLDocument().Parse(text.c_str())) << text;
        }
}

// Parses 100,000 texts of tokens; isKept(document, tokens) says what the parser kept of one that it took.
// What the scan lets through is kept, and the parser refuses by itself what the scan can't follow.
template <std::size_t N, class IsKept>
void HoldAgainstParser(const char* const (&tokens)[N], std::size_t maxCount, const std::string& ahead,
                       const std::string& behind, IsKept isKept)
{
    std::mt19937 random;
    int passed = 0, lost = 0;
    for (int i = 0; i < 100'000; ++i) {
        std::string middle;
        for (std::size_t count = random() % maxCount + 1; count > 0; --count)
            middle += tokens[random() % N];
        const std::string text = std::string(ahead).append(middle).append(behind);
        tinyxml2::XMLDocument parser;
        const bool parsed = parser.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
        const bool kept = parsed && isKept(parser, middle);
        const int scan = ScanXml(text).error;
        ASSERT_FALSE(parsed && (scan == XML_REFUSED_MARKUP || (scan == 0 && !kept))) << text;
        passed += parsed && scan == 0;
        lost += parsed && !kept;
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(lost, 100);  // the parser alone does lose some
}

TEST(XmlScan, SeesTheMarkupThatTheParserSees)
{
    const char* const tokens[] = {"<", ">",  "/",    "<a>",   "</a>", "<a ",       "b='",          "'",  "\"",
                                  "=", "<!", "--",   "<!--",  "-->",  "<![CDATA[", "]]>",          "<?", "?>",
                                  "x", " ",  "\r\n", "&#65;", "&",    "\v",        "\xEF\xBB\xBF", "-",  "]"};
    const auto hasEnd = [](const auto& parser, const auto&) { return parser.LastChildElement("end"); };
    HoldAgainstParser(tokens, 12, "", "<end/><end/>", hasEnd);  // "<!" may take the first end into it
}

// A value as it is written: line ends and the references that have an end and a character are replaced, all
// else is itself.
std::string Decoded(std::string_view value)
{
    const std::string_view spellings[] = {"\r\n",      "\n\r",   "\r",      "&amp;", "&lt;",
                                          "&gt;",      "&quot;", "&apos;",  "&#65;", "&#6565;",
                                          "&#656565;", "&#x65;", "&#x6565;"};
    const std::string_view meanings[] = {
        "\n", "\n",          "\n", "&", "<", ">", "\"", "'", "A", "\xE1\xA6\xA5", "\xF2\xA0\x92\xB5",
        "e",  "\xE6\x95\xA5"};
    std::string text;
    while (!value.empty()) {
        std::string_view written = value.substr(0, 1), meant = written;
        for (std::size_t i = 0; i < std::size(spellings); ++i)
            if (value.starts_with(spellings[i]) && written.size() <= spellings[i].size())
                written = spellings[i], meant = meanings[i];
        text += meant;
        value.remove_prefix(written.size());
    }
    return text;
}

TEST(XmlScan, LetsThroughOnlyValuesThatAreReadAsWritten)
{
    const char* const tokens[] = {"&",    "&#",     "&#x",    "#",     "x", "65", ";",  "&amp;", "&lt;",
                                  "&gt;", "&quot;", "&apos;", "&AMP;", "X", "\r", "\n", "&#65;", " "};
    HoldAgainstParser(tokens, 8, "<a b='", "'/>", [](const auto& parser, const std::string& value) {
        return parser.RootElement()->Attribute("b") == Decoded(value);
    });
}

}  // namespace

}  // namespace vlio
