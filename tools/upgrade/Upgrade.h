#pragma once

#include "batch/Inputs.h"
#include "report/Load.h"

#include <vlgim/Findings.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace vela::vlgim::tools {

/// A file to save in the newest form, or one that is not and has to be named.
struct Target {
    std::string path;  ///< as it was given, or as the manifest gives it
    FileKind kind = FileKind::Unknown;
    std::string real;                        ///< behind all links; empty where there is no such file
    std::optional<std::uint32_t> submeshes;  ///< of a mesh, as its manifest says
    std::string manifest;                    ///< that names the mesh; empty: it was given itself
    std::string trouble;                     ///< why it is not to be touched; empty: it may be
    std::string failure;                     ///< why it can't be read; empty: it may be tried
};

/// What an input leads to: a model to its mesh. Reads only, and throws nothing.
Target TargetOf(const Input& input, const LoadOptions& options);

/// Files to upgrade, each once, however often and under whatever names it is named.
class UpgradePlan {
public:
    /// roots  folders outside of which nothing is written, as Inputs gives them
    explicit UpgradePlan(const std::vector<std::string>& roots);

    /// A mesh that lies outside of the roots, and one whose manifests do not agree on its submeshes, is in the plan as
    /// one that is not to be touched.
    void Add(const Target& target);

    const std::vector<Target>& Targets() const { return m_targets; }

private:
    std::set<std::string> m_roots;
    std::vector<Target> m_targets;
    std::unordered_map<std::string, std::size_t> m_byPlace;
};

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
