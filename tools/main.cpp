#include "Commands.h"

#include <cstdio>
#include <exception>

using namespace vela::vlgim::tools;

namespace {

int Run(int argc, char** argv)
{
    CLI::App app("Looks into the files of animated models.");
    app.require_subcommand(1);
    std::function<int()> run;
    AddInfo(app, run);
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
    const int code = Run(argc, argv);
    // A full disk shows here at the latest.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vlgim: the output can't be written\n");
        return kFindings;
    }
    return code;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vlgim: %s\n", error.what());
    return kFindings;
}
