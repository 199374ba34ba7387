#pragma once

#include "upgrade/UpgradePlan.h"

#include <string>
#include <vector>

namespace vela::vlgim::tools {

struct UpgradeOptions {
    LoadOptions load;
    std::vector<std::string> drop;  ///< codes of findings that name what a save may drop
    bool isDryRun = false;
};

enum class UpgradeStatus : unsigned char {
    Current,       ///< there is nothing to do
    Upgraded,      ///< saved, and read again
    WouldUpgrade,  ///< and was not, in a dry run
    Skipped,       ///< not touched
    Failed,        ///< could not be read or saved
};

/// As in JSON, "would-upgrade".
const char* NameOf(UpgradeStatus status);

/// Why a file is skipped, or what a save changes.
struct Reason {
    const FindingCode* code = nullptr;  ///< null: none of a finding
    std::string text;                   ///< any bytes; of the first finding of the code
    std::size_t count = 1;              ///< findings of the code
};

struct UpgradeResult {
    std::string from, to;  ///< versions, as in "0x50001"; empty: not known
    UpgradeStatus status = UpgradeStatus::Current;
    std::vector<Reason> reasons;
    std::uint64_t bytes = 0;  ///< read
};

/// Saves a mesh or a track in the newest form, if it is older and nothing is against it. The file is whole at any time.
/// Throws nothing.
UpgradeResult UpgradeFile(const Target& target, const UpgradeOptions& options);

}  // namespace vela::vlgim::tools
