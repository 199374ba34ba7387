#include "Floors.h"
#include "Fresh.h"
#include "Machine.h"
#include "Models.h"
#include "Scratch.h"
#include "Table.h"

#include <mesh/HalfToFloat.h>
#include <vlgim/vlMeshData.h>

#include <memory>

namespace vela::vlgim::bench {

namespace {

constexpr std::uint32_t kLarge = 600'000;

std::vector<std::string> WithSizes(const std::string& path, const std::vector<std::size_t>& sizes)
{
    std::vector<std::string> arguments{path};
    for (const std::size_t size : sizes)
        arguments.push_back(std::to_string(size));
    return arguments;
}

// Every byte of the vertices is decoded into one of its own, so the floor copies the file.
Pair Load(std::uint32_t vertices, int model)
{
    const std::string path = ScratchFile("mesh", MeshImage(vertices, false));
    return {InFreshProcess("load mesh", {path, std::to_string(model)}),
            InFreshProcess("F(first)", WithSizes(path, MeshArrays(vertices)))};
}

void AddLoads(Rows& rows, const char* mesh, std::uint32_t vertices, double first, double tenth)
{
    const std::string name = std::string("float mesh, ") + mesh;
    rows.push_back({name + ", first load", "F(first)", first, [=] { return Load(vertices, 1); }});
    rows.push_back({name + ", tenth model", "F(first)", tenth, [=] { return Load(vertices, 10); }});
}

Pair ReadFresh()
{
    const std::string path = ScratchFile("mesh", MeshImage(k26MB, false));
    return {InFreshProcess("read mesh", {path}),
            InFreshProcess("F(read)", WithSizes(path, MeshArrays(k26MB)))};
}

Pair ReadWarm()
{
    const std::string path = ScratchFile("mesh", MeshImage(k131KB, false));
    const std::vector<std::size_t> arrays = MeshArrays(k131KB);
    return InProcess([=] { ReadMeshFromPath(path.c_str()); }, [=] { CopyRead(path.c_str(), arrays); });
}

Pair HalvesAlone()
{
    constexpr std::size_t positions = 3 * kLarge, uvs = 2 * kLarge;
    const Bytes image = MeshImage(kLarge, true);
    std::vector<float> decoded(positions + uvs);
    const auto convert = [=]() mutable {
        const unsigned char* const first = image.data() + 17;  // at no alignment, as in a file
        HalfToFloat(decoded.data(), first, positions);
        HalfToFloat(decoded.data() + positions, first + 2 * positions, uvs);
        Keep(decoded.data());
    };
    return InProcess(convert, CopyInUse(decoded.size() * sizeof(float)));
}

Pair HalvesWhole()
{
    const auto load = [image = MeshImage(kLarge, true)] {
        vlMeshData mesh;
        mesh.m_submeshCount = 1;
        if (!mesh.ReadMeshFile(image.data(), image.size()))
            std::abort();
        Keep(mesh.m_vertexData->m_positions.get());
    };
    return InProcess(load, CopyInUse(kLarge * kVertexBytes));
}

Pair HalvesFirst()
{
    return {InFreshProcess("load mesh", {ScratchFile("half", MeshImage(kLarge, true)), "1"}),
            InFreshProcess("load mesh", {ScratchFile("float", MeshImage(kLarge, false)), "1"})};
}

}  // namespace

void AddMeshRows(Rows& rows)
{
    const bool huge = ThisMachine().HasHugePages();
    AddLoads(rows, "600,000 vertices (28.8 MB)", kLarge, huge ? 0.50 : 0.95, 0.15);
    rows.push_back({"float mesh, 750,000 vertices (36 MB), tenth model", "F(first)", {}, [] {
                        return Load(750'000, 10);
                    }});
    AddLoads(rows, "60,000 vertices (2.9 MB)", 60'000, 0.85, 0.10);
    AddLoads(rows, "3,000 vertices (144 KB)", 3'000, 0.95, 0.04);
    rows.push_back(
        {"float mesh from a path, 26 MB, fresh process", "F(read)", huge ? 0.45 : 0.65, ReadFresh});
    rows.push_back({"float mesh from a path, 131 KB, warm", "F(read)", 1.05, ReadWarm});
    rows.push_back(
        {"pack mode 1 mesh, 600,000 vertices, positions and uvs alone", "F(mem)", 0.60, HalvesAlone});
    rows.push_back({"pack mode 1 mesh, 600,000 vertices, whole", "F(mem)", 0.90, HalvesWhole});
    rows.push_back({"pack mode 1 mesh, 600,000 vertices, first load", "the float mesh's", 1.05, HalvesFirst});
}

}  // namespace vela::vlgim::bench
