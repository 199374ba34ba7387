#include <vlio2/XmlData.h>

#include <corecommon/Log.h>
#include <vlio2/FileWriter.h>
#include <vlio2/XmlScan.h>

#include <tinyxml2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace vlio {

namespace {

std::string_view TextOf(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Fills a new document. The scan goes first: some of what it refuses would keep the parser busy for hours.
int ParseInto(tinyxml2::XMLDocument& document, std::string_view text)
{
    const int refusal = ScanXml(text).error;
    if (refusal != 0 && refusal != XML_REFUSED_MARKUP)
        return refusal;
    if (const int error = document.Parse(text.data(), text.size()))
        return error;
    if (refusal == 0 && !document.RootElement())
        return tinyxml2::XML_ERROR_EMPTY_DOCUMENT;
    return refusal;
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

int RefuseToWrite(const char* path, const std::string& reason)
{
    vela::LogError("failed to write %s: %s", path, reason.c_str());
    return 1;
}

}  // namespace

XmlData::XmlData() = default;
XmlData::~XmlData() = default;

int XmlData::Load(const char* path)
{
    Bytes bytes;
    if (FileStream::ReadAllBinary(path, bytes, FILE_SYSTEM_ANY))
        return Adopt(std::move(bytes));
    Clear();
    return FileStream::Exists(path, FILE_SYSTEM_ANY) ? tinyxml2::XML_ERROR_FILE_READ_ERROR
                                                     : tinyxml2::XML_ERROR_FILE_NOT_FOUND;
}

int XmlData::Parse(const char* text, std::size_t size)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    return Adopt(Bytes(bytes, bytes + size));
}

int XmlData::Adopt(Bytes bytes)
{
    Clear();
    auto document = std::make_unique<tinyxml2::XMLDocument>();
    const int error = ParseInto(*document, TextOf(bytes));
    if (error == 0) {
        m_document = std::move(document);
        m_bytes = std::move(bytes);
    }
    return error;
}

void XmlData::Clear()
{
    m_document.reset();
    m_bytes.clear();
}

int XmlData::Save(const char* path) const
{
    FileWriter set;
    return Save(path, set) == 0 && set.Commit() ? 0 : 1;
}

int XmlData::Save(const char* path, FileWriter& set) const
{
    if (IsEmpty())
        return RefuseToWrite(path, "the document is empty");
    std::string printed;
    const bool isAsLoaded = IsAsLoaded();
    if (!isAsLoaded) {
        printed = Printer(*m_document, LineEndOf(TextOf(m_bytes))).Text();
        tinyxml2::XMLDocument readBack;
        if (ParseInto(readBack, printed) != 0 || Essence(*m_document) != Essence(readBack))
            return RefuseToWrite(path, "the document would not read back as it is");
    }

    std::FILE* file = set.Open(path);
    if (!file && set.OpenError() == EEXIST)
        return 1;  // the set has said why
    if (!file)
        return RefuseToWrite(path, ErrorText(set.OpenError()));
    const std::string_view content = isAsLoaded ? TextOf(m_bytes) : printed;
    std::fwrite(content.data(), 1, content.size(), file);  // the set keeps the reason of a failure
    return 0;
}

bool XmlData::IsAsLoaded() const
{
    tinyxml2::XMLDocument loaded;
    return !m_bytes.empty() && ParseInto(loaded, TextOf(m_bytes)) == 0 &&
           Essence(*m_document) == Essence(loaded);
}

bool XmlData::IsEmpty() const
{
    return !m_document || !m_document->RootElement();
}

tinyxml2::XMLElement* XmlData::GetElement(const char* name, const tinyxml2::XMLElement* parent) const
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
