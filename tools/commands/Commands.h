#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace vela::vlgim::tools {

/// What the commands end with. `diff` says kTrouble for a file that can't be read, as other programs of that name do.
enum ExitCode { kClean = 0, kFindings = 1, kTrouble = 2 };

/// Each command adds itself to the program, with its options and examples, and where it is called leaves what to do in
/// run: that gives the exit code, and throws what it can't go on after.
void AddCheck(CLI::App& app, std::function<int()>& run);
void AddCodes(CLI::App& app, std::function<int()>& run);
void AddInfo(CLI::App& app, std::function<int()>& run);
void AddDiff(CLI::App& app, std::function<int()>& run);
void AddDemo(CLI::App& app, std::function<int()>& run);
void AddUpgrade(CLI::App& app, std::function<int()>& run);

}  // namespace vela::vlgim::tools
