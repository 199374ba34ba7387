#include "Floors.h"
#include "Ratio.h"

#include <vlgim/vlMeshData.h>
#include <vlio2/FileStream.h>

namespace vela::vlgim {

namespace {

enum Kind : std::int64_t { kStatic, kSkinned, kMorph };

constexpr std::uint32_t kMorphFrames = 5;
constexpr std::uint16_t kBones = 60;

template <class T>
std::shared_ptr<T[]> Zeros(std::size_t count)
{
    return std::make_shared<T[]>(count);
}

// Position, normal and tangent for each frame, one uv set and colour; of a skinned mesh four references and weights.
std::shared_ptr<vlMeshVertexData> Vertices(Kind kind, std::uint32_t count, std::uint32_t frames)
{
    const auto skin = std::make_shared<vlMeshSkelVertexData>();
    const auto data = kind == kSkinned ? skin : std::make_shared<vlMeshVertexData>();
    const std::size_t all = std::size_t{count} * frames;
    data->m_subCount = 1;
    data->m_subRecords = std::make_shared<SubmeshRecord[]>(1, SubmeshRecord{0, 0, count, 0, 1, 1});
    data->m_frameCount = frames;
    data->m_vertexCount = count;
    data->m_uvSetCount = data->m_colorSetCount = 1;
    data->m_positions = Zeros<geomath::_Vector3<float>>(all);
    data->m_normals = Zeros<geomath::_Vector3<float>>(all);
    data->m_tangents = Zeros<geomath::_Vector3<float>>(all);
    data->m_uvSets[0] = Zeros<geomath::_Point2<float>>(count);
    data->m_colors = Zeros<std::uint32_t>(count);
    if (kind != kSkinned)
        return data;
    skin->m_usedBoneBits = kBones;
    skin->m_boneIndices = Zeros<std::uint16_t>(4 * std::size_t{count});
    skin->m_boneWeights = Zeros<float>(4 * std::size_t{count});
    for (std::size_t slot = 0; slot < 4 * std::size_t{count}; ++slot) {
        skin->m_boneIndices[static_cast<std::ptrdiff_t>(slot)] =
            static_cast<std::uint16_t>(slot * 7 % kBones);
        skin->m_boneWeights[static_cast<std::ptrdiff_t>(slot)] = 0.25F;
    }
    return skin;
}

// 28.8 MB of vertices.
vlMeshData LargeMesh(Kind kind)
{
    vlMeshData mesh;
    mesh.m_submeshCount = 1;
    switch (kind) {
    case kStatic:
        mesh.m_vertexData = Vertices(kind, 600'000, 1);
        break;
    case kSkinned:
        mesh.m_vertexData = Vertices(kind, 400'000, 1);
        mesh.m_skeletonFlag = 1;
        mesh.m_boneCount = kBones;
        mesh.m_boneParents.resize(kBones);
        mesh.m_boneNames = std::make_shared<char[][32]>(kBones);
        mesh.m_boneMatrices = Zeros<geomath::_Matrix<float>>(kBones);
        break;
    case kMorph:
        mesh.m_vertexData = Vertices(kind, 150'000, kMorphFrames);
        mesh.m_hasMorph = 1;
        mesh.m_morph = std::make_shared<vlMorphData>();
        mesh.m_morph->m_times.SetKeyTimes(kMorphFrames, kMorphFrames - 1);
    }
    return mesh;
}

vlio::Bytes ImageOf(vlMeshData& mesh)
{
    const std::string path = bench::ScratchFile("vlgim-bench.mesh");
    vlio::Bytes bytes;
    mesh.WriteMeshFile(path.c_str());
    vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_MODEL);
    std::filesystem::remove(path);
    return bytes;
}

// Every byte of the vertices is decoded into one of its own, so the floor copies the file.
void ReadMesh(benchmark::State& state)
{
    vlMeshData large = LargeMesh(Kind{state.range(0)});
    const vlio::Bytes image = ImageOf(large);
    const auto read = [&] {
        vlMeshData mesh;
        mesh.m_submeshCount = 1;
        if (!mesh.ReadMeshFile(image.data(), image.size()))
            std::abort();
        benchmark::DoNotOptimize(mesh.m_vertexData->m_positions.get());
    };
    bench::ReportRatio(state, read, [&] { bench::CopyFresh(image); });
}

void WriteMesh(benchmark::State& state)
{
    vlMeshData mesh = LargeMesh(Kind{state.range(0)});
    const vlio::Bytes image = ImageOf(mesh);
    const std::string path = bench::ScratchFile("vlgim-bench.mesh");
    const std::string floorPath = bench::ScratchFile("vlgim-bench.floor");
    const auto write = [&] {
        std::filesystem::remove(path);
        if (mesh.WriteMeshFile(path.c_str()) != 0)
            std::abort();
    };
    bench::ReportRatio(state, write, [&] { bench::WriteOnce(floorPath, image); });
    std::filesystem::remove(path);
    std::filesystem::remove(floorPath);
}

void EachKind(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("kind")->Arg(kStatic)->Arg(kSkinned)->Arg(kMorph);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);
}
BENCHMARK(ReadMesh)->Apply(EachKind);
BENCHMARK(WriteMesh)->Apply(EachKind);

}  // namespace

}  // namespace vela::vlgim
