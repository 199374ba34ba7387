#include "report/Load.h"

#include "report/Print.h"

#include <CLI/CLI.hpp>

#include <corecommon/Log.h>
#include <vlgim/Findings.h>
#include <vlio2/Path.h>

#include <algorithm>
#include <cstdio>

namespace vela::vlgim::tools {

namespace {

const char* Base(const LoadOptions& options)
{
    return options.base ? options.base->c_str() : nullptr;
}

std::optional<LoadedFile> LoadModel(const std::string& path, const LoadOptions& options)
{
    auto model = std::make_unique<GimData>();
    const int result = model->Load(path.c_str(), Base(options));
    if (result != 0 && result != -1)
        return std::nullopt;
    if (result == -1)
        std::fprintf(stderr, "%s: a submesh has no name or no material index; the list ends before it\n",
                     Shown(path).c_str());
    return model;
}

std::optional<LoadedFile> LoadMesh(const std::string& path, const vlio::Bytes& bytes,
                                   const LoadOptions& options)
{
    const std::optional<SubmeshCount> submeshes = FindSubmeshCount(path, bytes, options);
    if (!submeshes)
        return std::nullopt;
    auto file = std::make_unique<MeshFile>();
    file->mesh.m_submeshCount = submeshes->count;
    if (!file->mesh.ReadMeshFile(bytes.data(), bytes.size()))
        return std::nullopt;
    file->countSource = submeshes->source;
    file->size = bytes.size();
    std::copy_n(bytes.begin(), file->magic.size(), file->magic.begin());
    return file;
}

std::optional<LoadedFile> LoadAnimation(const std::string& path, const LoadOptions& options)
{
    auto skeleton = std::make_unique<GisData>();
    if (skeleton->Load(path.c_str(), Base(options)) != 0)
        return std::nullopt;
    return skeleton;
}

std::optional<LoadedFile> LoadTrack(const std::string& path)
{
    auto track = std::make_unique<vlTrackData>();
    if (!track->Load(path.c_str()))
        return std::nullopt;
    return track;
}

std::uint32_t CountInManifest(const std::string& path)
{
    vlio::XmlData manifest;
    if (vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY))
        manifest.Load(path.c_str());
    return CountSubmeshes(manifest);
}

}  // namespace

void AddLoadOptions(CLI::App& command, LoadOptions& options)
{
    command.add_option("--base", options.base,
                       "Prefix of relative mesh and animation paths, and of material group paths");
    command.add_option(
        "--submeshes", options.submeshes,
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

std::optional<SubmeshCount> FindSubmeshCount(const std::string& path, const vlio::Bytes& bytes,
                                             const LoadOptions& options)
{
    if (options.submeshes)
        return SubmeshCount{*options.submeshes, "as given"};
    const std::string manifest = vlio::ReplaceFileExtension(path.c_str(), ".gim");
    if (const std::uint32_t count = CountInManifest(manifest))
        return SubmeshCount{count, "as " + Shown(manifest) + " says"};
    const std::vector<std::uint32_t> fitting = vlMeshData::FittingSubmeshCounts(bytes.data(), bytes.size());
    if (fitting.size() == 1)
        return SubmeshCount{fitting[0], "the one count that fits the file"};
    LogError("%s: the file does not say how many submeshes it has, and %s; use --submeshes N", path.c_str(),
             fitting.empty() ? "they can't be worked out" : "several counts fit it");
    return std::nullopt;
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
    if (!vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_MODEL)) {
        std::fprintf(stderr, "%s: can't be read\n", Shown(path).c_str());
        return std::nullopt;
    }
    switch (KindOfFile(path, bytes.data(), bytes.size())) {
    case FileKind::Mesh:
        return LoadMesh(path, bytes, options);
    case FileKind::Track:
        return LoadTrack(path);
    case FileKind::Animation:
        return LoadAnimation(path, options);
    default:
        return LoadModel(path, options);
    }
}

}  // namespace vela::vlgim::tools
