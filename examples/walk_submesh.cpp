#include <cstdio>
#include <vlgim/GimData.h>

using namespace vela::vlgim;

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : "model.gim";
    GimData model;
    if (const Error error = Load(model, path)) {
        std::fprintf(stderr, "%s\n", error.Message().c_str());
        return 1;
    }
    const vlMeshVertexData& mesh = *model.m_mesh.m_vertexData;
    for (std::size_t i = 0; i < model.m_submeshes.size(); ++i) {
        const SubmeshRecord& part = mesh.m_subRecords[i];
        std::printf("%s: %u vertices", model.m_submeshes[i].name.c_str(), part.vertexCount);
        for (std::uint32_t v = 0; v < part.vertexCount && part.firstVertex + v < mesh.m_vertexCount; ++v) {
            const auto& p = mesh.m_positions[part.firstVertex + v];
            std::printf(" (%g, %g, %g)", p.x, p.y, p.z);
        }
        std::printf("\n");
    }
}
