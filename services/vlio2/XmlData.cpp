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
    switch (error) {
    case XML_REFUSED_NUL:
        return "a NUL byte stands in the middle";
    case XML_REFUSED_END_TAG:
        return "an end tag closes nothing, or has more in it than a name";
    case XML_REFUSED_REFERENCE:
        return "a reference \"&#...;\" names no character, or would swallow text";
    case XML_REFUSED_AMPERSAND:
        return "a bare '&' stands behind a reference, and would be lost";
    case XML_REFUSED_ATTRIBUTES:
        return "an element has more than 256 attributes";
    case XML_REFUSED_OPEN_REFERENCES:
        return "there are more than 256 \"&#\" without an end";
    case XML_REFUSED_MARKUP:
        return "the markup is broken here, or ends too early";
    case tinyxml2::XML_ERROR_EMPTY_DOCUMENT:
        return "there is no root element";
    case tinyxml2::XML_ERROR_MISMATCHED_ELEMENT:
        return "an end tag has another name than its start tag";
    case tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED:
        return "elements are nested too deep";
    default:
        return "the document can't be parsed";
    }
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
    const std::size_t at = text.find_first_of("\r\n");
    if (at == std::string_view::npos || text[at] == '\n')
        return "\n";
    return text.substr(at).starts_with("\r\n") ? "\r\n" : "\r";
}

// All that a document says, in a form that no value can imitate: strings end in a NUL, which none has in it.
class Essence : public tinyxml2::XMLVisitor {
public:
    explicit Essence(const tinyxml2::XMLDocument& document)
    {
        Put('B', document.HasBOM() ? "1" : "0");
        document.Accept(this);
    }

    bool operator==(const Essence& other) const { return m_text == other.m_text; }

private:
    using XMLVisitor::VisitEnter;
    using XMLVisitor::VisitExit;

    bool VisitEnter(const tinyxml2::XMLElement& element, const tinyxml2::XMLAttribute* attribute) override
    {
        Put('<', element.Name());
        for (; attribute; attribute = attribute->Next()) {
            Put('@', attribute->Name());
            Put('=', attribute->Value());
        }
        return true;
    }

    bool VisitExit(const tinyxml2::XMLElement&) override { return Put('>', ""); }
    bool Visit(const tinyxml2::XMLDeclaration& node) override { return Put('?', node.Value()); }
    bool Visit(const tinyxml2::XMLComment& node) override { return Put('-', node.Value()); }
    bool Visit(const tinyxml2::XMLUnknown& node) override { return Put('!', node.Value()); }

    bool Visit(const tinyxml2::XMLText& node) override
    {
        const char* value = node.Value();
        if (node.CData())
            return Put('[', value);
        // Pieces of one text read back as one, and an empty one as none.
        if (*value == '\0')
            return true;
        if (m_last != 'T')
            return Put('T', value);
        m_text.pop_back();
        return Append(value);
    }

    bool Put(char kind, const char* value)
    {
        m_text += kind;
        m_last = kind;
        return Append(value);
    }

    bool Append(const char* value)
    {
        m_text.append(value, std::strlen(value) + 1);
        return true;
    }

    std::string m_text;
    char m_last = 0;
};

// tinyxml2's printer, with a string of any length behind it: its own buffer counts in int.
class Printer : public tinyxml2::XMLPrinter {
public:
    Printer(const tinyxml2::XMLDocument& document, const char* lineEnd) : m_lineEnd(lineEnd)
    {
        document.Accept(this);
    }

    const std::string& Text() const { return m_text; }

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
            m_text += m_lineEnd;
        else if (c == '\r')
            m_text += "&#13;";  // in a value; bare, it would read back as a line end
        else
            m_text += c;
    }

    const char* m_lineEnd;
    std::string m_text;
};

}  // namespace

XmlData::XmlData() = default;
XmlData::XmlData(XmlData&&) noexcept = default;
XmlData& XmlData::operator=(XmlData&&) noexcept = default;
XmlData::~XmlData() = default;

int XmlData::Load(const char* path)
{
    return LoadFile(path).code;
}

int XmlData::Parse(const char* text, std::size_t size)
{
    return ParseText({text, size}).code;
}

Error XmlData::LoadFile(const char* path)
{
    const std::string name = path;  // which may lie in what is replaced
    Bytes bytes;
    Error error = ReadFile(path, bytes);
    if (!error) {
        error = Adopt(std::move(bytes));
        if (error)
            error.file = name;
        return error;
    }
    Clear();
    error.code = error.kind == ErrorKind::NotFound ? tinyxml2::XML_ERROR_FILE_NOT_FOUND
                                                   : tinyxml2::XML_ERROR_FILE_READ_ERROR;
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

int XmlData::Save(const char* path, FileWriter& set) const
{
    return LogFailure(AddTo(set, path), nullptr) ? 1 : 0;
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
    std::string printed;
    const bool isAsLoaded = IsAsLoaded();
    if (!isAsLoaded) {
        printed = Printer(*m_document, LineEndOf(TextOf(m_bytes))).Text();
        tinyxml2::XMLDocument readBack;
        if (ParseInto(readBack, printed) || Essence(*m_document) != Essence(readBack))
            return unwritable("the document would not read back as it is");
    }

    Sink* sink = nullptr;
    Error error = set.Open(path, sink);
    const std::string_view content = isAsLoaded ? TextOf(m_bytes) : printed;
    if (!error)
        sink->Write(content.data(), content.size());
    return error;
}

bool XmlData::IsAsLoaded() const
{
    tinyxml2::XMLDocument loaded;
    return !m_bytes.empty() && !ParseInto(loaded, TextOf(m_bytes)) && Essence(*m_document) == Essence(loaded);
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
    const std::string_view names(path);
    tinyxml2::XMLElement* found = nullptr;
    for (std::size_t start = 0; start <= names.size();) {
        const std::size_t end = std::min(names.find('/', start), names.size());
        found = GetElement(std::string(names.substr(start, end - start)).c_str(), parent);
        if (!found)
            return nullptr;
        parent = found;
        start = end + 1;
    }
    return found;
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
