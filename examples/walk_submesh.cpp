#include <cstdio>
#include <vlgim/GimData.h>

int main(int argc, char** argv)
{
    vela::vlgim::GimData model;
    if (argc < 2 || model.Load(argv[1]) != 0)
        return 1;  // the log has said why
    const auto& mesh = *model.m_mesh.m_vertexData;
    for (std::uint32_t i = 0; i < mesh.m_subCount; ++i) {
        const auto& part = mesh.m_subRecords[i];
        std::printf("%s: %u vertices", model.GetSubmesh(int(i)).name.c_str(), part.vertexCount);
        for (std::uint32_t v = 0; v < part.vertexCount && part.firstVertex + v < mesh.m_vertexCount; ++v) {
            const auto& p = mesh.m_positions[part.firstVertex + v];
            std::printf(" (%g, %g, %g)", p.x, p.y, p.z);
        }
        std::printf("\n");
    }
}
