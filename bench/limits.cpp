#include "Floors.h"
#include "Models.h"
#include "Scratch.h"
#include "Table.h"

#include <vlio2/FileStream.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sys/stat.h>

// What stands in the way of the goals that are missed: the part of a work that can't be left out, done alone.
namespace vela::vlgim::bench {

namespace {

// A clip's channels hold three arrays each, which share one block.
Pair ClipObjects()
{
    const auto make = [block = Array<float>(kClipBytes / sizeof(float))] {
        const auto channels = Array<vlTransKeysData>::ForOverwrite(kClipBones);
        for (unsigned i = 0; i < kClipBones; ++i)
            for (auto array : {&vlTransKeysData::m_pos, &vlTransKeysData::m_rot, &vlTransKeysData::m_scale})
                channels[i].*array = block;
        Keep(channels.get());
    };
    return InProcess(make, CopyInUse(kClipBytes));
}

Pair ChannelBlock()
{
    // With a shared pointer's counts.
    return InProcess([] { Keep(std::make_unique_for_overwrite<char[]>(kChannelBytes + 32).get()); },
                     CopyInUse(kChannelBytes));
}

// One after the other, so that nothing of a clip leaves the caches.
Pair ClipsInCache(unsigned clips)
{
    const auto load = [=, image = AnimImage(1, KEY_PACKED_ROT32 | KEY_HALF_SCALE)] {
        for (unsigned i = 0; i < clips; ++i) {
            vlAnimData anim;
            if (!anim.ReadAnimationFile(image.data(), static_cast<std::uint32_t>(image.size()), "bench.gis"))
                std::abort();
        }
    };
    return InProcess(load, CopyInUse(clips * kClipBytes));
}

// Half of the bytes read and all of them written, each by the fastest code there is for it.
Pair ReadHalfWriteAll(std::size_t size)
{
    const auto work = [=, from = Bytes(size / 2), to = Bytes(size)]() mutable {
        const int difference = std::memcmp(from.data(), from.data() + size / 4, size / 4);
        std::memset(to.data(), difference, size);
        Keep(to.data());
    };
    return InProcess(work, CopyInUse(size));
}

// Another way to bring the same bytes into a new file.
template <class Write>
Pair Writing(std::size_t size, Place place, Write write)
{
    const std::string path = ScratchPath(place, "model"), floorPath = ScratchPath(place, "floor");
    const auto bytes = std::make_shared<vlio::Bytes>(size + 64, 1);
    const auto remove = [=] {
        ::unlink(path.c_str());
        ::unlink(floorPath.c_str());
    };
    return InProcess([=] { write(path.c_str(), *bytes, size); },
                     [=] {
                         WriteOnce(floorPath.c_str(), {bytes->data(), size});
                     },
                     remove);
}

// An array is at its own alignment, and so is its place in the file.
void WriteUnaligned(const char* path, const vlio::Bytes& bytes, std::size_t size)
{
    WriteOnce(path, {bytes.data() + 42, size});
}

void WriteSibling(const char* path, const vlio::Bytes& bytes, std::size_t size)
{
    struct stat status = {};
    const std::string sibling = std::string(path) + ".new";
    if (::lstat(path, &status) == 0)
        std::abort();
    WriteOnce(sibling.c_str(), {bytes.data(), size});
    if (std::rename(sibling.c_str(), path) != 0)
        std::abort();
}

// Four runs a channel, as they lie in memory, into pieces that stay in the cache.
void WriteGathered(const char* path, const vlio::Bytes& bytes, std::size_t size)
{
    static Bytes piece(std::size_t{256} << 10);
    const int file = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    std::size_t used = 0;
    const auto flush = [&] {
        if (::write(file, piece.data(), used) != static_cast<ssize_t>(used))
            std::abort();
        used = 0;
    };
    for (std::size_t at = 0; at < size;)
        for (const std::size_t run : {4U, 360U, 480U, 360U}) {
            const std::size_t count = std::min(run, size - at);
            if (used + count > piece.size())
                flush();
            std::memcpy(piece.data() + used, bytes.data() + at, count);
            used += count;
            at += count;
        }
    flush();
    ::close(file);
}

}  // namespace

void AddLimitRows(Rows& rows)
{
    const auto add = [&rows](const std::string& work, const char* floor, auto prepare) {
        rows.push_back({"limit: " + work, floor, {}, prepare});
    };
    add("the block of a channel of 30 keys, allocated and freed", "F(mem)", ChannelBlock);
    add("the channel objects of a clip, made and dropped", "F(mem)", ClipObjects);
    add("one clip 200 times", "F(mem)", [] { return ClipsInCache(200); });
    add("half of 12 MB read, all written", "F(mem)", [] { return ReadHalfWriteAll(12'000'000); });
    for (const Place place : {Place::kTmpfs, Place::kDisk}) {
        const auto addWrite = [&](const std::string& work, std::size_t size, auto write) {
            add(work + (place == Place::kTmpfs ? ", tmpfs" : ", disk"), "F(write)",
                [=] { return Writing(size, place, write); });
        };
        addWrite("26 MB from 42 bytes off", k26MB * kVertexBytes, WriteUnaligned);
        addWrite("131 KB with lstat and rename", k131KB * kVertexBytes, WriteSibling);
        addWrite("16 MB of runs gathered by 256 KB", 16'000'000, WriteGathered);
    }
}

}  // namespace vela::vlgim::bench
