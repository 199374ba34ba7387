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
        for (std::uint32_t v = part.firstVertex; v < part.firstVertex + part.vertexCount; ++v)
            std::printf(" (%g, %g, %g)", mesh.m_positions[v].x, mesh.m_positions[v].y, mesh.m_positions[v].z);
        std::printf("\n");
    }
}
