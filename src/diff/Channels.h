#pragma once

#include "Comparer.h"

// Key times, channels and tracks, which meshes and animations have alike.
namespace vela::vlgim::diff {

struct Times {
    const float* data = nullptr;
    unsigned count = 0;
};

Times TimesOf(const vlKeyTimes& times);

/// Returns whether they are the same.
bool CompareTimes(Comparer& out, Times a, Times b);

/// Compares the channels of two containers, whose times name the keys; of components that have a key for each time on
/// both sides, only those of as many.
void CompareChannels(Comparer& out, const vlTransKeysData& a, const vlTransKeysData& b, Times timesA,
                     Times timesB);

/// All but the version.
void CompareTracks(Comparer& out, const vlTrackData& a, const vlTrackData& b);

}  // namespace vela::vlgim::diff
