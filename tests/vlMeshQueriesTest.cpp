#include "support/MeshBytes.h"

namespace vela::vlgim::test {

TEST(vlMeshQueries, SeveralMeshesInTheSameLists)
{
    const vlMeshData uvs = MeshFrom(StaticMesh(TwoSubmeshBlock())),
                     skinned = MeshFrom(MeshOf(0x50004, {1, true, false, false}));
    Geometry all;
    all.Collect({});  // nothing is loaded
    all.Collect(uvs);
    all.Collect(skinned);
    const vlMeshVertexData &first = *uvs.m_vertexData, &second = *skinned.m_vertexData;
    EXPECT_EQ(all.positions, (std::vector{first.m_positions.get(), second.m_positions.get()}));
    EXPECT_EQ(all.normals, (std::vector{first.m_normals.get(), second.m_normals.get()}));
    EXPECT_EQ(all.indices, (std::vector<std::vector<std::uint16_t>>{{0, 1, 2, 3, 4, 3}, {0, 1, 0}}));
    EXPECT_EQ(all.uvs0, (std::vector<geomath::_Point2<float>*>{first.m_uvSets[0].get(), nullptr}));
    EXPECT_EQ(all.uvs1, (std::vector<geomath::_Point2<float>*>{first.m_uvSets[1].get(), nullptr}));
    EXPECT_EQ(all.vertexCounts, (std::vector<std::uint16_t>{5, 2}));
    EXPECT_EQ(all.triangleCounts, (std::vector<std::uint16_t>{2, 1}));

    Skin skin;
    skin.matrices[2] = {};
    EXPECT_FALSE(skin.Collect({}) || skin.Collect(uvs));
    EXPECT_TRUE(skin.Collect(skinned));
    EXPECT_TRUE(skin.Collect(skinned));
    EXPECT_EQ(std::vector(skin.bones.begin() + 8, skin.bones.end()),
              (std::vector<std::uint32_t>{0, 2, 0xFFFF, 1, 254, 2, 0xFFFF, 0}));
    EXPECT_EQ(std::tuple(skin.weights.size(), skin.weights[8], skin.weights[15]),
              std::tuple(16U, 0.5F, 0.25F));
    EXPECT_EQ(skin.matrices.size(), 3U);
    EXPECT_EQ(skin.matrices[2].m[3][3], 147.0F);
    EXPECT_EQ(std::vector(skin.names.begin() + 3, skin.names.end()),
              (std::vector<std::string>{"arm.l", "root", "an_old_name_that_fills_its_field"}));
}

TEST(vlMeshQueries, CountsAreCutTo16Bits)
{
    vlMeshData mesh;
    mesh.m_vertexData = std::make_shared<vlMeshVertexData>();
    mesh.m_vertexData->m_vertexCount = 65537;
    mesh.m_vertexData->m_triangleCount = 70'000;
    mesh.m_vertexData->m_indices = Array<std::uint16_t>(210'000);
    Geometry all;
    all.Collect(mesh);
    EXPECT_EQ(std::tuple(all.vertexCounts[0], all.triangleCounts[0], all.indices[0].size()),
              std::tuple(1, 4464, 210'000U));
}

TEST(vlMeshQueries, RangesOfSubmeshes)
{
    vlMeshData mesh;
    const auto ranges = [&mesh](std::uint32_t submesh) {
        std::array<std::uint32_t, 4> range{7, 7, 7, 7};
        mesh.GetSubIBInfo(range[0], range[1], submesh);
        mesh.GetSubVBInfo(range[2], range[3], submesh);
        return range;
    };
    const std::array<std::uint32_t, 4> none{};
    EXPECT_EQ(ranges(0), none) << "nothing is loaded";
    mesh.m_vertexData = std::make_shared<vlMeshVertexData>();
    mesh.m_vertexData->m_subCount = 3;
    mesh.m_vertexData->m_subRecords = {{0, 0, 1, 10, 0, 0}, {1, 10, 2, 20, 0, 0}, {3, 30, 4, 30, 0, 0}};
    EXPECT_EQ(ranges(0), (std::array<std::uint32_t, 4>{0, 30, 0, 1}));
    EXPECT_EQ(ranges(2), (std::array<std::uint32_t, 4>{90, 90, 3, 4}));
    EXPECT_EQ(ranges(3), none);
}

}  // namespace vela::vlgim::test
