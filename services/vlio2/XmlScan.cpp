#include <vlio2/XmlScan.h>

#include <vlio2/XmlData.h>

#include <charconv>
#include <cstdint>
#include <utility>

namespace vlio {

namespace {

// The parser compares each attribute with all earlier ones of the element. No model has nearly as many.
constexpr int kMaxAttributes = 256;
// For each of them the parser searches the rest of the value for its end.
constexpr int kMaxOpenReferences = 256;

// What the parser passes over up to its end. The first match counts.
constexpr std::pair<std::string_view, std::string_view> kSkipped[] = {
    {"<?", "?>"}, {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<!", ">"}};

// The parser's character classes, without its use of the locale for bytes below 128.
bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ':' || c == '_' ||
           static_cast<unsigned char>(c) >= 128;
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
}

// The length of what the parser replaces by one character at the start of text, references aside; 1 for nothing.
std::size_t ReplacedLength(std::string_view text)
{
    for (const std::string_view replaced : {"&quot;", "&amp;", "&apos;", "&lt;", "&gt;", "\r\n", "\n\r"})
        if (text.starts_with(replaced))
            return replaced.size();
    return 1;
}

// The length of the reference at the start of text, which starts with "&#", if the parser replaces it; 1 if the parser
// leaves it alone, and 0 if it would lose something.
std::size_t ReferenceLength(std::string_view text)
{
    // At the end of a value the parser drops the '&'.
    if (text.size() == 2)
        return 0;

    // The parser adds the digits up in 32 bits, writes nothing above 0x1FFFFF, and ends the string at a 0.
    const bool isHex = text[2] == 'x';
    const char* const digits = text.data() + (isHex ? 3 : 2);
    std::uint32_t code = 0;  // stays 0 without digits, or with one too many
    const char* const behind = std::from_chars(digits, text.data() + text.size(), code, isHex ? 16 : 10).ptr;
    const auto length = static_cast<std::size_t>(behind - text.data());
    if (text.substr(length).starts_with(';')) {
        const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
        return code != 0 && code <= 0x10FFFF && !isSurrogate ? length + 1 : 0;
    }
    // The parser finds the next ';', which may be far after this reference. From there it goes back over digits. It
    // expects to stop at the mark of this reference ('#' or 'x'). If it stops at the same mark of a later reference, it
    // drops all text in between.
    const std::size_t end = text.find(';', length);
    if (end == std::string_view::npos)
        return 1;
    const std::size_t stop = text.find_last_not_of(isHex ? "0123456789abcdefABCDEF" : "0123456789", end - 1);
    return text[stop] == text[isHex ? 2 : 1] ? 0 : 1;
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
        while (!m_left.empty())
            Node();
        if (m_depth != 0)
            Refuse(XML_REFUSED_MARKUP);
        return m_result;
    }

private:
    std::size_t Here() const { return m_text.size() - m_left.size(); }

    // Ends the scan: nothing is left to read. Only the first refusal counts.
    void Refuse(XmlRefusal why, std::size_t at)
    {
        if (m_result.error == 0)
            m_result = {why, at};
        m_left = {};
    }

    void Refuse(XmlRefusal why) { Refuse(why, Here()); }

    // These move past what they read.
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

    void Node()
    {
        const std::string_view start = m_left;
        SkipSpace();
        if (m_left.empty())
            return;
        for (const auto& [begin, end] : kSkipped) {
            if (!Take(begin))
                continue;
            const std::size_t size = m_left.find(end);
            return size == std::string_view::npos ? Refuse(XML_REFUSED_MARKUP)
                                                  : m_left.remove_prefix(size + end.size());
        }
        if (Take("<"))
            return Tag();

        const std::size_t size = start.find('<');
        if (size == std::string_view::npos)
            return Refuse(XML_REFUSED_MARKUP);
        m_left = start.substr(size);
        Value(start.substr(0, size));  // with the space before it
    }

    void Tag()
    {
        const std::size_t start = Here() - 1;
        SkipSpace();
        const bool isEnd = Take("/");
        if (!TakeName())
            return Refuse(XML_REFUSED_MARKUP);
        if (m_startTags && !isEnd)
            m_startTags->push_back(start);
        int attributes = 0;
        for (SkipSpace(); !Take(">"); SkipSpace()) {
            if (m_left.empty())
                return Refuse(XML_REFUSED_MARKUP);
            // The parser drops the attributes of an end tag and takes "</a/>" for "<a/>".
            if (isEnd)
                return Refuse(XML_REFUSED_END_TAG);
            if (Take("/>"))
                return;
            if (attributes++ == kMaxAttributes)
                return Refuse(XML_REFUSED_ATTRIBUTES);
            Attribute();
        }
        // At the top level the parser takes an end tag for the end of the document.
        if (isEnd && m_depth == 0)
            return Refuse(XML_REFUSED_END_TAG);
        m_depth += isEnd ? -1 : 1;
    }

    void Attribute()
    {
        const bool hasName = TakeName();
        SkipSpace();
        if (!hasName || !Take("="))
            return Refuse(XML_REFUSED_MARKUP);
        SkipSpace();
        const bool isQuoted = m_left.starts_with('"') || m_left.starts_with('\'');
        const std::size_t end = isQuoted ? m_left.find(m_left.front(), 1) : std::string_view::npos;
        if (end == std::string_view::npos)
            return Refuse(XML_REFUSED_MARKUP);
        const std::string_view value = m_left.substr(1, end - 1);
        m_left.remove_prefix(end + 1);
        Value(value);
    }

    void Value(std::string_view value)
    {
        // The parser decodes in place. It steps over a '&' that starts nothing without copying it. After anything that
        // became shorter, an older byte of the buffer then shows up in its place.
        bool isShorter = false;
        while (!value.empty()) {
            const auto at = static_cast<std::size_t>(value.data() - m_text.data());
            std::size_t length = 1;
            const char first = value.front();
            if (value.starts_with("&#")) {
                length = ReferenceLength(value);
                if (length == 0)
                    return Refuse(XML_REFUSED_REFERENCE, at);
                if (length == 1 && ++m_openReferences > kMaxOpenReferences)
                    return Refuse(XML_REFUSED_OPEN_REFERENCES, at);
            } else if (first == '&' || first == '\r' || first == '\n') {
                length = ReplacedLength(value);
                if (first == '&' && length == 1 && isShorter)
                    return Refuse(XML_REFUSED_AMPERSAND, at);
            }
            isShorter |= length > 1;
            value.remove_prefix(length);
        }
    }

    std::string_view m_text, m_left;
    std::vector<std::size_t>* m_startTags;
    std::ptrdiff_t m_depth = 0;
    int m_openReferences = 0;
    XmlScan m_result;
};

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
