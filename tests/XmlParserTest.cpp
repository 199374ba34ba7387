#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <cstring>
#include <string>
#include <string_view>

// What XmlScan takes for granted about tinyxml2, held against the version that is there. A row that fails after an update
// of tinyxml2 names the place of XmlScan.cpp to look at.
namespace vlio {

namespace {

using namespace std::string_literals;

// What the parser made of a text: a letter or mark for each node and attribute, and its value in brackets.
class Outline : public tinyxml2::XMLVisitor {
public:
    explicit Outline(std::string_view text)
    {
        tinyxml2::XMLDocument document;
        if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS)
            m_outline = "refused";
        else
            document.Accept(this);
    }

    const std::string& Text() const { return m_outline; }

private:
    bool VisitEnter(const tinyxml2::XMLElement& element, const tinyxml2::XMLAttribute* attribute) override
    {
        m_outline.append("<").append(element.Name());
        for (; attribute; attribute = attribute->Next())
            Put(std::string(" ").append(attribute->Name()).append("="), attribute->Value());
        return true;
    }

    bool VisitExit(const tinyxml2::XMLElement&) override
    {
        m_outline += '>';
        return true;
    }

    bool Visit(const tinyxml2::XMLDeclaration& node) override { return Put("?", node.Value()); }
    bool Visit(const tinyxml2::XMLComment& node) override { return Put("-", node.Value()); }
    bool Visit(const tinyxml2::XMLUnknown& node) override { return Put("!", node.Value()); }
    bool Visit(const tinyxml2::XMLText& node) override { return Put(node.CData() ? "c" : "t", node.Value()); }
    using XMLVisitor::VisitEnter;
    using XMLVisitor::VisitExit;

    bool Put(const std::string& kind, const char* value)
    {
        m_outline.append(kind).append("[").append(value).append("]");
        return true;
    }

    std::string m_outline;
};

struct Row {
    const char* assumption;
    std::string text;     // of a document, or of a value
    const char* outline;  // of the document, or the value
};

TEST(XmlParser, Markup)
{
    const Row rows[] = {
        {"all kinds of space between the pieces of a tag", "< \ta\n\v\f\r b \t= \n'1'\r\n/>", "<a b=[1]>"},
        {"a mark, behind space too", " \n\xEF\xBB\xBF<a/>", "<a>"},
        {"space between tags is no text", "<a> \n<b/>\t</a>", "<a<b>>"},
        {"space ahead of text is part of it", "<a> \nx </a>", "<at[ \nx ]>"},
        {"a declaration ends at the first mark", "<?></a> > \"?\" ?><a/>", "?[></a> > \"?\" ]<a>"},
        {"a comment ends at the first mark", "<!--></a>' -- --><a/>", "-[></a>' -- ]<a>"},
        {"a comment is not closed by its start", "<!--><a/>", "refused"},
        {"CDATA ends at the first mark, as it is", "<a><![CDATA[></a>]>&#0;&amp;]]]]></a>",
         "<ac[></a>]>&#0;&amp;]]]>"},
        {"anything else with <! ends at the first >", "<!x '[> <a/>", "![x '[]<a>"},
        {"a quoted value ends at its quote", "<a b='></a>\"' c=\"'/>\"/>", "<a b=[></a>\"] c=['/>]>"},
        {"no value without a quote", "<a b=1/>", "refused"},
        {"no attribute without a value", "<a b/>", "refused"},
        {"no space inside of />", "<a / ></a>", "refused"},
        {"no space behind the / of an end tag", "<a>< / a>", "refused"},
        {"space ahead of the / of an end tag, and behind its name", "<a>< /a \n>", "<a>"},
        {"no tag without a name", "<>", "refused"},
        {"no document that ends in a tag", "<a", "refused"},
        {"no text without a tag behind it", "<a>x", "refused"},
        {"no element without an end", "<a>", "refused"},
        {"names of end tags are compared", "<a></b>", "refused"},
        // What is lost in silence, and so refused.
        {"a NUL ends the document", "<a/>\0<b/>"s, "<a>"},
        {"attributes of an end tag are dropped", "<a><b></b c='1'></a>", "<a<b>>"},
        {"</b/> is an empty element", "<a></b/></a>", "<a<b>>"},
        {"an end tag at the top ends the document", "<a/></b><c/>", "<a>"},
    };
    for (const auto& [assumption, text, outline] : rows)
        EXPECT_EQ(Outline(text).Text(), outline) << assumption;
}

TEST(XmlParser, Values)
{
    const Row rows[] = {
        {"line ends become LF", "a\r\nb\n\rc\rd\ne\r\r", "a\nb\nc\nd\ne\n\n"},
        {"the five entities are replaced", "&quot;&amp;&apos;&lt;&gt;", "\"&'<>"},
        {"their names end in ; and have no capitals", "&amp &LT; &x;", "&amp &LT; &x;"},
        {"& alone stays ahead of all that is replaced", "& && &#65;", "& && A"},
        {"decimal references are replaced", "&#65;&#00000000000000000000066;&#55295;", "AB\xED\x9F\xBF"},
        {"hexadecimal ones of both cases are", "&#x41;&#xaB;&#xAb;&#x10FFFF;",
         "A\xC2\xAB\xC2\xAB\xF4\x8F\xBF\xBF"},
        {"an x is no capital", "&#X41;", "&#X41;"},
        {"what is no digit keeps all of it", "&#6a; &#xg; &#-1; &# 65;", "&#6a; &#xg; &#-1; &# 65;"},
        {"a reference without a ; stays", "&#65 &#x41", "&#65 &#x41"},
        // What is lost in silence, and so refused.
        {"a reference at the end loses its &", "x&#", "x#"},
        {"one without an end takes the next one's", "&# lost &#65;", "A"},
        {"as does a hexadecimal one", "&#x lost &#x41;", "A"},
        {"a 0 ends the value", "a&#0;b", "a"},
        {"so does a reference without digits", "a&#;b", "a"},
        {"surrogates are taken for characters", "&#xD800;", "\xED\xA0\x80"},
        {"so is what follows the last character", "&#x110000;", "\xF4\x90\x80\x80"},
        {"32 bits are added up", "&#x100000041;", "A"},
        {"& behind what got shorter becomes a byte from there", "&lt;& x", "<l x"},
        {"behind a line end too", "\r\n&x", "\n\nx"},
    };
    for (const auto& [assumption, text, value] : rows) {
        EXPECT_EQ(Outline("<a b='" + text + "'/>").Text(), "<a b=[" + std::string(value) + "]>")
            << assumption;
        EXPECT_EQ(Outline("<a>" + text + "</a>").Text(), "<at[" + std::string(value) + "]>") << assumption;
    }
}

// Of each byte but NUL: whether it may begin a name, go on with one, and be a digit of a reference.
TEST(XmlParser, ClassesOfBytes)
{
    std::string starts, parts, digits, hexDigits, spaces;
    for (int code = 1; code < 256; ++code) {
        const std::string byte(1, static_cast<char>(code));
        if (Outline("<" + byte + "/>").Text() == "<" + byte + ">")
            starts += byte;
        if (Outline("<a" + byte + "/>").Text() == "<a" + byte + ">")
            parts += byte;
        if (Outline("<a" + byte + "b='1'/>").Text() == "<a b=[1]>")
            spaces += byte;
        // Of one digit more the parser makes one character.
        if (Outline("<a b=\"&#8" + byte + ";\"/>").Text().size() == std::strlen("<a b=[P]>"))
            digits += byte;
        if (Outline("<a b=\"&#x4" + byte + ";\"/>").Text().size() == std::strlen("<a b=[P]>"))
            hexDigits += byte;
    }
    const std::string capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ", letters = "abcdefghijklmnopqrstuvwxyz";
    std::string high;
    for (int code = 128; code < 256; ++code)
        high += static_cast<char>(code);
    EXPECT_EQ(starts, ":" + capitals + "_" + letters + high);
    EXPECT_EQ(parts, "-.0123456789:" + capitals + "_" + letters + high);
    EXPECT_EQ(digits, "0123456789");
    EXPECT_EQ(hexDigits, "0123456789ABCDEFabcdef");
    EXPECT_EQ(spaces, "\t\n\v\f\r ");
}

}  // namespace

}  // namespace vlio
