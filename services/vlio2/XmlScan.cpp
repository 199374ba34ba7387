#include <vlio2/XmlScan.h>

#include <vlio2/XmlData.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace vlio {

namespace {

// The parser compares each attribute with all earlier ones of the element. No model has nearly as many.
constexpr int kMaxAttributes = 256;
// For each of them the parser searches the rest of the value for its end.
constexpr int kMaxOpenReferences = 256;

// The parser's character classes, without its use of the locale for bytes below 128.
bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ':' || c == '_' ||
           static_cast<unsigned char>(c) >= 128;
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || IsDigit(c) || c == '.' || c == '-';
}

// The parser adds the digits up in 32 bits, writes nothing above 0x1FFFFF, and ends the string at a 0.
bool NamesCharacter(std::string_view digits, int base)
{
    std::uint32_t code = 0;  // stays 0 without digits, or with one too many
    std::from_chars(digits.data(), digits.data() + digits.size(), code, base);
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code != 0 && code <= 0x10FFFF && !isSurrogate;
}

// The length of the entity at the start of text, which starts with '&'; 1 for one that the parser does not know.
std::size_t EntityLength(std::string_view text)
{
    for (const std::string_view entity : {"&quot;", "&amp;", "&apos;", "&lt;", "&gt;"}) {
        if (text.starts_with(entity))
            return entity.size();
    }
    return 1;
}

class Scanner {
public:
    Scanner(std::string_view text, std::vector<std::size_t>* startTags)
        : m_text(text), m_left(text), m_startTags(startTags)
    {
    }

    XmlScan Run()
    {
        SkipSpace();
        Take("\xEF\xBB\xBF");
        while (Node()) {
        }
        return {m_result, Here()};
    }

private:
    // These move past what they read. They return false if the scan ends with m_result.
    bool Node();
    bool Tag();
    bool Attribute();
    bool Value(std::string_view value);

    // The length of the reference at the start of text, which starts with "&#", if the parser replaces it; 1 if the
    // parser leaves it alone, 0 if the scan ends.
    std::size_t ReferenceLength(std::string_view text);

    std::size_t Here() const { return m_text.size() - m_left.size(); }

    bool Stop(int result)
    {
        m_result = result;
        return false;
    }

    std::size_t Refuse(int result)
    {
        m_result = result;
        return 0;
    }

    void SkipSpace()
    {
        while (!m_left.empty() && IsSpace(m_left.front()))
            m_left.remove_prefix(1);
    }

    bool Take(std::string_view prefix)
    {
        const bool found = m_left.starts_with(prefix);
        if (found)
            m_left.remove_prefix(prefix.size());
        return found;
    }

    bool TakeName()
    {
        const bool found = !m_left.empty() && IsNameStart(m_left.front());
        while (found && !m_left.empty() && IsNamePart(m_left.front()))
            m_left.remove_prefix(1);
        return found;
    }

    bool SkipPast(std::string_view end)
    {
        const std::size_t at = m_left.find(end);
        if (at == std::string_view::npos)
            return Stop(XML_REFUSED_MARKUP);
        m_left.remove_prefix(at + end.size());
        return true;
    }

    std::string_view m_text, m_left;
    std::vector<std::size_t>* m_startTags;
    std::ptrdiff_t m_depth = 0;
    int m_openReferences = 0;
    int m_result = 0;
};

bool Scanner::Node()
{
    const std::string_view start = m_left;
    SkipSpace();
    if (m_left.empty())
        return Stop(m_depth == 0 ? 0 : XML_REFUSED_MARKUP);
    if (Take("<?"))
        return SkipPast("?>");
    if (Take("<!--"))
        return SkipPast("-->");
    if (Take("<![CDATA["))
        return SkipPast("]]>");
    if (Take("<!"))
        return SkipPast(">");
    if (Take("<"))
        return Tag();

    const std::size_t size = start.find('<');
    if (size == std::string_view::npos)
        return Stop(XML_REFUSED_MARKUP);
    m_left = start.substr(size);
    return Value(start.substr(0, size));  // with the space before it
}

bool Scanner::Tag()
{
    const std::size_t start = Here() - 1;
    SkipSpace();
    const bool isEnd = Take("/");
    if (!TakeName())
        return Stop(XML_REFUSED_MARKUP);
    if (m_startTags && !isEnd)
        m_startTags->push_back(start);
    for (int attributes = 0;; ++attributes) {
        SkipSpace();
        if (m_left.empty())
            return Stop(XML_REFUSED_MARKUP);
        if (Take(">"))
            break;
        // The parser drops the attributes of an end tag and takes "</a/>" for "<a/>".
        if (isEnd)
            return Stop(XML_REFUSED_END_TAG);
        if (Take("/>"))
            return true;
        if (attributes == kMaxAttributes)
            return Stop(XML_REFUSED_ATTRIBUTES);
        if (!Attribute())
            return false;
    }
    // At the top level the parser takes an end tag for the end of the document.
    if (isEnd && m_depth == 0)
        return Stop(XML_REFUSED_END_TAG);
    m_depth += isEnd ? -1 : 1;
    return true;
}

bool Scanner::Attribute()
{
    if (!TakeName())
        return Stop(XML_REFUSED_MARKUP);
    SkipSpace();
    if (!Take("="))
        return Stop(XML_REFUSED_MARKUP);
    SkipSpace();
    if (!m_left.starts_with('"') && !m_left.starts_with('\''))
        return Stop(XML_REFUSED_MARKUP);
    const std::size_t end = m_left.find(m_left.front(), 1);
    if (end == std::string_view::npos)
        return Stop(XML_REFUSED_MARKUP);
    const std::string_view value = m_left.substr(1, end - 1);
    m_left.remove_prefix(end + 1);
    return Value(value);
}

bool Scanner::Value(std::string_view value)
{
    // The parser decodes in place. It steps over a '&' that starts nothing without copying it. After anything that
    // became shorter, an older byte of the buffer then shows up in its place.
    bool isShorter = false;
    while (!value.empty()) {
        std::size_t length = 1;
        if (value.starts_with("&#")) {
            length = ReferenceLength(value);
            if (length == 0)
                return false;
        } else if (value.front() == '&') {
            length = EntityLength(value);
            if (length == 1 && isShorter)
                return Stop(XML_REFUSED_AMPERSAND);
        } else if (value.starts_with("\r\n") || value.starts_with("\n\r")) {
            length = 2;
        }
        isShorter |= length > 1;
        value.remove_prefix(length);
    }
    return true;
}

std::size_t Scanner::ReferenceLength(std::string_view text)
{
    // At the end of a value the parser drops the '&'.
    if (text.size() == 2)
        return Refuse(XML_REFUSED_REFERENCE);

    // The parser finds the next ';', which may be far after this reference. From there it goes back over digits. It
    // expects to stop at the mark of this reference ('#' or 'x'), but also accepts the same mark of a later reference.
    const bool isHex = text[2] == 'x';
    const std::size_t digits = isHex ? 3 : 2;
    const std::size_t end = text.find(';', digits);
    std::size_t first = end;
    while (first != std::string_view::npos && (isHex ? IsHexDigit : IsDigit)(text[first - 1]))
        --first;
    if (first == std::string_view::npos || text[first - 1] != text[digits - 1])
        return ++m_openReferences > kMaxOpenReferences ? Refuse(XML_REFUSED_OPEN_REFERENCES) : 1;

    // If it stopped at the mark of another reference, it drops all text in between.
    if (first != digits || !NamesCharacter(text.substr(digits, end - digits), isHex ? 16 : 10))
        return Refuse(XML_REFUSED_REFERENCE);
    return end + 1;
}

}  // namespace

XmlScan ScanXml(std::string_view text, std::vector<std::size_t>* startTags)
{
    // The parser's document ends at the first NUL. NULs at the end are harmless.
    const std::size_t end = text.find('\0');
    if (end != std::string_view::npos && text.find_first_not_of('\0', end) != std::string_view::npos)
        return {XML_REFUSED_NUL, end};
    return Scanner(text.substr(0, end), startTags).Run();
}

}  // namespace vlio
