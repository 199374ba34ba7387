#include "Table.h"

#include "support/MeshBytes.h"

#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlTrackData.h>
#include <vlio2/XmlData.h>

#include <cstdlib>
#include <malloc.h>
#include <string>

// Whether time stays in proportion to the file: the floor is the same work on an input of half the size. Linear is 2;
// the goal leaves room for the caches that the larger input no longer fits, and 4, quadratic, lies far above it.
namespace vela::vlgim::bench {

namespace {

using test::ByteBuilder;
using test::Bytes;

// A file without vertices whose submesh entries are as many as there are bytes for.
Bytes MeshOfSubmeshes(std::uint32_t count)
{
    return test::StaticMesh(ByteBuilder().Fill(std::size_t{count} * 10, 0).U16(0).U32s({0, 0}));
}

// Blocks of original data that are all the same one.
Bytes MeshOfBlocks(std::uint32_t count)
{
    ByteBuilder file;
    file.U32(0xBBC88034).U32(0x50004).U16(0).U16(0).U32(39).Fill(23, 0);
    file.U16(static_cast<std::uint16_t>(count + 1)).U32(16);
    for (std::uint32_t i = 0; i < count; ++i)
        file.U32(26);
    return file.U16(0);
}

void Read(const Bytes& file, std::uint32_t submeshCount)
{
    vlMeshData mesh;
    mesh.m_submeshCount = submeshCount;
    if (!mesh.ReadMeshFile(file.data(), file.size()))
        std::abort();
}

// Clips without bones, one behind the other.
Bytes Clips(std::uint32_t count)
{
    ByteBuilder file;
    file.Raw({'R', 'G', 'I', 'S'}).U32(0x50004).U16(static_cast<std::uint16_t>(count));
    for (std::uint32_t i = 0; i < count; ++i)
        file.Fill(79, 0).U8(1).U8(0);
    return file;
}

// Channels that stand still, of a track without keys.
Bytes Channels(std::uint32_t count)
{
    ByteBuilder block;
    return block.Fill(40, 0).U16(static_cast<std::uint16_t>(count)).Fill(std::size_t{count} * 44, 0);
}

std::string Elements(std::uint32_t count)
{
    std::string text = "<r>";
    for (std::uint32_t i = 0; i < count; ++i)
        text += "<a b='&#65;'>&lt;</a>";
    return text + "</r>";
}

template <class Build, class Load>
void AddDouble(Rows& rows, const char* work, std::uint32_t count, Build build, Load load)
{
    rows.push_back({work, "half the size", 2.5, [=] {
                        // Memory stays in the process, or it would show which of the two sizes goes back to the system.
                        mallopt(M_TRIM_THRESHOLD, 1 << 30);
                        mallopt(M_MMAP_THRESHOLD, 1 << 30);
                        return InProcess([=, file = build(2 * count)] { load(file, 2 * count); },
                                         [=, file = build(count)] { load(file, count); });
                    }});
}

}  // namespace

void AddLinearRows(Rows& rows)
{
    AddDouble(rows, "linear: mesh of submeshes", 100'000, MeshOfSubmeshes, Read);
    AddDouble(rows, "linear: fitting submesh counts", 100'000, MeshOfSubmeshes,
              [](const Bytes& file, std::uint32_t) {
                  Keep(vlMeshData::FittingSubmeshCounts(file.data(), file.size()).data());
              });
    AddDouble(rows, "linear: mesh of original data", 16'000, MeshOfBlocks,
              [](const Bytes& file, std::uint32_t) { Read(file, 0); });
    AddDouble(rows, "linear: clips", 400, Clips, [](const Bytes& file, std::uint32_t) {
        if (!vlAnimData().ReadAnimationFile(file.data(), static_cast<std::uint32_t>(file.size()), "a.gis"))
            std::abort();
    });
    AddDouble(rows, "linear: channels", 15'000, Channels, [](const Bytes& block, std::uint32_t) {
        if (!vlTrackData().ReadData(block.data(), block.data() + block.size()))
            std::abort();
    });
    AddDouble(rows, "linear: elements", 20'000, Elements, [](const std::string& text, std::uint32_t) {
        if (vlio::XmlData().Parse(text.data(), text.size()) != 0)
            std::abort();
    });
}

}  // namespace vela::vlgim::bench
