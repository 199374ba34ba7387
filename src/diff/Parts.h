#pragma once

#include "Comparer.h"

// What several comparisons have alike, and what the public ones are made of.
namespace vela::vlgim::diff {

/// The times of the keys alone.
Run<float> TimesOf(const vlKeyTimes& times);

/// Returns whether they are the same.
bool CompareTimes(const Comparer& out, Run<float> a, Run<float> b);

/// Compares the channels of two containers, whose times name the keys; of components that have a key for each time on
/// both sides, only those of as many.
void CompareChannels(const Comparer& out, const vlTransKeysData& a, const vlTransKeysData& b,
                     Run<float> timesA, Run<float> timesB);

/// All but the version.
void CompareTracks(const Comparer& out, const vlTrackData& a, const vlTrackData& b);

/// names  of the submeshes, for those that have one
void CompareMeshes(const Comparer& out, const vlMeshData& a, const vlMeshData& b,
                   const std::vector<SubmeshMessage>& names);

/// As in "submesh 'roof'", or "submesh 1" where it has no name.
std::string SubmeshText(std::size_t index, const std::vector<SubmeshMessage>& names);

/// Names the first place where two documents differ.
void CompareDocuments(const Comparer& out, std::string_view field, const vlio::XmlData& a,
                      const vlio::XmlData& b);

void CompareAnimations(const Comparer& out, const vlAnimData& a, const vlAnimData& b);
void CompareModels(const Comparer& out, const GimData& a, const GimData& b);

}  // namespace vela::vlgim::diff
