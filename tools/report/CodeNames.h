#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace vela::vlgim::tools {

/// Gives a command an option that takes codes of findings, several times or in a list with commas. One that does not
/// exist is wrong usage, and the message names those that are spelled alike.
CLI::Option* AddCodeOption(CLI::App& command, const std::string& option, std::vector<std::string>& codes,
                           const std::string& description);

}  // namespace vela::vlgim::tools
