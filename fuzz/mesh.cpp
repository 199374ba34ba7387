#include "Input.h"
#include "RoundTrip.h"
#include "Runtime.h"

#include <mesh/MeshBlocks.h>

#include <algorithm>
#include <cstring>

// An input is the submesh count, four bytes, and a .mesh file.
namespace vela::vlgim::fuzz {

namespace {

// Blocks that are large without bytes behind them are read, but to write them shows nothing new.
constexpr std::uint64_t kLargestWritten = 1 << 20;

std::unique_ptr<vlMeshData> Read(const Bytes& file, std::uint32_t submeshCount)
{
    auto mesh = std::make_unique<vlMeshData>();
    mesh->m_submeshCount = submeshCount;
    if (WithinBudget(file.size(), [&] { return mesh->ReadMeshFile(file.data(), file.size()); }))
        return mesh;
    Check(!mesh->m_vertexData && !mesh->m_hasMorph && !mesh->m_morph && !mesh->m_hasTracks &&
              !mesh->m_tracks && mesh->m_originalData.empty() && mesh->m_boneParents.empty() &&
              !mesh->m_boneNames,
          "a failed read leaves blocks");
    return nullptr;
}

void CheckMesh(std::unique_ptr<vlMeshData> mesh)
{
    const Error why = WhyUnwritable(*mesh);
    Check(!why, "a mesh that was read can't be written: " + why.Message());
    const std::uint32_t subs = mesh->m_submeshCount;
    const auto write = [](vlMeshData& m) {
        return Written([&](std::FILE* stream) { m.WriteMeshFile(stream); });
    };
    const auto read = [subs](const Bytes& file) {
        auto again = Read(file, subs);
        Check(again != nullptr, "a mesh that was written can't be read");
        return again;
    };
    if (mesh::WrittenSize(*mesh->m_vertexData) <= kLargestWritten) {
        const Bytes file = CheckRoundTrip(*mesh, write, read);
        const auto counts = vlMeshData::FittingSubmeshCounts(file.data(), file.size());
        Check(mesh->m_hasTracks || std::find(counts.begin(), counts.end(), subs) != counts.end(),
              "the submesh count of a mesh that was written does not fit");
        vlMeshData vouched;
        vouched.m_submeshCount = subs;
        Check(vouched.ReadMeshFile(file.data()), "a mesh that was written can't be read without its length");
        ExpectSame(ImageOf(*mesh), ImageOf(vouched), "a mesh read without its length");
    }
    CheckCopies(std::move(mesh));
}

}  // namespace

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vela::vlgim;
    std::uint32_t submeshCount = 0;
    if (size < sizeof submeshCount)
        return 0;
    std::memcpy(&submeshCount, data, sizeof submeshCount);
    const fuzz::Bytes file(data + sizeof submeshCount, data + size);
    static_cast<void>(vlMeshData::FittingSubmeshCounts(file.data(), file.size()));
    auto mesh = fuzz::Read(file, submeshCount);
    if (!mesh)
        return 0;
    fuzz::CheckDifferences(*mesh, *fuzz::Read(file, submeshCount),
                           fuzz::Read(fuzz::Changed(file), submeshCount).get());
    fuzz::CheckMesh(std::move(mesh));
    return 0;
}
