#include "batch/Inputs.h"
#include "batch/Many.h"
#include "commands/Commands.h"
#include "report/CodeNames.h"
#include "report/FindingLines.h"
#include "report/Json.h"
#include "report/Print.h"

#include <platform/Files.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <unordered_set>

namespace vela::vlgim::tools {

namespace {

struct CheckSettings {
    InputOptions inputs;
    FindingFormat format;
    CheckOptions check;
    std::uint64_t memoryLimit = 0;  // in MiB; 0: none
    unsigned jobs = DefaultJobs();
    bool isStrict = false;
};

using platform::FileId;

// Identifies the file of a path, however it is named. None: there is no such file.
std::optional<FileId> IdOf(const std::string& path)
{
    platform::FileStatus status;
    return platform::GetStatus(path.c_str(), status) == 0 ? std::optional(status.id) : std::nullopt;
}

void AddId(std::vector<FileId>& ids, const std::string& path)
{
    if (const std::optional<FileId> id = IdOf(path))
        ids.push_back(*id);
}

CheckResult TroubleWith(const std::string& path, const char* code, const std::string& text)
{
    CheckResult result;
    result.findings = {{FindFindingCode(code), path, "", std::nullopt, 0, 0, text}};
    return result;
}

// One input that takes too much memory doesn't end the check of the others.
CheckResult Check(const Input& input, const CheckOptions& options)
try {
    if (!input.trouble.empty())
        return TroubleWith(input.path, "unreadable", "the folder can't be read: " + input.trouble);
    return CheckFile(input.path.c_str(), options);
} catch (const std::bad_alloc&) {
    return TroubleWith(input.path, "memory-limit", "the machine has not enough memory to check it");
}

// The check of one input with the files that belong to it, kept until its turn to be printed comes.
struct CheckedInput {
    struct Line {
        std::string text;
        const FindingCode* code;
        bool isOfOther;  // about a file that belongs to the input, and may belong to other inputs too
    };

    // Called on any thread.
    CheckedInput(const Input& input, const CheckOptions& options, const FindingFormat& format)
    {
        const CheckResult result = Check(input, options);
        bytes = result.bytes;
        for (const std::string& file : result.files)
            AddId(read, file);
        for (const Finding& finding : result.findings) {
            if (IsUnreadable(*finding.code))
                AddId(unread, finding.file);
            if (format.Wants(*finding.code))
                lines.push_back({format.Line(finding), finding.code, finding.file != input.path});
        }
    }

    std::vector<Line> lines;
    std::vector<FileId> read;    // files that were read
    std::vector<FileId> unread;  // files that exist and could not be read
    std::uint64_t bytes = 0;     // read
};

class Checker {
public:
    explicit Checker(const CheckSettings& options) : m_options(options) {}

    int Run()
    {
        const auto begin = std::chrono::steady_clock::now();
        Inputs inputs = FindInputs(m_options.inputs, m_progress);
        const platform::Interruptible interruptible;
        CheckAll(inputs.leaders);
        // What belongs to a leader was looked at with it, whose word counts for it.
        std::erase_if(inputs.followers, [this](const Input& input) {
            const std::optional<FileId> id = IdOf(input.path);
            return id && m_seen.contains(*id);
        });
        CheckAll(inputs.followers);
        EndIfReaderIsGone();
        PrintSummary(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        EndIfInterrupted();
        return IsClean() ? kClean : kFindings;
    }

private:
    struct HashFileId {
        std::size_t operator()(const FileId& id) const
        {
            return std::hash<std::uint64_t>()(id.number) ^ (std::hash<std::uint64_t>()(id.volume) << 1U);
        }
    };

    void CheckAll(const std::vector<Input>& files)
    {
        RunMany(
            m_options.jobs, files.size(), m_progress,
            [this, &files](std::size_t i) {
                return CheckedInput(files[i], m_options.check, m_options.format);
            },
            [this](std::size_t, const CheckedInput& checked) {
                Print(checked);
                return checked.bytes;
            });
    }

    void Print(const CheckedInput& checked)
    {
        m_bytes += checked.bytes;
        for (const FileId& id : checked.read)
            m_files += m_seen.insert(id).second ? 1 : 0;
        m_seen.insert(checked.unread.begin(), checked.unread.end());
        for (const CheckedInput::Line& line : checked.lines) {
            // A material group that a hundred models share is named once.
            if (line.isOfOther && !m_shared.insert(std::hash<std::string>()(line.text)).second)
                continue;
            ++m_counts[static_cast<std::size_t>(line.code->severity)];
            m_unreadable += IsUnreadable(*line.code) ? 1 : 0;
            m_progress.Erase();
            std::printf("%s\n", line.text.c_str());
        }
    }

    // The JSON leaves the time out, so that the output of the same files is the same.
    void PrintSummary(double seconds) const
    {
        const auto [notes, warnings, errors] = m_counts;
        if (m_options.format.isJson)
            return PrintLine(Line("summary", {{"files", m_files},
                                              {"bytes", m_bytes},
                                              {"errors", errors},
                                              {"warnings", warnings},
                                              {"notes", notes},
                                              {"unreadable", m_unreadable},
                                              {"interrupted", platform::IsInterrupted()}}));
        std::fflush(stdout);
        std::fprintf(stderr, "%s, %.1f MB in %.1f s: %s, %s, %s; %s unreadable\n",
                     Counted(m_files, "file", "files").c_str(), static_cast<double>(m_bytes) / 1e6, seconds,
                     Counted(errors, "error", "errors").c_str(),
                     Counted(warnings, "warning", "warnings").c_str(),
                     Counted(notes, "note", "notes").c_str(), Grouped(m_unreadable).c_str());
    }

    bool IsClean() const
    {
        const auto [notes, warnings, errors] = m_counts;
        return errors + warnings == 0 && (!m_options.isStrict || notes == 0);
    }

    const CheckSettings& m_options;
    Progress m_progress;
    std::unordered_set<FileId, HashFileId> m_seen;
    std::unordered_set<std::size_t> m_shared;  // hashes of lines
    std::array<std::uint64_t, 3> m_counts{};   // findings printed, by severity
    std::uint64_t m_unreadable = 0;            // of them, files that can't be read
    std::uint64_t m_files = 0, m_bytes = 0;    // read; each file counts once
};

}  // namespace

void AddCheck(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<CheckSettings>();
    CLI::App* check =
        app.add_subcommand("check", "Report what is wrong with files and what a save would change");
    AddInputs(*check, options->inputs,
              "Files; folders, searched recursively; -: read a list of paths from stdin");
    check->add_flag("--json", options->format.isJson,
                    "Print findings and a summary as JSON, one object per line; "
                    "share/vlgim/vlgim.schema.json describes them");
    AddCodeOption(*check, "--ignore", options->format.ignore,
                  "Leave out findings with this code; `vlgim codes` lists all codes");
    AddCodeOption(*check, "--only", options->format.only,
                  "Leave out findings with other codes, except for files that can't be read");
    check->add_flag("--strict", options->isStrict, "Exit with 1 for notes too");
    check->add_option("--base", options->check.base, "Prefix of relative paths in manifests");
    check->add_option(
        "--submeshes", options->check.submeshCount,
        "Submesh count of .mesh files that no checked manifest names; default: from the manifest beside "
        "the file, or from the file itself if only one count fits");
    check
        ->add_option("--memory-limit", options->memoryLimit, "Memory that checking one file may take, in MiB")
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40U));
    AddJobs(*check, options->jobs);
    check->footer(R"(Folders are searched recursively for .gim, .mesh, .mtg, .gis and .ags files and for
tracks, whatever their names. Names that begin with a dot are skipped, and links to
folders are not followed. The files that a model or an animation names are checked
with it, wherever they are.

Exit codes: 0 no findings, or only notes; 1 errors, warnings or unreadable files;
2 wrong usage.

Examples:
  vlgim check .                             check all models below this folder
  vlgim check --base res/ --only clip-bone,missing-file res/char
  find . -newer last -name '*.gim' -print0 | vlgim check -0 -
  vlgim check --json . | jq -r 'select(.severity == "error") | .file' | sort -u)");
    check->callback([options, &run] {
        run = [options] {
            if (options->memoryLimit != 0)
                options->check.memoryLimit = options->memoryLimit << 20U;
            options->format.isColored = CanColor(stdout);
            return Checker(*options).Run();
        };
    });
}

}  // namespace vela::vlgim::tools
