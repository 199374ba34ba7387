#include "Check.h"

#include <manifest/Manifest.h>
#include <vlio2/Path.h>
#include <vlio2/XmlScan.h>

#include <tinyxml2.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace vela::vlgim::check {

namespace {

using Element = tinyxml2::XMLElement;

// Whether the memory limit allows a document's tree: elements of one letter, and the places of all, take so many times
// its bytes.
bool AllowsTree(const Input& input)
{
    constexpr std::uint64_t kTreePerByte = 80;
    const std::uint64_t size = input.image.size();
    return input.session.Left(size) / kTreePerByte >= size;
}

// The line and column of a byte of a document.
Where WhereIn(std::string_view text, std::size_t at, std::string block = {})
{
    const std::string_view ahead = text.substr(0, at);
    const std::size_t lineStart = ahead.rfind('\n') + 1;  // 0 in the first line
    return {std::move(block), std::nullopt,
            static_cast<std::uint32_t>(std::count(ahead.begin(), ahead.end(), '\n') + 1),
            static_cast<std::uint32_t>(at - lineStart + 1)};
}

// Findings at the elements of a document. The parser keeps only their lines, so the text is scanned for them.
class ElementReport {
public:
    ElementReport(const Input& input, vlio::XmlData& document)
        : m_report(input.report), m_text(input.Text()), m_root(&document.Document())
    {
    }

    // Finding the place takes a pass over the document, so it is left out where the finding would be.
    void Add(Code code, const Element* element, const std::string& text)
    {
        m_report.Add(code, m_report.Keeps(code) ? Of(element) : Where{}, text);
    }

    Where Of(const Element* element)
    {
        if (m_tags.empty())
            vlio::ScanXml(m_text, &m_tags);
        std::size_t index = 0;
        // In document order, as the scan goes.
        for (const tinyxml2::XMLNode* node = m_root; node && node != element; node = Next(node))
            index += node->ToElement() ? 1 : 0;
        std::string path = element->Name();
        for (const tinyxml2::XMLNode* node = element->Parent(); node && node->ToElement();
             node = node->Parent())
            path.insert(0, std::string(node->Value()).append(1, '/'));
        return WhereIn(m_text, index < m_tags.size() ? m_tags[index] : 0, std::move(path));
    }

private:
    static const tinyxml2::XMLNode* Next(const tinyxml2::XMLNode* node)
    {
        if (node->FirstChild())
            return node->FirstChild();
        while (node && !node->NextSibling())
            node = node->Parent();
        return node ? node->NextSibling() : nullptr;
    }

    FileReport& m_report;
    std::string_view m_text;
    const tinyxml2::XMLNode* m_root;
    std::vector<std::size_t> m_tags;  // first bytes of the elements, once one was asked for
};

// A submesh record: what the loader asks for, and a material that exists.
// materials  how many there are, if that is known
void CheckSubmesh(ElementReport& report, const Element* element, std::optional<std::size_t> materials)
{
    SubmeshMessage submesh;
    if (const Error lacks = manifest::ReadSubmesh(*element, submesh))
        return report.Add("submesh-incomplete", element, lacks.text);
    const std::string who = "submesh " + submesh.name + " refers to material " + element->Attribute("MtlIdx");
    int index = 0;
    if (element->QueryIntAttribute("MtlIdx", &index) != tinyxml2::XML_SUCCESS)
        report.Add("material-index", element, who + ", which is not a number");
    else if (index < 0)
        report.Add("material-index", element, who);
    else if (materials && static_cast<std::size_t>(index) >= *materials)
        report.Add("material-index", element,
                   who + ", but there " + (*materials == 1 ? "is 1" : "are " + std::to_string(*materials)));
}

// Checks the material group, and gives its number of materials if that could be read.
std::optional<std::size_t> CheckMaterials(const Input& by, const Where& where, const std::string& path)
{
    vlio::XmlData document;
    const std::optional<Input> input = ReadFile(by.session, path, &by.report, where);
    if (!input || !CheckDocument(*input, document))
        return std::nullopt;
    ElementReport elements(*input, document);
    if (!document.FindElement("Vela/MaterialGroup", nullptr))
        elements.Add("material-incomplete", document.GetElement(nullptr, nullptr),
                     "there is no Vela element that contains a MaterialGroup");
    const manifest::Elements materials = manifest::Materials(document);
    for (const Element* material : materials)
        if (!manifest::Parameters(document, material))
            elements.Add("material-incomplete", material,
                         std::string("material ") + material->Name() + " has no Material/ParamTable");
    return materials.size();
}

// Where the manifest's word for its skeleton may lead: tools take it with a base path, from the manifest's folder, or
// as it is.
void CheckSkeletonExists(const Input& input, const std::string& name, const Where& where)
{
    const std::string folder = input.report.Path().substr(0, input.report.Path().find_last_of("/\\") + 1);
    const std::string formatted = vlio::FormatPath(name.c_str());
    const std::string based = (input.session.Base() ? input.session.Base() : folder) + formatted;
    for (const std::string& path : {based, folder + formatted, formatted})
        if (vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY))
            return;
    ReportMissing(input.report, where, vlio::IsRelativePath(name.c_str()) ? based : formatted);
}

void CheckModelFiles(const Input& input, const vlio::XmlData& document, ElementReport& elements)
{
    Session& session = input.session;
    const std::string path = input.report.Path();
    const Where root = elements.Of(document.GetElement(nullptr, nullptr));
    const manifest::Elements submeshes = manifest::Submeshes(document);
    const std::optional<std::size_t> materials =
        CheckMaterials(input, root, manifest::MaterialPath(document, path.c_str(), session.Base()));
    for (const Element* submesh : submeshes)
        CheckSubmesh(elements, submesh, materials);

    vlio::XmlData music;
    if (const auto found = ReadFile(session, manifest::MusicPath(path.c_str())))
        CheckDocument(*found, music);

    if (const std::string skeleton = manifest::SkeletonName(document); !skeleton.empty())
        CheckSkeletonExists(input, skeleton,
                            elements.Of(document.FindElement("Vela/SkeletonFile/FileName", nullptr)));
    if (submeshes.empty())
        return;
    const std::string meshPath = manifest::MeshPath(document, path.c_str(), session.Base());
    if (const auto mesh = ReadFile(session, meshPath, &input.report, root))
        CheckMesh(*mesh, static_cast<std::uint32_t>(submeshes.size()));
}

// How many submeshes the manifest beside a mesh tells of, if that is the mesh it means.
std::optional<std::uint32_t> CountBeside(Session& session, const std::string& meshPath)
{
    const std::string path = vlio::ReplaceFileExtension(meshPath.c_str(), ".gim");
    vlio::XmlData document;
    const std::optional<Input> input = ReadFile(session, path);
    if (!input || !AllowsTree(*input) || document.ParseText(input->Text()))
        return std::nullopt;
    const std::uint32_t count = manifest::CountSubmeshes(document, path, session.Base(), meshPath);
    return count != 0 ? std::optional(count) : std::nullopt;
}

}  // namespace

bool CheckDocument(const Input& input, vlio::XmlData& document)
{
    if (!AllowsTree(input)) {
        input.report.Add("memory-limit", {}, "a document of this size could exceed the memory limit");
        return false;
    }
    const Error error = document.ParseText(input.Text());
    input.session.Step(input.report);
    if (error)
        input.report.Add("bad-xml", WhereIn(input.Text(), *error.offset), error.text);
    return !error;
}

void CheckManifest(const Input& input, bool withFiles)
{
    vlio::XmlData document;
    if (!CheckDocument(input, document))
        return;
    ElementReport elements(input, document);
    if (const Error none = manifest::WhyNoSubmeshes(document)) {
        const Element* list = document.FindElement("Vela/SubMesh", nullptr);
        elements.Add("no-submeshes", list ? list : document.GetElement(nullptr, nullptr), none.text);
    }
    if (withFiles)
        return CheckModelFiles(input, document, elements);
    for (const Element* submesh : manifest::Submeshes(document))
        CheckSubmesh(elements, submesh, std::nullopt);
}

void CheckMeshAlone(const Input& input, bool withManifest)
{
    std::optional<std::uint32_t> count = input.session.Options().submeshCount;
    if (!count && withManifest)
        count = CountBeside(input.session, input.report.Path());
    CheckMesh(input, count);
}

}  // namespace vela::vlgim::check
