#include "demo/MeshBuilder.h"
#include "demo/Models.h"
#include "demo/Parts.h"

#include <cmath>
#include <iterator>

namespace vela::vlgim::tools {

namespace {

constexpr Vector3 kHinge{-0.5F, 0, 2};

void BuildMesh(vlMeshData& mesh)
{
    MeshBuilder house;
    house.BeginSubmesh(2, false);
    house.Box({-3, 0, -2}, {3, 3, 2});
    house.Face({{3, 3, 2}, {3, 3, -2}, {3, 5, 0}});
    house.Face({{-3, 3, -2}, {-3, 3, 2}, {-3, 5, 0}});
    house.Box({1.5F, 3.5F, -1.25F}, {2, 5.5F, -0.75F});  // chimney

    house.BeginSubmesh(1, true);
    house.Face({{-3.5F, 2.75F, 2.25F}, {3.5F, 2.75F, 2.25F}, {3.5F, 5, 0}, {-3.5F, 5, 0}}, 0xFF3030B0);
    house.Face({{3.5F, 2.75F, -2.25F}, {-3.5F, 2.75F, -2.25F}, {-3.5F, 5, 0}, {3.5F, 5, 0}},
               0xFF306050);  // mossy

    house.BeginSubmesh(1, false);
    house.Box(kHinge, {0.5F, 2, 2.0625F});
    house.Fill(mesh);
}

vlTrackData Track(const char* name, const vlTransKeysData& channel, unsigned length)
{
    vlTrackData track;
    track.m_name = Name32(name);
    track.m_times.SetKeyTimes(channel.m_keyCount, length);
    track.m_channelCount = 1;
    track.m_channels = Array<vlTransKeysData>(1);
    track.m_channels[0] = channel;
    return track;
}

// Turns about the hinge. A transform turns about the model's origin, so its position makes up for the difference:
// hinge minus turned hinge.
vlTransKeysData Swing()
{
    constexpr float angles[] = {0, -0.6F, -1.2F, -1.4F, -0.7F, 0};  // radians about y; outwards
    constexpr auto keyCount = static_cast<unsigned short>(std::size(angles));
    vlTransKeysData channel = RestingChannel(keyCount, true, true);
    float* position = channel.m_pos.get();
    float* rotation = channel.m_rot.get();
    for (const float angle : angles) {
        const float sine = std::sin(angle), cosine = std::cos(angle);
        position[0] = kHinge.x - (cosine * kHinge.x + sine * kHinge.z);
        position[2] = kHinge.z - (cosine * kHinge.z - sine * kHinge.x);
        rotation[1] = std::sin(angle / 2);
        rotation[3] = std::cos(angle / 2);
        position += 3;
        rotation += 4;
    }
    return channel;
}

}  // namespace

void BuildHouse(GimData& model)
{
    vlMeshData& mesh = model.m_mesh;
    BuildMesh(mesh);
    mesh.m_hasTracks = 1;
    mesh.m_tracks = Array<vlTrackData>(3);
    mesh.m_tracks[0] = Track("walls", RestingChannel(1, false, false), 0);
    mesh.m_tracks[1] = Track("roof", RestingChannel(1, false, false), 0);
    mesh.m_tracks[2] = Track("door", Swing(), 60);

    BuildDocuments(
        model,
        {{"walls", "plaster", {{"Color", "0.9,0.86,0.78"}, {"Roughness", "0.9"}, {"Texture", "plaster.png"}}},
         {"roof", "tiles", {{"Color", "0.7,0.2,0.15"}, {"Roughness", "0.7"}, {"Texture", "tiles.png"}}},
         {"door", "oak", {{"Color", "0.35,0.22,0.1"}, {"Gloss", "0.4"}}}},
        "door_creak", "0.8");
}

}  // namespace vela::vlgim::tools
