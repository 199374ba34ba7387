#include "Check.h"

#include <manifest/Manifest.h>
#include <vlio2/Path.h>
#include <vlio2/XmlScan.h>

#include <tinyxml2.h>

#include <algorithm>
#include <unordered_map>

namespace vela::vlgim::check {

namespace {

using Element = tinyxml2::XMLElement;

// A document's tree, and the places of its elements, take so many times its bytes at the most: elements of one letter.
constexpr std::uint64_t kTreePerByte = 80;

std::string_view TextOf(const vlio::Bytes& image)
{
    return {reinterpret_cast<const char*>(image.data()), image.size()};
}

// Lines and columns of a document, best asked for in ascending order.
class Lines {
public:
    explicit Lines(std::string_view text) : m_text(text), m_lineEnd(text.find('\n')) {}

    Where Of(const std::string& block, std::size_t at)
    {
        if (at < m_lineStart) {
            m_line = m_lineStart = 0;
            m_lineEnd = m_text.find('\n');
        }
        while (m_lineEnd < at) {
            ++m_line;
            m_lineStart = m_lineEnd + 1;
            m_lineEnd = m_text.find('\n', m_lineStart);
        }
        return {block, std::nullopt, static_cast<std::uint32_t>(m_line + 1),
                static_cast<std::uint32_t>(at - m_lineStart + 1)};
    }

private:
    std::string_view m_text;
    std::size_t m_line = 0, m_lineStart = 0, m_lineEnd;
};

// Where the elements of a document stand in its text: the parser keeps their lines alone.
class ElementPlaces {
public:
    ElementPlaces(std::string_view text, vlio::XmlData& document) : m_lines(text)
    {
        std::vector<std::size_t> tags;
        vlio::ScanXml(text, &tags);
        std::size_t next = 0;
        const tinyxml2::XMLNode* node = &document.Document();
        // In document order, as the scan goes.
        while ((node = Next(node)) && next < tags.size())
            if (const Element* element = node->ToElement())
                m_tags[element] = tags[next++];
    }

    Where Of(const Element* element)
    {
        std::string path = element->Name();
        for (const tinyxml2::XMLNode* node = element->Parent(); node && node->ToElement();
             node = node->Parent())
            path.insert(0, std::string(node->Value()).append(1, '/'));
        return m_lines.Of(path, m_tags[element]);
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

    Lines m_lines;
    std::unordered_map<const Element*, std::size_t> m_tags;
};

// A submesh record: what the loader asks for, and a material that exists.
// materials  how many there are, if that is known
void CheckSubmesh(FileReport& report, ElementPlaces& places, const Element* element,
                  std::optional<std::size_t> materials)
{
    const char* name = element->Attribute("Name");
    const tinyxml2::XMLAttribute* mtlIdx = element->FindAttribute("MtlIdx");
    if (!name || !mtlIdx)
        return report.Add("submesh-incomplete", places.Of(element),
                          std::string("the submesh has no ") + (name ? "MtlIdx" : "Name"));
    int index = 0;
    const bool isNumber = mtlIdx->QueryIntValue(&index) == tinyxml2::XML_SUCCESS;
    const std::string who = "submesh " + std::string(name) + " refers to material " + mtlIdx->Value();
    if (!isNumber)
        report.Add("material-index", places.Of(element), who + ", which is not a number");
    else if (index < 0)
        report.Add("material-index", places.Of(element), who);
    else if (materials && static_cast<std::size_t>(index) >= *materials)
        report.Add("material-index", places.Of(element),
                   who + ", but there " + (*materials == 1 ? "is 1" : "are " + std::to_string(*materials)));
}

// Checks the material group, and gives its number of materials if that could be read.
std::optional<std::size_t> CheckMaterials(Session& session, FileReport& by, const Where& where,
                                          const std::string& path)
{
    vlio::Bytes image;
    vlio::XmlData document;
    FileReport* const report = ReadFile(session, path, image, &by, where);
    if (!report || !CheckDocument(session, *report, image, document))
        return std::nullopt;
    ElementPlaces places(TextOf(image), document);
    if (!document.FindElement("Vela/MaterialGroup", nullptr))
        report->Add("material-incomplete", places.Of(document.GetElement(nullptr, nullptr)),
                    "there is no Vela element that contains a MaterialGroup");
    const manifest::Elements materials = manifest::Materials(document);
    for (const Element* material : materials)
        if (!manifest::Parameters(document, material))
            report->Add("material-incomplete", places.Of(material),
                        std::string("material ") + material->Name() + " has no Material/ParamTable");
    return materials.size();
}

// Where the manifest's word for its skeleton may lead: tools take it with a base path, from the manifest's folder, or
// as it is.
void CheckSkeletonExists(Session& session, FileReport& report, const std::string& name, const Where& where)
{
    const std::string folder = report.Path().substr(0, report.Path().find_last_of("/\\") + 1);
    const std::string formatted = vlio::FormatPath(name.c_str());
    const std::string based = (session.Base() ? session.Base() : folder) + formatted;
    for (const std::string& path : {based, folder + formatted, formatted})
        if (vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY))
            return;
    ReportMissing(report, where, vlio::IsRelativePath(name.c_str()) ? based : formatted);
}

void CheckModelFiles(Session& session, FileReport& report, const vlio::XmlData& document,
                     ElementPlaces& places)
{
    const std::string path = report.Path();
    const Where root = places.Of(document.GetElement(nullptr, nullptr));
    const manifest::Elements submeshes = manifest::Submeshes(document);
    const std::optional<std::size_t> materials =
        CheckMaterials(session, report, root, manifest::MaterialPath(document, path.c_str(), session.Base()));
    for (const Element* submesh : submeshes)
        CheckSubmesh(report, places, submesh, materials);

    vlio::Bytes image;
    vlio::XmlData music;
    if (FileReport* found = ReadFile(session, vlio::ReplaceFileExtension(path.c_str(), "_music.ags"), image))
        CheckDocument(session, *found, image, music);

    if (const std::string skeleton = manifest::SkeletonName(document); !skeleton.empty())
        CheckSkeletonExists(session, report, skeleton,
                            places.Of(document.FindElement("Vela/SkeletonFile/FileName", nullptr)));
    if (submeshes.empty())
        return;
    if (FileReport* mesh = ReadFile(session, manifest::MeshPath(document, path.c_str(), session.Base()),
                                    image, &report, root))
        CheckMesh(session, *mesh, image, static_cast<std::uint32_t>(submeshes.size()));
}

// Submeshes that the manifest beside a mesh tells of, if that is the mesh it means; 0 if not.
std::uint32_t CountBeside(Session& session, const std::string& meshPath)
{
    const std::string path = vlio::ReplaceFileExtension(meshPath.c_str(), ".gim");
    vlio::Bytes image;
    vlio::XmlData document;
    const FileReport* const report = ReadFile(session, path, image);
    const std::string_view text = TextOf(image);
    if (!report || session.Left(image.size()) / kTreePerByte < image.size() ||
        document.Parse(text.data(), text.size()) != 0)
        return 0;
    const std::string named = manifest::MeshPath(document, path.c_str(), session.Base());
    return vlio::FormatPath(named.c_str()) == vlio::FormatPath(meshPath.c_str())
               ? static_cast<std::uint32_t>(manifest::Submeshes(document).size())
               : 0;
}

}  // namespace

bool CheckDocument(Session& session, FileReport& report, const vlio::Bytes& image, vlio::XmlData& document)
{
    if (session.Left(image.size()) / kTreePerByte < image.size()) {
        report.Add("memory-limit", {}, "a document of this size could exceed the memory limit");
        return false;
    }
    const std::string_view text = TextOf(image);
    const Error error = document.ParseText(text);
    session.Step(report);
    if (!error)
        return true;
    report.Add("bad-xml", Lines(text).Of("", *error.offset), error.text);
    return false;
}

void CheckManifest(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles)
{
    vlio::XmlData document;
    if (!CheckDocument(session, report, image, document))
        return;
    ElementPlaces places(TextOf(image), document);
    const Element* root = document.GetElement(nullptr, nullptr);
    const Element* list = document.FindElement("Vela/SubMesh", nullptr);
    if (manifest::Submeshes(document).empty())
        report.Add("no-submeshes", places.Of(list ? list : root),
                   list ? "SubMesh lists no submeshes"
                        : "there is no Vela element that contains a SubMesh list");
    if (withFiles)
        return CheckModelFiles(session, report, document, places);
    for (const Element* submesh : manifest::Submeshes(document))
        CheckSubmesh(report, places, submesh, std::nullopt);
}

void CheckMeshAlone(Session& session, FileReport& report, const vlio::Bytes& image, bool withManifest)
{
    if (session.Options().submeshCount)
        return CheckMesh(session, report, image, *session.Options().submeshCount);
    if (const std::uint32_t count = withManifest ? CountBeside(session, report.Path()) : 0)
        return CheckMesh(session, report, image, count);
    CheckMeshWithoutCount(session, report, image);
}

}  // namespace vela::vlgim::check
