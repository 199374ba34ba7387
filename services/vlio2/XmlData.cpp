#include <vlio2/XmlData.h>

#include <vlio2/Failures.h>
#include <vlio2/FileWriter.h>
#include <vlio2/XmlScan.h>

#include <tinyxml2.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace vlio {

using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

namespace {

std::string_view TextOf(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// For the one who wrote the document.
const char* WhyRefused(int error)
{
    static constexpr std::pair<int, const char*> kReasons[] = {
        {XML_REFUSED_NUL, "there is a NUL byte before the end"},
        {XML_REFUSED_END_TAG, "an end tag closes nothing, or has more in it than a name"},
        {XML_REFUSED_REFERENCE, "a reference \"&#...;\" names no character, or would swallow text"},
        {XML_REFUSED_AMPERSAND, "a bare '&' follows a reference, and would be lost"},
        {XML_REFUSED_ATTRIBUTES, "an element has more than 256 attributes"},
        {XML_REFUSED_OPEN_REFERENCES, "there are more than 256 \"&#\" without an end"},
        {XML_REFUSED_MARKUP, "the markup is broken here, or ends too early"},
        {tinyxml2::XML_ERROR_EMPTY_DOCUMENT, "there is no root element"},
        {tinyxml2::XML_ERROR_MISMATCHED_ELEMENT, "an end tag has another name than its start tag"},
        {tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED, "elements are nested too deep"},
    };
    for (const auto& [known, reason] : kReasons)
        if (known == error)
            return reason;
    return "the document can't be parsed";
}

// The first character of a line, counted from 1, that is no space.
std::size_t StartOfLine(std::string_view text, int line)
{
    std::size_t at = 0;
    for (int i = 1; i < line; ++i)
        at = text.find('\n', at) + 1;
    return std::min(text.find_first_not_of(" \t\r", at), text.size());
}

// Fills a new document. The scan goes first: some of what it refuses would keep the parser busy for hours.
Error ParseInto(tinyxml2::XMLDocument& document, std::string_view text)
{
    const XmlScan scan = ScanXml(text);
    int code = scan.error;
    if (code == 0 || code == XML_REFUSED_MARKUP) {
        if (const int refused = document.Parse(text.data(), text.size()))
            code = refused;
        else if (code == 0 && !document.RootElement())
            code = tinyxml2::XML_ERROR_EMPTY_DOCUMENT;
    }
    if (code == 0)
        return {};
    // The scan knows the byte, the parser the line alone.
    Error error = Failure(ErrorKind::Document, code, "", WhyRefused(scan.error != 0 ? scan.error : code));
    error.offset = scan.error != 0 ? scan.at : StartOfLine(text, document.ErrorLineNum());
    return error;
}

// The first one in the text, LF if there is none.
const char* LineEndOf(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    return text.starts_with("\r\n") ? "\r\n" : text.starts_with('\r') ? "\r" : "\n";
}

// Appends all that the nodes below `parent` say, in a form that no value can imitate: a kind stands before each node and
// attribute, and strings end in a NUL, which none has in it.
void AppendContent(std::string& out, const tinyxml2::XMLNode& parent)
{
    const auto append = [&out](const char* value) { out.append(value, std::strlen(value) + 1); };
    char last = 0;
    for (const auto* node = parent.FirstChild(); node; node = node->NextSibling()) {
        const char* const value = node->Value();
        const auto* const element = node->ToElement();
        const char kind = node->ToText()          ? (node->ToText()->CData() ? '[' : 'T')
                          : element               ? '<'
                          : node->ToComment()     ? '-'
                          : node->ToDeclaration() ? '?'
                                                  : '!';
        // Pieces of one text read back as one, and an empty one as none.
        if (kind == 'T' && *value == '\0')
            continue;
        if (kind == 'T' && last == 'T')
            out.pop_back();
        else
            out += kind;
        append(value);
        last = kind;
        if (!element)
            continue;
        for (const auto* attribute = element->FirstAttribute(); attribute; attribute = attribute->Next()) {
            out += '@';
            append(attribute->Name());
            append(attribute->Value());
        }
        AppendContent(out, *element);
        out += '>';
    }
}

std::string Essence(const tinyxml2::XMLDocument& document)
{
    std::string essence(1, document.HasBOM() ? 'B' : ' ');
    AppendContent(essence, document);
    return essence;
}

// Whether a text is a document with this essence.
bool ReadsAs(std::string_view text, const std::string& essence)
{
    tinyxml2::XMLDocument document;
    return !ParseInto(document, text) && Essence(document) == essence;
}

// tinyxml2's printer, with a string of any length behind it: its own buffer counts in int.
class Printer : public tinyxml2::XMLPrinter {
public:
    Printer(const tinyxml2::XMLDocument& document, const char* lineEnd) : m_lineEnd(lineEnd)
    {
        document.Accept(this);
    }

    std::string text;

private:
    using XMLPrinter::Visit;
    using XMLPrinter::Write;

    bool Visit(const tinyxml2::XMLText& node) override
    {
        const char* value = node.Value();
        if (node.CData() || value[std::strspn(value, " \t\n\v\f\r")] != '\0')
            return XMLPrinter::Visit(node);
        // Nothing but white space would read back as no text, unless a reference is in it.
        if (*value != '\0') {
            PushText("");
            Write(("&#" + std::to_string(*value) + ";").c_str());
            PushText(value + 1);
        }
        return true;
    }

    void Write(const char* data, std::size_t size) override
    {
        for (const char c : std::string_view(data, size))
            Putc(c);
    }

    void Putc(char c) override
    {
        if (c == '\n')
            text += m_lineEnd;
        else if (c == '\r')
            text += "&#13;";  // in a value; bare, it would read back as a line end
        else
            text += c;
    }

    const char* m_lineEnd;
};

}  // namespace

XmlData::XmlData() = default;
XmlData::XmlData(XmlData&&) noexcept = default;
XmlData& XmlData::operator=(XmlData&&) noexcept = default;
XmlData::~XmlData() = default;

Error XmlData::LoadFile(const char* path)
{
    const std::string name = path;  // which may lie in what is replaced
    Bytes bytes;
    Error error = ReadFile(path, bytes);
    Clear();
    if (error)
        error.code = error.kind == ErrorKind::NotFound ? tinyxml2::XML_ERROR_FILE_NOT_FOUND
                                                       : tinyxml2::XML_ERROR_FILE_READ_ERROR;
    else
        error = Adopt(std::move(bytes));
    if (error)
        error.file = name;
    return error;
}

Error XmlData::ParseText(std::string_view text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    return Adopt(Bytes(bytes, bytes + text.size()));
}

Error XmlData::Adopt(Bytes bytes)
{
    Clear();
    auto document = std::make_unique<tinyxml2::XMLDocument>();
    Error error = ParseInto(*document, TextOf(bytes));
    if (!error) {
        m_document = std::move(document);
        m_bytes = std::move(bytes);
    }
    return error;
}

void XmlData::Clear() noexcept
{
    m_document.reset();
    m_bytes.clear();
}

int XmlData::Save(const char* path) const
{
    FileWriter set;
    Error error = AddTo(set, path);
    if (!error)
        error = set.Commit();
    LogWarnings(set.Warnings(), nullptr);
    return LogFailure(error, nullptr) ? 1 : 0;
}

Error XmlData::SaveFile(const char* path) const
{
    FileWriter set;
    Error error = AddTo(set, path);
    return error ? error : set.Commit();
}

Error XmlData::AddTo(FileWriter& set, const char* path) const
{
    const auto unwritable = [path](const char* why) { return Failure(ErrorKind::Unwritable, 0, path, why); };
    if (IsEmpty())
        return unwritable("the document is empty");
    const std::string essence = Essence(*m_document);
    std::string_view content = TextOf(m_bytes);
    std::string printed;
    if (!ReadsAs(content, essence)) {
        printed = Printer(*m_document, LineEndOf(content)).text;
        content = printed;
        if (!ReadsAs(content, essence))
            return unwritable("the document would not read back as it is");
    }

    Sink* sink = nullptr;
    Error error = set.Open(path, sink);
    if (!error)
        sink->Write(content.data(), content.size());
    return error;
}

bool XmlData::IsEmpty() const noexcept
{
    return !m_document || !m_document->RootElement();
}

tinyxml2::XMLElement* XmlData::GetElement(const char* name, const tinyxml2::XMLElement* parent) const noexcept
{
    if (!parent)
        return m_document ? m_document->FirstChildElement(name) : nullptr;
    return const_cast<tinyxml2::XMLElement*>(parent->FirstChildElement(name));
}

tinyxml2::XMLElement* XmlData::FindElement(const char* path, const tinyxml2::XMLElement* parent) const
{
    const std::size_t size = std::strcspn(path, "/");
    auto* const found = GetElement(std::string(path, size).c_str(), parent);
    return found && path[size] == '/' ? FindElement(path + size + 1, found) : found;
}

void XmlData::GetChildElementList(std::vector<tinyxml2::XMLElement*>& list,
                                  const tinyxml2::XMLElement* parent, const char* name) const
{
    list.clear();
    for (auto* child = GetElement(name, parent); child; child = child->NextSiblingElement(name))
        list.push_back(child);
}

tinyxml2::XMLDocument& XmlData::Document()
{
    if (!m_document)
        m_document = std::make_unique<tinyxml2::XMLDocument>();
    return *m_document;
}

}  // namespace vlio
