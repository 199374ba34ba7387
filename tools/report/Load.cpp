#include "report/Load.h"

#include "report/Print.h"

#include <CLI/CLI.hpp>

#include <vlgim/Findings.h>
#include <vlio2/Path.h>

#include <algorithm>
#include <cstdio>

namespace vela::vlgim::tools {

namespace {

void Print(const Error& error)
{
    std::fprintf(stderr, "%s\n", Shown(error.Message()).c_str());
}

// Of files that a model or a skeleton need not have only what is wrong with them.
void PrintWarnings(const std::vector<Error>& warnings)
{
    for (const Error& warning : warnings)
        if (warning.kind != ErrorKind::NotFound || !warning.file.ends_with(".ags"))
            Print(warning);
}

// What was loaded, and nothing where that is of no use.
template <class Data>
std::optional<LoadedFile> Loaded(std::unique_ptr<Data> data, const Error& error,
                                 const std::vector<Error>& warnings, bool isOfUse)
{
    PrintWarnings(warnings);
    if (error)
        Print(error);
    return isOfUse ? std::optional<LoadedFile>(std::move(data)) : std::nullopt;
}

std::optional<LoadedFile> LoadModel(const std::string& path, const LoadOptions& options)
{
    auto model = std::make_unique<GimData>();
    std::vector<Error> warnings;
    const Error error = Load(*model, path.c_str(), options, &warnings);
    const bool hasMesh = model->m_mesh.m_vertexData != nullptr;  // a submesh record may still lack something
    return Loaded(std::move(model), error, warnings, hasMesh);
}

std::optional<LoadedFile> LoadMesh(const std::string& path, const vlio::Bytes& bytes, LoadOptions options)
{
    auto file = std::make_unique<MeshFile>();
    SubmeshCount submeshes;
    std::vector<Error> warnings;
    Error error = FindSubmeshCount(path, bytes, options, submeshes);
    if (!error) {
        options.submeshCount = submeshes.count;
        error = Load(file->mesh, bytes, options, &warnings);
        file->countSource = submeshes.source;
        file->size = bytes.size();
        std::copy_n(bytes.begin(), std::min(bytes.size(), file->magic.size()), file->magic.begin());
    }
    error.file = path;
    return Loaded(std::move(file), error, warnings, !error);
}

std::optional<LoadedFile> LoadAnimation(const std::string& path, const LoadOptions& options)
{
    auto skeleton = std::make_unique<GisData>();
    std::vector<Error> warnings;
    const Error error = Load(*skeleton, path.c_str(), options, &warnings);
    return Loaded(std::move(skeleton), error, warnings, !error);
}

std::optional<LoadedFile> LoadTrack(const std::string& path, const LoadOptions& options)
{
    auto track = std::make_unique<vlTrackData>();
    const Error error = Load(*track, path.c_str(), options);
    return Loaded(std::move(track), error, {}, !error);
}

std::uint32_t CountInManifest(const std::string& path)
{
    vlio::XmlData manifest;
    return manifest.Load(path.c_str()) == 0 ? CountSubmeshes(manifest) : 0;
}

}  // namespace

void AddLoadOptions(CLI::App& command, LoadOptions& options)
{
    command.add_option("--base", options.base,
                       "Prefix of relative mesh and animation paths, and of material group paths");
    command.add_option(
        "--submeshes", options.submeshCount,
        "Submesh count of .mesh files, which don't store it; default: from the .gim beside the file, or from "
        "the file itself if only one count fits");
}

std::uint32_t CountSubmeshes(const vlio::XmlData& manifest)
{
    std::vector<tinyxml2::XMLElement*> submeshes;
    if (const tinyxml2::XMLElement* list = manifest.FindElement("Vela/SubMesh", nullptr))
        manifest.GetChildElementList(submeshes, list, nullptr);
    return static_cast<std::uint32_t>(submeshes.size());
}

Error FindSubmeshCount(const std::string& path, const vlio::Bytes& bytes, const LoadOptions& options,
                       SubmeshCount& found)
{
    if (options.submeshCount) {
        found = {*options.submeshCount, "as given"};
        return {};
    }
    const std::string manifest = vlio::ReplaceFileExtension(path.c_str(), ".gim");
    if (const std::uint32_t count = CountInManifest(manifest)) {
        found = {count, "as " + Shown(manifest) + " says"};
        return {};
    }
    const std::vector<std::uint32_t> fitting = vlMeshData::FittingSubmeshCounts(bytes.data(), bytes.size());
    if (fitting.size() == 1) {
        found = {fitting[0], "the one count that fits the file"};
        return {};
    }
    Error error;
    error.kind = ErrorKind::Reference;
    error.file = path;
    error.text = std::string("the file does not say how many submeshes it has, and ") +
                 (fitting.empty() ? "they can't be worked out" : "several counts fit it") +
                 "; use --submeshes N";
    return error;
}

std::optional<LoadedFile> LoadFile(const std::string& path, const LoadOptions& options)
{
    // The readers of models and animations take their file, and those that belong to it, from the disk themselves.
    const FileKind byName = KindOfFile(path, nullptr, 0);
    if (byName == FileKind::Model)
        return LoadModel(path, options);
    if (byName == FileKind::Animation)
        return LoadAnimation(path, options);
    vlio::Bytes bytes;
    if (const Error error = vlio::ReadFile(path.c_str(), bytes)) {
        Print(error);
        return std::nullopt;
    }
    switch (KindOfFile(path, bytes.data(), bytes.size())) {
    case FileKind::Mesh:
        return LoadMesh(path, bytes, options);
    case FileKind::Track:
        return LoadTrack(path, options);
    case FileKind::Animation:
        return LoadAnimation(path, options);
    default:
        return LoadModel(path, options);
    }
}

}  // namespace vela::vlgim::tools
