#include "report/Info.h"
#include "commands/Commands.h"
#include "report/Print.h"

#include <cstdio>
#include <exception>
#include <memory>

namespace vela::vlgim::tools {

namespace {

struct InfoSettings {
    std::vector<std::string> files;
    LoadOptions load;
    bool isJson = false;
};

// Whether the file could be read; if not, stderr says why.
bool PrintFile(const std::string& path, const InfoSettings& options)
try {
    const std::optional<LoadedFile> file = LoadFile(path, options.load);
    if (!file)
        return false;
    const Json info = std::visit([&path](const auto& loaded) { return InfoOf(path, loaded); }, *file);
    options.isJson ? PrintLine(info) : PrintInfo(info);
    return true;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", Shown(path).c_str(), error.what());
    return false;
}

int PrintAll(const InfoSettings& options)
{
    int code = kClean;
    for (const std::string& file : options.files) {
        if (!options.isJson && &file != &options.files.front())
            std::printf("\n");
        if (!PrintFile(file, options))
            code = kFindings;
    }
    return code;
}

}  // namespace

void AddInfo(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<InfoSettings>();
    CLI::App* info = app.add_subcommand("info", "Summarise .gim, .mesh, .gis and track files");
    info->add_option("FILE", options->files, "Model manifests, meshes, animations, tracks")->required();
    info->add_flag(
        "--json", options->isJson,
        "Print one JSON object per file, one per line; share/vlgim/vlgim.schema.json describes it");
    AddLoadOptions(*info, options->load);
    info->footer(R"(Examples:
  vlgim info hero.gim hero.gis             summarise a model and an animation
  vlgim info --base res/ char/hero.gim     paths in the manifest are relative to res/
  vlgim info --submeshes 3 lost.mesh       give the count for a mesh without a manifest
  vlgim info --json *.gis | jq -r '.file + " " + .clips[].name')");
    info->callback([options, &run] { run = [options] { return PrintAll(*options); }; });
}

}  // namespace vela::vlgim::tools
