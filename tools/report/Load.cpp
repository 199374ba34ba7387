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

Error LoadMesh(MeshFile& file, const std::string& path, const vlio::Bytes& bytes, LoadOptions options,
               std::vector<Error>& warnings)
{
    SubmeshCount submeshes;
    Error error = FindSubmeshCount(path, bytes, options, submeshes);
    if (!error) {
        options.submeshCount = submeshes.count;
        error = Load(file.mesh, bytes, options, &warnings);
        for (Error& warning : warnings)
            warning.file = path;
        file.countSource = submeshes.source;
        file.size = bytes.size();
        std::copy_n(bytes.begin(), std::min(bytes.size(), file.magic.size()), file.magic.begin());
    }
    error.file = path;
    return error;
}

// What load(data, warnings) loaded, and nothing where that is of no use.
template <class Data, class Load>
std::optional<LoadedFile> Loaded(const Load& load)
{
    Data data;
    std::vector<Error> warnings;
    const Error error = load(data, warnings);
    // Of files that a model or a skeleton need not have only what is wrong with them.
    for (const Error& warning : warnings)
        if (warning.kind != ErrorKind::NotFound || !warning.file.ends_with(".ags"))
            Print(warning);
    if (error)
        Print(error);
    bool isOfUse = !error;
    if constexpr (std::is_same_v<Data, GimData>)
        isOfUse = data.m_mesh.m_vertexData != nullptr;  // a submesh record may still lack something
    return isOfUse ? std::optional<LoadedFile>(std::move(data)) : std::nullopt;
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

Error FindSubmeshCount(const std::string& path, const vlio::Bytes& bytes, const LoadOptions& options,
                       SubmeshCount& found)
{
    if (options.submeshCount) {
        found = {*options.submeshCount, "as given"};
        return {};
    }
    if (const std::uint32_t count = CountSubmeshesBeside(path.c_str(), options)) {
        found = {count, "as " + Shown(vlio::ReplaceFileExtension(path.c_str(), ".gim")) + " says"};
        return {};
    }
    const std::vector<std::uint32_t> fitting = vlMeshData::FittingSubmeshCounts(bytes.data(), bytes.size());
    if (fitting.size() == 1) {
        found = {fitting[0], "the one count that fits the file"};
        return {};
    }
    const std::string why = fitting.empty() ? "they can't be worked out" : "several counts fit it",
                      text = "the file does not say how many submeshes it has, and " + why +
                             "; use --submeshes N";
    return {ErrorKind::Reference, 0, path, "", std::nullopt, text};
}

std::optional<LoadedFile> LoadFile(const std::string& path, const LoadOptions& options)
{
    // The readers of models and animations take their file, and those that belong to it, from the disk themselves.
    FileKind kind = KindOfFile(path, nullptr, 0);
    vlio::Bytes bytes;
    if (kind != FileKind::Model && kind != FileKind::Animation) {
        if (const Error error = vlio::ReadFile(path.c_str(), bytes)) {
            Print(error);
            return std::nullopt;
        }
        kind = KindOfFile(path, bytes.data(), bytes.size());
    }
    const auto load = [&](auto& data, std::vector<Error>& warnings) {
        return Load(data, path.c_str(), options, &warnings);
    };
    switch (kind) {
    case FileKind::Mesh:
        return Loaded<MeshFile>([&](MeshFile& file, std::vector<Error>& warnings) {
            return LoadMesh(file, path, bytes, options, warnings);
        });
    case FileKind::Track:
        return Loaded<vlTrackData>(
            [&](vlTrackData& track, auto&) { return Load(track, path.c_str(), options); });
    case FileKind::Animation:
        return Loaded<GisData>(load);
    default:
        return Loaded<GimData>(load);
    }
}

}  // namespace vela::vlgim::tools
