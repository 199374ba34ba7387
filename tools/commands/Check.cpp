#include "batch/Inputs.h"
#include "batch/Many.h"
#include "commands/Commands.h"
#include "report/CodeNames.h"
#include "report/FindingLines.h"
#include "report/Json.h"
#include "report/Print.h"
#include "report/Terminal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unordered_set>

namespace vela::vlgim::tools {

namespace {

struct Options {
    std::vector<std::string> paths;
    std::vector<std::string> ignore, only;
    CheckOptions check;
    std::uint64_t memoryLimit = 0;  // in MiB; 0: none
    unsigned jobs = DefaultJobs();
    bool isJson = false;
    bool isStrict = false;

    // A file that can't be read was not checked for anything, so that it has to be named all the same.
    bool Wants(const FindingCode& code) const
    {
        const auto names = [&code](const std::vector<std::string>& codes) {
            return std::find(codes.begin(), codes.end(), code.name) != codes.end();
        };
        return !names(ignore) && (only.empty() || names(only) || IsUnreadable(code));
    }

    static bool IsUnreadable(const FindingCode& code) { return code.name == std::string_view("unreadable"); }
};

// One file, however it is named.
struct FileId {
    dev_t device;
    ino_t inode;

    bool operator==(const FileId&) const = default;
};

struct HashFileId {
    std::size_t operator()(const FileId& id) const
    {
        return std::hash<std::uint64_t>()(id.inode) ^ (std::hash<std::uint64_t>()(id.device) << 1U);
    }
};

std::optional<FileId> IdOf(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

struct Line {
    std::string text;
    Severity severity = Severity::Note;
    bool isUnreadable = false;
    bool isOfOther = false;  // of a file that belongs to the checked one, and may belong to others too
};

// What is kept of a check until its turn to be printed comes.
struct Outcome {
    std::vector<Line> lines;
    std::vector<FileId> read, unread;
    std::uint64_t bytes = 0;
};

Finding TroubleWith(const std::string& path, const char* code, const std::string& text)
{
    Finding finding;
    finding.code = FindFindingCode(code);
    finding.file = path;
    finding.text = text;
    return finding;
}

// Never throws: the other files are still to be looked at.
CheckResult Check(const Input& input, const CheckOptions& options)
{
    CheckResult result;
    try {
        if (input.trouble.empty())
            return CheckFile(input.path.c_str(), options);
        result.findings.push_back(
            TroubleWith(input.path, "unreadable", "the folder can't be read: " + input.trouble));
    } catch (const std::bad_alloc&) {
        result.findings.push_back(
            TroubleWith(input.path, "memory-limit", "the machine has not enough memory to check it"));
    }
    return result;
}

class Checker {
public:
    explicit Checker(const Options& options)
        : m_options(options), m_isColored(CanColor(stdout)), m_all(options.jobs)
    {
    }

    int Run()
    {
        const auto begin = std::chrono::steady_clock::now();
        Inputs inputs =
            FindInputs(m_options.paths, [this](std::size_t files) { m_all.Status().Found(files); });
        const Interruptible interruptible;
        std::vector<Input> leaders, followers;
        for (Input& input : inputs.files)
            (input.role == Role::Leader ? leaders : followers).push_back(std::move(input));
        CheckAll(leaders);
        // What belongs to a leader was looked at with it, whose word counts for it.
        std::erase_if(followers, [this](const Input& input) {
            const std::optional<FileId> id = IdOf(input.path);
            return id && m_seen.contains(*id);
        });
        CheckAll(followers);
        m_all.Status().Erase();
        EndIfReaderIsGone();
        PrintSummary(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        EndIfInterrupted();
        const bool isClean = m_counts[Of(Severity::Error)] + m_counts[Of(Severity::Warning)] == 0 &&
                             (!m_options.isStrict || m_counts[Of(Severity::Note)] == 0);
        return isClean ? kClean : kFindings;
    }

private:
    static std::size_t Of(Severity severity) { return static_cast<std::size_t>(severity); }

    void CheckAll(const std::vector<Input>& files)
    {
        m_all.Run(
            files.size(), [this, &files](std::size_t i) { return Look(files[i]); },
            [this](std::size_t, const Outcome& outcome) {
                Print(outcome);
                return outcome.bytes;
            });
    }

    // On a thread of its own, as all that changes nothing here.
    Outcome Look(const Input& input) const
    {
        const CheckResult result = Check(input, m_options.check);
        Outcome outcome;
        outcome.bytes = result.bytes;
        for (const std::string& file : result.files)
            if (const std::optional<FileId> id = IdOf(file))
                outcome.read.push_back(*id);
        for (const Finding& finding : result.findings) {
            if (Options::IsUnreadable(*finding.code))
                if (const std::optional<FileId> id = IdOf(finding.file))
                    outcome.unread.push_back(*id);
            if (m_options.Wants(*finding.code))
                outcome.lines.push_back(
                    {m_options.isJson ? JsonLine(finding) : TextLine(finding, m_isColored),
                     finding.code->severity, Options::IsUnreadable(*finding.code),
                     finding.file != input.path});
        }
        return outcome;
    }

    void Print(const Outcome& outcome)
    {
        m_bytes += outcome.bytes;
        for (const FileId& id : outcome.read)
            m_files += m_seen.insert(id).second ? 1 : 0;
        m_seen.insert(outcome.unread.begin(), outcome.unread.end());
        for (const Line& line : outcome.lines) {
            // A material group that a hundred models share is named once.
            if (line.isOfOther && !m_shared.insert(std::hash<std::string>()(line.text)).second)
                continue;
            ++m_counts[Of(line.severity)];
            m_unreadable += line.isUnreadable ? 1 : 0;
            m_all.Status().Erase();
            std::printf("%s\n", line.text.c_str());
        }
    }

    void PrintSummary(double seconds) const
    {
        const std::uint64_t errors = m_counts[Of(Severity::Error)],
                            warnings = m_counts[Of(Severity::Warning)], notes = m_counts[Of(Severity::Note)];
        if (!m_options.isJson) {
            std::fflush(stdout);
            std::fprintf(stderr, "%s, %.1f MB in %.1f s: %s, %s, %s; %s unreadable\n",
                         Counted(m_files, "file", "files").c_str(), static_cast<double>(m_bytes) / 1e6,
                         seconds, Counted(errors, "error", "errors").c_str(),
                         Counted(warnings, "warning", "warnings").c_str(),
                         Counted(notes, "note", "notes").c_str(), Grouped(m_unreadable).c_str());
            return;
        }
        // Without the time, so that the output of the same files is the same.
        Json line = BeginLine("summary");
        line.update({{"files", m_files},
                     {"bytes", m_bytes},
                     {"errors", errors},
                     {"warnings", warnings},
                     {"notes", notes},
                     {"unreadable", m_unreadable},
                     {"interrupted", Interruptible::Signal() != 0}});
        PrintLine(line);
    }

    const Options& m_options;
    bool m_isColored;
    Many<Outcome> m_all;
    std::unordered_set<FileId, HashFileId> m_seen;
    std::unordered_set<std::size_t> m_shared;  // hashes of lines
    std::array<std::uint64_t, 3> m_counts{};   // of each severity
    std::uint64_t m_files = 0, m_bytes = 0, m_unreadable = 0;
};

}  // namespace

void AddCheck(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<Options>();
    CLI::App* check =
        app.add_subcommand("check", "Find what is wrong with files, and what a save would change");
    check
        ->add_option("PATH", options->paths,
                     "Files; folders, with all below them; -: a list of both on stdin")
        ->required();
    check->add_flag(
        "--json", options->isJson,
        "Print one JSON object a finding and line, and a summary, as share/vlgim/vlgim.schema.json "
        "describes them");
    AddCodeOption(*check, "--ignore", options->ignore,
                  "Say nothing of these findings; `vlgim codes` lists all");
    AddCodeOption(*check, "--only", options->only, "Say nothing of others, but for files that can't be read");
    check->add_flag("--strict", options->isStrict, "Exit with 1 for notes, too");
    check->add_option("--base", options->check.base, "Prefix of relative paths in manifests");
    check->add_option("--submeshes", options->check.submeshCount,
                      "Submesh count of .mesh files that no manifest names; else the file itself is asked");
    check->add_option("--memory-limit", options->memoryLimit, "What the check of one file may take, in MiB")
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40U));
    AddJobs(*check, options->jobs);
    check->footer(R"(Of a folder .gim, .mesh, .mtg, .gis and .ags files are taken, and tracks whatever their
names; not what begins with a dot, nor what links to folders lead to. The files that
a model or an animation names are checked with it, wherever they lie.

Exit code: 0 clean, or notes alone; 1 errors, warnings, files that can't be read;
2 wrong usage.

Examples:
  vlgim check .                             all models below this folder
  vlgim check --base res/ --only clip-bone,missing-file res/char
  find . -newer last -name '*.gim' | vlgim check -
  vlgim check --json . | jq -r 'select(.severity == "error") | .file' | sort -u)");
    check->callback([options, &run] {
        run = [options] {
            if (options->memoryLimit != 0)
                options->check.memoryLimit = options->memoryLimit << 20U;
            return Checker(*options).Run();
        };
    });
}

}  // namespace vela::vlgim::tools
