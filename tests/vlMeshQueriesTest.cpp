#include "support/MeshBytes.h"

namespace vela::vlgim::test {

TEST(vlMeshQueries, SeveralMeshesInTheSameLists)
{
    const vlMeshData uvs = MeshFrom(StaticMesh(TwoSubmeshBlock())),
                     skinned = MeshFrom(MeshOf(0x50004, {1, true, false, false}));
    vlMeshData large;
    large.m_vertexData = std::make_shared<vlMeshVertexData>();
    large.m_vertexData->m_vertexCount = 65537;
    large.m_vertexData->m_triangleCount = 65536;
    large.m_vertexData->m_positions = large.m_vertexData->m_normals = Array<geomath::_Vector3<float>>(65537);
    large.m_vertexData->m_indices = Array<std::uint16_t>(3 * 65536, 7);
    Geometry all;
    for (const vlMeshData& mesh : {vlMeshData(), uvs, skinned, large})
        all.Collect(mesh);
    const vlMeshVertexData &a = *uvs.m_vertexData, &b = *skinned.m_vertexData, &c = *large.m_vertexData;
    EXPECT_EQ(all.positions, (std::vector{a.m_positions.get(), b.m_positions.get(), c.m_positions.get()}));
    EXPECT_EQ(all.normals, (std::vector{a.m_normals.get(), b.m_normals.get(), c.m_normals.get()}));
    EXPECT_EQ(all.indices, (std::vector<std::vector<std::uint16_t>>{
                               {0, 1, 2, 3, 4, 3}, {0, 1, 0}, std::vector<std::uint16_t>(3 * 65536, 7)}));
    EXPECT_EQ(all.uvs0, (std::vector<geomath::_Point2<float>*>{a.m_uvSets[0].get(), nullptr, nullptr}));
    EXPECT_EQ(all.uvs1, (std::vector<geomath::_Point2<float>*>{a.m_uvSets[1].get(), nullptr, nullptr}));
    EXPECT_EQ(all.vertexCounts, (std::vector<std::uint16_t>{5, 2, 1})) << "cut to 16 bits";
    EXPECT_EQ(all.triangleCounts, (std::vector<std::uint16_t>{2, 1, 0}));

    large.m_vertexData->m_normals = Array<geomath::_Vector3<float>>(65536);
    all.Collect(large);
    EXPECT_EQ(std::pair(all.positions.size(), all.indices.size()), std::pair(3UL, 3UL)) << "a short array";

    Skin skin;
    skin.matrices[2] = {};
    vlMeshData cut = skinned;
    cut.m_boneMatrices = Array<geomath::_Matrix<float>>(2);
    EXPECT_FALSE(skin.Collect({}) || skin.Collect(uvs) || skin.Collect(cut) || !skin.names.empty());
    EXPECT_TRUE(skin.Collect(skinned));
    EXPECT_TRUE(skin.Collect(skinned));
    EXPECT_EQ(std::vector(skin.bones.begin() + 8, skin.bones.end()),
              (std::vector<std::uint32_t>{0, 2, 0xFFFF, 1, 254, 2, 0xFFFF, 0}));
    EXPECT_EQ(std::tuple(skin.weights.size(), skin.weights[8], skin.weights[15], skin.matrices.size(),
                         skin.matrices[2].m[3][3]),
              std::tuple(16U, 0.5F, 0.25F, 3U, 147.0F));
    EXPECT_EQ(std::vector(skin.names.begin() + 3, skin.names.end()),
              (std::vector<std::string>{"arm.l", "root", "an_old_name_that_fills_its_field"}));
}

TEST(vlMeshQueries, RangesOfSubmeshes)
{
    const auto ranges = [](const vlMeshData& mesh, std::uint32_t submesh) {
        std::array<std::uint32_t, 4> range{7, 7, 7, 7};
        mesh.GetSubIBInfo(range[0], range[1], submesh);
        mesh.GetSubVBInfo(range[2], range[3], submesh);
        return range;
    };
    const vlMeshData mesh = MeshFrom(StaticMesh(TwoSubmeshBlock()));
    using Range = std::array<std::uint32_t, 4>;
    EXPECT_EQ(ranges({}, 0), Range{}) << "nothing is loaded";
    mesh.m_vertexData->m_subRecords[1] = {7, 70, 8, 80, 0, 0};
    EXPECT_EQ(ranges(mesh, 1), (Range{210, 240, 7, 8}));
    EXPECT_EQ(ranges(mesh, 2), Range{});
}

}  // namespace vela::vlgim::test
