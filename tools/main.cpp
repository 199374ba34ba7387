#include "Demo.h"
#include "Info.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

using namespace vela::vlgim;

namespace {

enum ExitCode { kDone = 0, kUnreadable = 1, kWrongUsage = 2 };

int PrintAll(const std::vector<std::string>& files, const tools::InfoOptions& options)
{
    int code = kDone;
    for (const std::string& file : files) {
        if (&file != &files.front())
            std::printf("\n");
        try {
            if (!tools::PrintFile(file, options))
                code = kUnreadable;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", file.c_str(), error.what());
            code = kUnreadable;
        }
    }
    return code;
}

int Run(int argc, char** argv)
{
    CLI::App app("Looks into the files of animated models.");
    app.require_subcommand(1);

    std::vector<std::string> files;
    tools::InfoOptions options;
    CLI::App* info = app.add_subcommand("info", "Print an account of .gim, .mesh, .gis and track files");
    info->add_option("FILE", files, "Model manifests, meshes, animations, tracks")->required();
    info->add_option("--base", options.base,
                     "Prefix of relative mesh and animation paths and of material group paths");
    info->add_option(
        "--submeshes", options.submeshes,
        "Submesh count of .mesh files, which is not in them; else a .gim beside the file is asked, "
        "else the one count that fits is taken");

    std::string folder = "demo";
    CLI::App* demo =
        app.add_subcommand("demo", "Write small models, load them, print them, save copies, compare");
    demo->add_option("FOLDER", folder, "Where to write it")->capture_default_str();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    if (*demo)
        return tools::RunDemo(folder) ? kDone : kUnreadable;
    return PrintAll(files, options);
}

}  // namespace

int main(int argc, char** argv)
try {
    const int code = Run(argc, argv);
    // A full disk shows here at the latest.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vlgim: the output can't be written\n");
        return kUnreadable;
    }
    return code;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vlgim: %s\n", error.what());
    return kUnreadable;
}
