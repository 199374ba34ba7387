#include "upgrade/Upgrade.h"
#include "batch/Inputs.h"
#include "batch/Many.h"
#include "commands/Commands.h"
#include "report/CodeNames.h"
#include "report/Json.h"
#include "report/Print.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

namespace vela::vlgim::tools {

namespace {

struct UpgradeSettings {
    InputOptions inputs;
    UpgradeOptions upgrade;
    unsigned jobs = DefaultJobs();
    bool isJson = false;
};

Json ReasonInfo(const Reason& reason)
{
    return {{"code", reason.code ? Json(reason.code->name) : Json()},
            {"text", Shown(reason.text)},
            {"count", reason.count}};
}

void PrintJson(const std::string& file, const UpgradeResult& result)
{
    const auto version = [](const std::string& text) { return text.empty() ? Json() : Json(text); };
    PrintLine(Line("upgrade", {{"file", Shown(file)},
                               {"from", version(result.from)},
                               {"to", version(result.to)},
                               {"status", NameOf(result.status)},
                               {"reasons", List(result.reasons, ReasonInfo)}}));
}

void PrintReason(const Reason& reason)
{
    std::printf("    %s", Shown(reason.text).c_str());
    if (reason.count > 1)
        std::printf(", and %zu more", reason.count - 1);
    if (reason.code)
        std::printf(" [%s]", reason.code->name);
    std::printf("\n");
}

// Whether nothing is against the upgrade but what a save would drop.
bool IsKeptFromDropping(const UpgradeResult& result)
{
    return result.status == UpgradeStatus::Skipped &&
           std::all_of(result.reasons.begin(), result.reasons.end(),
                       [](const Reason& reason) { return reason.code && reason.code->isDrop; });
}

void PrintText(const std::string& file, const UpgradeResult& result)
{
    if (result.status == UpgradeStatus::Current)
        return;
    std::printf("%s: ", Shown(file).c_str());
    if (result.status == UpgradeStatus::Upgraded || result.status == UpgradeStatus::WouldUpgrade)
        std::printf("%s, %s to %s\n",
                    result.status == UpgradeStatus::Upgraded ? "upgraded" : "would be upgraded",
                    result.from.c_str(), result.to.c_str());
    else
        std::printf("%s%s\n", NameOf(result.status),
                    IsKeptFromDropping(result) ? "; --drop CODE allows it" : "");
    for (const Reason& reason : result.reasons)
        PrintReason(reason);
}

class Upgrader {
public:
    explicit Upgrader(const UpgradeSettings& options) : m_options(options) {}

    int Run()
    {
        const Inputs inputs = FindInputs(m_options.inputs, m_progress);
        const platform::Interruptible interruptible;
        // Manifests first, which tell the submeshes of the meshes.
        UpgradePlan plan(inputs.roots);
        Plan(inputs.leaders, plan);
        Plan(inputs.followers, plan);
        if (!platform::IsInterrupted())
            UpgradeAll(plan.Targets());
        EndIfReaderIsGone();
        PrintSummary();
        EndIfInterrupted();
        return Count(UpgradeStatus::Skipped) + Count(UpgradeStatus::Failed) == 0 ? kClean : kFindings;
    }

private:
    std::uint64_t& Count(UpgradeStatus status) { return m_counts[static_cast<std::size_t>(status)]; }

    void Plan(const std::vector<Input>& files, UpgradePlan& plan)
    {
        RunMany(
            m_options.jobs, files.size(), m_progress,
            [&](std::size_t i) { return TargetOf(files[i], m_options.upgrade.load); },
            [&plan](std::size_t, const Target& target) {
                plan.Add(target);
                return std::uint64_t{0};
            });
    }

    void UpgradeAll(const std::vector<Target>& targets)
    {
        RunMany(
            m_options.jobs, targets.size(), m_progress,
            [&](std::size_t i) { return UpgradeFile(targets[i], m_options.upgrade); },
            [&](std::size_t i, const UpgradeResult& result) {
                ++Count(result.status);
                m_progress.Erase();
                m_options.isJson ? PrintJson(targets[i].path, result) : PrintText(targets[i].path, result);
                return result.bytes;
            });
    }

    void PrintSummary()
    {
        if (m_options.isJson)
            return;
        std::fflush(stdout);
        const bool isDryRun = m_options.upgrade.isDryRun;
        const auto count = [this](UpgradeStatus status) { return Grouped(Count(status)); };
        std::fprintf(stderr, "%s %s, %s skipped, %s failed, %s current\n",
                     count(isDryRun ? UpgradeStatus::WouldUpgrade : UpgradeStatus::Upgraded).c_str(),
                     isDryRun ? "would be upgraded" : "upgraded", count(UpgradeStatus::Skipped).c_str(),
                     count(UpgradeStatus::Failed).c_str(), count(UpgradeStatus::Current).c_str());
    }

    const UpgradeSettings& m_options;
    Progress m_progress;
    std::array<std::uint64_t, 5> m_counts{};
};

// Of all codes, those alone of what a save drops.
std::string WhyNoDrop(const std::string& name)
{
    const FindingCode* code = FindFindingCode(name);
    return !code || code->isDrop ? "" : "a save drops nothing of what '" + name + "' names";
}

}  // namespace

void AddUpgrade(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<UpgradeSettings>();
    CLI::App* upgrade = app.add_subcommand("upgrade", "Save old meshes and tracks in the newest format");
    AddInputs(*upgrade, options->inputs,
              "Models, meshes, tracks; folders, searched recursively; -: read a list of paths from stdin");
    upgrade->add_flag("-n,--dry-run", options->upgrade.isDryRun,
                      "Report what would change, and write nothing");
    AddCodeOption(*upgrade, "--drop", options->upgrade.drop,
                  "Allow a save to drop what findings with this code report; `vlgim codes` marks these codes")
        ->check(CLI::Validator(WhyNoDrop, ""));
    upgrade->add_flag(
        "--json", options->isJson,
        "Print one JSON object per file, one per line; share/vlgim/vlgim.schema.json describes it");
    AddLoadOptions(*upgrade, options->upgrade.load);
    AddJobs(*upgrade, options->jobs);
    upgrade->footer(R"(A model stands for the mesh that it names. Files with errors are skipped, and so are
files from which a save would drop something. Nothing is written outside the given
folders or the folders of the given files, whatever path a manifest names.

Exit codes: 0 all old files were upgraded, or would be; 1 files were skipped or failed;
2 wrong usage.

Examples:
  vlgim upgrade --dry-run res              show what would change below res
  vlgim upgrade --drop save-drops-anim-bi,save-drops-key-records res
  find char -name '*.gim' -print0 | vlgim upgrade --base res/ --json -0 -)");
    upgrade->callback([options, &run] { run = [options] { return Upgrader(*options).Run(); }; });
}

}  // namespace vela::vlgim::tools
