#pragma once

#include <vlgim/vlAnimData.h>

#include <cstddef>
#include <cstdint>
#include <vector>

// Models and animations of any size.
namespace vela::vlgim::bench {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kVertexBytes = 48;  // position, normal, tangent, one uv set, colour
constexpr std::uint32_t k26MB = 541'600;  // vertices
constexpr std::uint32_t k131KB = 2'730;
constexpr std::uint16_t kClipBones = 60;
constexpr std::uint16_t kClipKeys = 30;

/// A .mesh file of one submesh; with `half`, positions and uvs are half floats.
Bytes MeshImage(std::uint32_t vertices, bool half);

/// Bytes of each array that a mesh of so many vertices has.
std::vector<std::size_t> MeshArrays(std::uint32_t vertices);

/// Rotations of a bone that tumbles: signs and the largest component change from time to time, as in a real clip.
/// Every 30 keys another bone begins.
std::vector<float> Tumble(std::size_t keys);

/// A channel whose components all move, of kClipKeys keys.
vlTransKeysData Channel(unsigned char form);

/// Clips of kClipBones bones, kClipKeys keys each.
vlAnimData Animation(unsigned clips, unsigned char form);
Bytes AnimImage(unsigned clips, unsigned char form);

/// Bytes of the floats of all channels, and of a clip's times.
constexpr std::size_t kChannelBytes = std::size_t{kClipKeys} * (3 + 4 + 3) * sizeof(float);
constexpr std::size_t kClipBytes = kClipBones * kChannelBytes + (kClipKeys + 1) * sizeof(float);

}  // namespace vela::vlgim::bench
