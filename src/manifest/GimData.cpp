#include <vlgim/GimData.h>

#include "Manifest.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <mesh/MeshBlocks.h>
#include <vlio2/FileWriter.h>
#include <vlio2/Path.h>

#include <tinyxml2.h>

namespace vela::vlgim {

namespace {

// As the manifest's functions take it: null for none.
const char* Prefix(const std::optional<std::string>& base)
{
    return base ? base->c_str() : nullptr;
}

// The mesh file does not say how many submeshes it has, and can't be read without it.
Error LoadMesh(GimData& model, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    model.m_meshPath = manifest::MeshPath(model.m_gimXml, path, nullptr);
    if (Error none = manifest::WhyNoSubmeshes(model.m_gimXml))
        return none;
    model.m_mesh.m_submeshCount = static_cast<std::uint32_t>(manifest::Submeshes(model.m_gimXml).size());
    model.m_meshPath = manifest::MeshPath(model.m_gimXml, path, Prefix(options.base));
    return Load(model.m_mesh, model.m_meshPath.c_str(),
                {.base = {}, .submeshCount = {}, .memoryLimit = options.memoryLimit}, warnings);
}

// The records up to the first that lacks something.
Error ReadSubmeshes(const vlio::XmlData& gim, std::vector<SubmeshMessage>& submeshes)
{
    for (const tinyxml2::XMLElement* element : manifest::Submeshes(gim)) {
        SubmeshMessage submesh;
        if (Error lacks = manifest::ReadSubmesh(*element, submesh))
            return lacks;
        submeshes.push_back(std::move(submesh));
    }
    return {};
}

// The materials up to the first that has no parameters.
void ReadMaterials(const vlio::XmlData& mtg, std::vector<MaterialMessage>& materials)
{
    for (const tinyxml2::XMLElement* element : manifest::Materials(mtg)) {
        const tinyxml2::XMLElement* table = manifest::Parameters(mtg, element);
        if (!table)
            return;
        MaterialMessage material{element->Name(), {}};
        for (auto* param = table->FirstChildElement(); param; param = param->NextSiblingElement())
            if (const char* value = param->Attribute("Value"))
                material.params.emplace(param->Name(), value);
        materials.push_back(std::move(material));
    }
}

// The manifest alone tells a reader how many submeshes there are: with another number the mesh reads as rubbish.
Error WhyMeshUnwritable(const GimData& model)
{
    if (model.m_mesh.m_submeshCount == 0)
        return model.m_mesh.m_vertexData
                   ? io::Unwritable("m_submeshCount is 0, so its vertices would not be saved")
                   : Error();
    if (Error why = WhyUnwritable(model.m_mesh))
        return why;
    const std::size_t told = manifest::Submeshes(model.m_gimXml).size(),
                      held = model.m_mesh.m_vertexData->m_subCount;
    if (model.m_gimXml.IsEmpty() || told == held)
        return {};
    return io::Unwritable("it has " + std::to_string(held) + " submeshes, but the manifest has " +
                          std::to_string(told));
}

template <class T>
T RecordAt(const std::vector<T>& records, int index)
{
    const auto at = static_cast<std::size_t>(index);  // a negative one is beyond all records
    return at < records.size() ? records[at] : T{};
}

}  // namespace

std::uint32_t CountSubmeshesBeside(const char* meshPath, const LoadOptions& options)
{
    const std::string path = vlio::ReplaceFileExtension(meshPath, ".gim");
    vlio::XmlData gim;
    return gim.LoadFile(path.c_str()) ? 0
                                      : manifest::CountSubmeshes(gim, path, Prefix(options.base), meshPath);
}

Error Load(GimData& model, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    model = {};
    Error error = model.m_gimXml.LoadFile(path);
    if (!error)
        error = LoadMesh(model, path, options, warnings);
    if (error)
        return io::InFile(std::move(error), path);
    const std::string materialPath = manifest::MaterialPath(model.m_gimXml, path, Prefix(options.base));
    if (Error missing = model.m_mtgXml.LoadFile(materialPath.c_str()))
        io::Append(warnings, {std::move(missing)});
    else
        ReadMaterials(model.m_mtgXml, model.m_materials);
    if (Error missing = model.m_musicXml.LoadFile(manifest::MusicPath(path).c_str()))
        io::Append(warnings, {std::move(missing)});
    error = ReadSubmeshes(model.m_gimXml, model.m_submeshes);
    return io::InFile(std::move(error), path);
}

int GimData::Load(const char* path, const char* basePath)
{
    const LoadOptions options{basePath ? std::optional<std::string>(basePath) : std::nullopt, {}};
    std::vector<Error> warnings;
    const Error error = vlgim::Load(*this, path, options, &warnings);
    if (m_gimXml.IsEmpty()) {
        LogError("Failed to load file: %s\n", path);
        return error.code;
    }
    // A submesh record that lacks something comes behind everything else that can fail.
    if (!m_mesh.m_vertexData) {
        if (error.kind == ErrorKind::Reference && error.file == path)
            LogError("%s\n", error.text.c_str());
        else if (error.kind == ErrorKind::NotFound || error.kind == ErrorKind::Unreadable)
            LogError("Failed to read file : %s\n", m_meshPath.c_str());
        else
            mesh::LogRead(error, m_mesh);
        return 1;
    }
    const std::string musicPath = manifest::MusicPath(path);
    for (const Error& warning : warnings) {
        if (warning.kind == ErrorKind::Warning)
            mesh::LogReadWarning(warning);
        else if (warning.file == musicPath &&
                 &warning == &warnings.back())  // the material group may be this file too
            LogWarning("Failed to read music ags data!\n");
        else
            LogError("Failed to load file: %s\n", warning.file.c_str());
    }
    return error ? -1 : 0;
}

Error Save(const GimData& model, const char* path, const SaveOptions& options, std::vector<Error>* warnings)
{
    const bool hasMesh = model.m_mesh.m_submeshCount > 0;
    if (Error why = WhyMeshUnwritable(model))
        return io::InFile(std::move(why), model.m_meshPath);
    return io::SaveSet(warnings, [&](vlio::FileWriter& files) {
        Error error;
        const auto add = [&files, &error](const vlio::XmlData& document, const std::string& place) {
            if (!error && !document.IsEmpty())
                error = document.AddTo(files, place.c_str());
        };
        // The manifest is opened first, so it is put in place last: it names the others.
        add(model.m_gimXml, vlio::ReplaceFileExtension(path, ".gim"));
        if (!error && hasMesh)
            error = mesh::AddTo(files, model.m_mesh, model.m_meshPath.c_str(), warnings);
        add(model.m_mtgXml, manifest::MaterialPath(model.m_gimXml, path, Prefix(options.base)));
        add(model.m_musicXml, manifest::MusicPath(path));
        return error;
    });
}

// Writing changes the channels of the tracks.
// NOLINTNEXTLINE(readability-make-member-function-const)
int GimData::Save(const char* path, const char* basePath)
{
    const SaveOptions options{basePath ? std::optional<std::string>(basePath) : std::nullopt};
    std::vector<Error> warnings;
    const Error error = vlgim::Save(*this, path, options, &warnings);
    vlio::LogWarnings(warnings, nullptr);
    return vlio::LogFailure(error, error.file == m_meshPath ? "mesh file" : nullptr) ? 1 : 0;
}

std::string GimData::GetSkeletonName() const
{
    return manifest::SkeletonName(m_gimXml);
}

MaterialMessage GimData::GetMaterial(int index) const
{
    return RecordAt(m_materials, index);
}

SubmeshMessage GimData::GetSubmesh(int index) const
{
    return RecordAt(m_submeshes, index);
}

}  // namespace vela::vlgim
