#include "demo/MeshBuilder.h"
#include "demo/Models.h"
#include "demo/Parts.h"

#include <cmath>
#include <numbers>

namespace vela::vlgim::tools {

namespace {

constexpr unsigned short kFrames = 3;
constexpr int kColumns = 6;
constexpr float kCell = 0.25F;  // metres
constexpr std::uint32_t kStripes[] = {0xFF3030C0, 0xFFFFFFFF, 0xFF3030C0};

// The wave runs away from the pole, which holds the cloth still, and grows on its way.
Vector3 ClothPoint(int column, int row, float phase)
{
    const float along = static_cast<float>(column) / kColumns;
    return {kCell * static_cast<float>(column), 2 + kCell * static_cast<float>(row),
            0.2F * along * std::sin(2 * std::numbers::pi_v<float> * (along - phase))};
}

// phase in turns.
MeshBuilder Frame(float phase)
{
    MeshBuilder flag;
    flag.BeginSubmesh(1, false);
    flag.Box({-0.04F, 0, -0.02F}, {0, 3, 0.02F});
    flag.BeginSubmesh(1, true);
    int row = 0;
    for (const std::uint32_t color : kStripes) {
        for (int column = 0; column < kColumns; ++column) {
            const Vector3 a = ClothPoint(column, row, phase), b = ClothPoint(column + 1, row, phase),
                          c = ClothPoint(column + 1, row + 1, phase), d = ClothPoint(column, row + 1, phase);
            flag.Face({a, b, c, d}, color);
            flag.Face({b, a, d, c}, color);  // the back
        }
        ++row;
    }
    return flag;
}

}  // namespace

void BuildFlag(GimData& model)
{
    MeshBuilder flag = Frame(0);
    for (int frame = 1; frame < kFrames; ++frame)
        flag.AddFrame(Frame(static_cast<float>(frame) / kFrames));

    vlMeshData& mesh = model.m_mesh;
    flag.Fill(mesh);
    mesh.m_hasMorph = 1;
    mesh.m_morph = std::make_shared<vlMorphData>();
    mesh.m_morph->m_times.SetKeyTimes(kFrames, 20);

    BuildDocuments(model,
                   {{"pole", "ash", {{"Color", "0.75,0.68,0.55"}, {"Gloss", "0.3"}}},
                    {"cloth", "linen", {{"Roughness", "1"}, {"Texture", "linen.png"}}}},
                   "flapping", "0.3");
}

}  // namespace vela::vlgim::tools
