#pragma once

#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlTrackData.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// What objects hold in memory, for comparisons. To take an image reads every array, so it also shows the sanitizers
// an array that is gone or too short.
namespace vela::vlgim::fuzz {

/// How far a number may be from where it was before it went through a file.
struct Step {
    float absolute = 0;
    float relative = 0;

    bool IsExact() const { return absolute == 0 && relative == 0; }
};

/// Keys of one component.
struct Component {
    bool keyed = false;
    std::uint32_t width = 3;    ///< floats of a key
    std::vector<float> floats;  ///< empty for a null array
    Step step;                  ///< of the form that it takes in a file
    bool isQuaternion = false;  ///< in a form that stores it up to its sign
};

struct Image {
    struct Value {
        const char* name;
        std::uint64_t size;
        std::size_t hash;
        bool isSetByWriting;  ///< worked out anew by a write
    };

    std::vector<Value> values;                       ///< bit for bit
    std::vector<std::array<Component, 3>> channels;  ///< position, rotation, scale
    std::vector<float> tickTimes;                    ///< that a file holds as integers

    /// Whether what is written is the same from the first write on. Otherwise there are rotations in a small form,
    /// or ticks where one and the same float stands for several.
    bool IsStable() const;
    bool HasLooseTicks() const;
};

Image ImageOf(const vlMeshData& mesh);
Image ImageOf(const vlAnimData& anim);
Image ImageOf(const vlTrackData& track);

/// Fails unless `after`, which was read from a file of `before`, is the same, but for the steps of small forms.
void ExpectSame(const Image& before, const Image& after, const char* what);

/// Fails unless a write has changed no more than it may: components whose keys are all alike collapse to one key,
/// packed quaternions change their signs, and masks and flags are brought up to date.
void ExpectKept(const Image& before, const Image& after);

}  // namespace vela::vlgim::fuzz
