#include "Ratio.h"

#include <vlgim/vlMeshData.h>
#include <vlio2/FileStream.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace vela::vlgim {

namespace {

constexpr std::uint32_t kVertices = 600'000;
constexpr std::size_t kDecodedBytes = std::size_t{kVertices} * 48;

std::string ScratchFile(const char* name)
{
    return std::filesystem::temp_directory_path() / name;
}

// 48 bytes a vertex: position, normal, tangent, one uv set, colour.
vlMeshData LargeMesh()
{
    vlMeshData mesh;
    mesh.m_submeshCount = 1;
    mesh.m_vertexData = std::make_shared<vlMeshVertexData>();
    vlMeshVertexData& data = *mesh.m_vertexData;
    data.m_subCount = 1;
    data.m_subRecords = std::make_shared<SubmeshRecord[]>(1, SubmeshRecord{0, 0, kVertices, 0, 1, 1});
    data.m_vertexCount = kVertices;
    data.m_uvSetCount = data.m_colorSetCount = 1;
    data.m_positions = std::make_shared<geomath::_Vector3<float>[]>(kVertices);
    data.m_normals = std::make_shared<geomath::_Vector3<float>[]>(kVertices);
    data.m_tangents = std::make_shared<geomath::_Vector3<float>[]>(kVertices);
    data.m_uvSets[0] = std::make_shared<geomath::_Point2<float>[]>(kVertices);
    data.m_colors = std::make_shared<std::uint32_t[]>(kVertices);
    return mesh;
}

vlio::Bytes LargeImage()
{
    const std::string path = ScratchFile("vlgim-bench.mesh");
    vlio::Bytes bytes;
    LargeMesh().WriteMeshFile(path.c_str());
    vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_MODEL);
    std::filesystem::remove(path);
    return bytes;
}

// Floor: the decoded bytes copied into memory that is fresh from the system.
void ReadFloatMesh(benchmark::State& state)
{
    const vlio::Bytes image = LargeImage();
    const auto read = [&] {
        vlMeshData mesh;
        mesh.m_submeshCount = 1;
        if (!mesh.ReadMeshFile(image.data(), image.size()))
            std::abort();
        benchmark::DoNotOptimize(mesh.m_vertexData->m_positions.get());
    };
    const auto copy = [&] {
        void* memory = std::malloc(kDecodedBytes);
        std::memcpy(memory, image.data(), kDecodedBytes);
        benchmark::DoNotOptimize(memory);
        std::free(memory);
    };
    bench::ReportRatio(state, read, copy);
}
BENCHMARK(ReadFloatMesh)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// Floor: one fwrite of the same bytes to a new file on the same file system.
void WriteFloatMesh(benchmark::State& state)
{
    vlMeshData mesh = LargeMesh();
    const vlio::Bytes image = LargeImage();
    const std::string path = ScratchFile("vlgim-bench.mesh"), floorPath = ScratchFile("vlgim-bench.floor");
    const auto write = [&] {
        std::filesystem::remove(path);
        if (mesh.WriteMeshFile(path.c_str()) != 0)
            std::abort();
    };
    const auto writeOnce = [&] {
        std::filesystem::remove(floorPath);
        std::FILE* file = std::fopen(floorPath.c_str(), "wb");
        if (!file || std::fwrite(image.data(), 1, image.size(), file) != image.size() ||
            std::fclose(file) != 0)
            std::abort();
    };
    bench::ReportRatio(state, write, writeOnce);
    std::filesystem::remove(path);
    std::filesystem::remove(floorPath);
}
BENCHMARK(WriteFloatMesh)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

}  // namespace

}  // namespace vela::vlgim
