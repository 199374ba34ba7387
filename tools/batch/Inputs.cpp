#include "batch/Inputs.h"

#include <CLI/CLI.hpp>

#include <basekit/StringAlgo.h>
#include <platform/Files.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace vela::vlgim::tools {

namespace {

namespace fs = std::filesystem;

FileKind KindByName(const std::string& path)
{
    return KindOfFile(path, nullptr, 0);
}

// By its name, and where that does not tell by its first bytes, for which it is opened.
FileKind KindOf(const std::string& path)
{
    if (const FileKind kind = KindByName(path); kind != FileKind::Unknown)
        return kind;
    std::array<unsigned char, 4> start{};
    std::size_t size = 0;
    platform::File file;
    if (file.Open(path.c_str(), platform::Access::Read) == 0)
        file.Read(start.data(), start.size(), size);
    return KindOfFile(path, start.data(), size);
}

bool HasAnimationName(const std::string& path)
{
    std::string lower = path;
    kit::StringAlgo::ToLower(lower.data());
    return lower.ends_with(".gis");
}

// An animation by its name in a folder of clips has to begin as one.
bool IsSideFile(const std::string& path, FileKind kind)
{
    return kind == FileKind::Unknown && HasAnimationName(path);
}

// walk_gis/run.gis is a clip of walk.gis.
bool HasAnimationBeside(const std::string& sideFile)
{
    std::string folder = fs::path(sideFile).parent_path().string();
    folder.replace(folder.size() - 4, 1, ".");
    std::error_code error;
    return fs::exists(folder, error);
}

void SortUnique(std::vector<Input>& files)
{
    std::ranges::sort(files, {}, &Input::path);
    const auto isRepeat = [](const Input& a, const Input& b) { return a.path == b.path; };
    files.erase(std::unique(files.begin(), files.end(), isRepeat), files.end());
}

class Finder {
public:
    explicit Finder(Progress& progress) : m_progress(progress) {}

    void Add(const std::string& path)
    {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            m_inputs.roots.push_back(path);
            return Walk(path);
        }
        std::string folder = fs::path(path).parent_path().string();
        if (folder.empty())
            folder = ".";
        // A list names many files of one folder in a row.
        if (m_inputs.roots.empty() || m_inputs.roots.back() != folder)
            m_inputs.roots.push_back(std::move(folder));
        AddFile(path, KindOf(path));
    }

    Inputs Take()
    {
        m_progress.Erase();
        SortUnique(m_inputs.leaders);
        SortUnique(m_inputs.followers);
        return std::move(m_inputs);
    }

private:
    void AddFile(const std::string& path, FileKind kind)
    {
        const bool isFollower =
            IsSideFile(path, kind) || kind == FileKind::Mesh || kind == FileKind::Document;
        (isFollower ? m_inputs.followers : m_inputs.leaders).push_back({path, "", kind});
        m_progress.Found(m_inputs.leaders.size() + m_inputs.followers.size());
    }

    void AddFound(const std::string& path)
    {
        const FileKind kind = KindOf(path);
        const bool isOurs = KindByName(path) != FileKind::Unknown || HasAnimationName(path);
        if (IsSideFile(path, kind) ? !HasAnimationBeside(path) : isOurs || kind == FileKind::Track)
            AddFile(path, kind);
    }

    void Walk(const std::string& root)
    {
        std::vector<std::string> folders{root};
        while (!folders.empty()) {
            const std::string folder = std::move(folders.back());
            folders.pop_back();
            std::error_code error;
            fs::directory_iterator entry(folder, error);
            for (; !error && entry != fs::directory_iterator(); entry.increment(error))
                Visit(*entry, folders);
            if (error)
                m_inputs.leaders.push_back({folder, error.message()});
        }
    }

    void Visit(const fs::directory_entry& entry, std::vector<std::string>& folders)
    {
        std::error_code error;
        if (entry.path().filename().native().starts_with('.'))
            return;
        if (entry.is_directory(error) && !entry.is_symlink(error))
            folders.push_back(entry.path().string());
        else if (entry.is_regular_file(error))
            AddFound(entry.path().string());
    }

    Progress& m_progress;
    Inputs m_inputs;
};

}  // namespace

void AddInputs(CLI::App& command, InputOptions& options, const std::string& description)
{
    command.add_option("PATH", options.paths, description)->required();
    command.add_flag("-0,--null", options.isNulSeparated,
                     "Paths read from stdin end with a NUL, as `find -print0` writes them");
    command.add_flag("--allow-empty", options.allowsNone, "Finding no file is not an error");
}

Inputs FindInputs(const InputOptions& options, Progress& progress)
{
    Finder finder(progress);
    for (const std::string& path : options.paths) {
        if (path != "-") {
            finder.Add(path);
            continue;
        }
        for (std::string line; std::getline(std::cin, line, options.isNulSeparated ? '\0' : '\n');) {
            if (!options.isNulSeparated && line.ends_with('\r'))
                line.pop_back();
            if (!line.empty())
                finder.Add(line);
        }
    }
    Inputs inputs = finder.Take();
    if (inputs.leaders.empty() && inputs.followers.empty() && !options.allowsNone)
        throw std::runtime_error("no files of models found; --allow-empty makes this no error");
    return inputs;
}

}  // namespace vela::vlgim::tools
