#include "commands/Commands.h"
#include "report/Print.h"

#include <corecommon/Log.h>
#include <platform/Files.h>
#include <vlgim/Version.h>

#include <algorithm>
#include <cstdio>
#include <exception>

using namespace vela::vlgim::tools;

namespace {

// The library's messages name what stands in files, and some end their line themselves.
void PrintMessage(vela::LogLevel, const char* text, void*)
{
    std::string_view message = text;
    if (message.ends_with('\n'))
        message.remove_suffix(1);
    std::fprintf(stderr, "%s\n", Shown(message).c_str());
}

int Run(int argc, char** argv)
{
    CLI::App app("Inspects, checks, compares and upgrades the files of animated models.");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("vlgim ") + vela::vlgim::Version());
    std::function<int()> run;
    AddInfo(app, run);
    AddCheck(app, run);
    AddUpgrade(app, run);
    AddCodes(app, run);
    AddDiff(app, run);
    AddDemo(app, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kClean : kTrouble;
    }
    return run();
}

}  // namespace

int main(int argc, char** argv)
try {
    vela::platform::OpenStandardStreams();
    vela::SetLogSink(PrintMessage, nullptr);
    const int code = Run(argc, argv);
    // A full disk shows here at the latest.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vlgim: the output can't be written\n");
        return std::max<int>(code, kFindings);
    }
    return code;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vlgim: %s\n", error.what());
    return kFindings;
}
