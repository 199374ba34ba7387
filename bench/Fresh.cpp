#include "Fresh.h"

#include "Floors.h"

#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlio2/FileStream.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vela::vlgim::bench {

namespace {

constexpr const char* kMark = "--in-fresh-process";

// A file in memory that does not come from the heap, and that is in use.
struct Mapped {
    const unsigned char* bytes;
    std::size_t size;
};

Mapped Map(const char* path)
{
    const int file = ::open(path, O_RDONLY);
    const auto size = static_cast<std::size_t>(::lseek(file, 0, SEEK_END));
    const void* const bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
    if (bytes == MAP_FAILED)
        std::abort();
    const Mapped mapped{static_cast<const unsigned char*>(bytes), size};
    // Under a hypervisor that shadows page tables, the first access to a page is dear even where it is mapped.
    for (std::size_t i = 0; i < size; i += 4096)
        Keep(reinterpret_cast<const void*>(std::uintptr_t{mapped.bytes[i]}));
    return mapped;
}

// Numbers are the model whose load is timed, or the sizes of arrays.
using Numbers = std::span<const std::size_t>;

Sample LoadMesh(const char* path, Numbers numbers)
{
    const Mapped image = Map(path);
    for (std::size_t model = 1;; ++model) {
        const Stopwatch watch;
        vlMeshData mesh;
        mesh.m_submeshCount = 1;
        if (!mesh.ReadMeshFile(image.bytes, image.size))
            std::abort();
        if (model == numbers[0])
            return watch.Stop();
    }
}

Sample LoadAnimation(const char* path, Numbers)
{
    const Mapped image = Map(path);
    const Stopwatch watch;
    vlAnimData anim;
    if (!anim.ReadAnimationFile(image.bytes, static_cast<std::uint32_t>(image.size), path))
        std::abort();
    return watch.Stop();
}

Sample ReadMesh(const char* path, Numbers)
{
    const Stopwatch watch;
    ReadMeshFromPath(path);
    return watch.Stop();
}

Sample First(const char* path, Numbers arrays)
{
    const Mapped decoded = Map(path);
    const Stopwatch watch;
    CopyFirst(decoded.bytes, arrays);
    return watch.Stop();
}

Sample Read(const char* path, Numbers arrays)
{
    const Stopwatch watch;
    CopyRead(path, arrays);
    return watch.Stop();
}

struct Task {
    const char* name;
    Sample (*run)(const char* path, Numbers numbers);
};
constexpr Task kTasks[] = {
    {"load mesh", LoadMesh},  // of an image in memory; number: which load of the process
    {"load animation", LoadAnimation},
    {"read mesh", ReadMesh},  // from a path
    {"F(first)", First},      // numbers: bytes of each array
    {"F(read)", Read},        // likewise
};

}  // namespace

void ReadMeshFromPath(const char* path)
{
    vlio::Bytes bytes;
    vlMeshData mesh;
    mesh.m_submeshCount = 1;
    if (!vlio::FileStream::ReadAllBinary(path, bytes, vlio::FILE_SYSTEM_MODEL) ||
        !mesh.ReadMeshFile(bytes.data(), bytes.size()))
        std::abort();
}

Side InFreshProcess(const char* task, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"vlgim_bench", kMark, task});
    return [arguments]() mutable {
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);

        int ends[2];
        posix_spawn_file_actions_t actions;
        pid_t child = 0;
        Sample sample;
        if (::pipe2(ends, O_CLOEXEC) != 0 || ::posix_spawn_file_actions_init(&actions) != 0 ||
            ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO) != 0 ||
            ::posix_spawn(&child, "/proc/self/exe", &actions, nullptr, argv.data(), environ) != 0)
            std::abort();
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        if (::read(ends[0], &sample, sizeof sample) != sizeof sample)
            std::abort();
        ::close(ends[0]);
        ::waitpid(child, nullptr, 0);
        return sample;
    };
}

bool RanAsFreshProcess(int argc, char** argv)
{
    if (argc < 4 || std::strcmp(argv[1], kMark) != 0)
        return false;
    std::size_t numbers[8];
    std::size_t count = 0;
    for (int i = 4; i < argc && count < std::size(numbers); ++i)
        numbers[count++] = std::strtoull(argv[i], nullptr, 10);
    for (const Task& task : kTasks) {
        if (std::strcmp(argv[2], task.name) != 0)
            continue;
        const Sample sample = task.run(argv[3], {numbers, count});
        if (::write(STDOUT_FILENO, &sample, sizeof sample) != sizeof sample)
            std::abort();
    }
    return true;
}

}  // namespace vela::vlgim::bench
