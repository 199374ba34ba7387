#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/Differences.h>

#include <span>
#include <stdexcept>

namespace vela::vlgim::test {

namespace {

// Calls visit(array) for each array that a write needs.
template <class Visit>
void ForEachArray(vlMeshData& mesh, Visit visit)
{
    auto& vertices = dynamic_cast<vlMeshSkelVertexData&>(*mesh.m_vertexData);
    vlOriginalData& original = *mesh.m_originalData[0];
    visit(mesh.m_tracks), visit(mesh.m_boneNames), visit(mesh.m_boneBounds), visit(mesh.m_boneMatrices);
    vlTrackData& track = mesh.m_tracks[0];  // of the array that the visit left
    visit(vertices.m_subRecords), visit(vertices.m_positions), visit(vertices.m_normals);
    visit(vertices.m_indices), visit(vertices.m_colors), visit(vertices.m_boneIndices);
    visit(vertices.m_boneWeights), visit(original.m_origPositions), visit(original.m_origIndices);
    visit(original.m_origExtra), visit(original.m_origBones), visit(original.m_origWeights);
    visit(mesh.m_morph->m_times.m_times), visit(track.m_times.m_times), visit(track.m_channels);
    vlTransKeysData& keys = track.m_channels[0];
    visit(keys.m_pos), visit(keys.m_rot), visit(keys.m_scale);
}

template <class Visit>
void ForEachArray(vlAnimData& anim, Visit visit)
{
    vlClipData& clip = *anim.m_clips[0];
    visit(anim.m_boneNames), visit(anim.m_boneTrans), visit(clip.m_boneNames), visit(clip.m_keys);
    clip.m_keyTimes ? visit(clip.m_keyTimes->m_times) : visit(clip.m_boneKeyTimes[0]);
    visit(clip.m_keys[0].m_pos), visit(clip.m_keys[0].m_rot), visit(clip.m_keys[0].m_scale);
}

void Query(const vlKeyTimes& times, const Array<vlTransKeysData>& channels)
{
    static_cast<void>(times.GetKeyIndex(1, 1, nullptr) + times.GetKeyIndexRvs(1, 1, nullptr) +
                      times.GetKeyIndexBetween(1));
    vlKeyTimes copy = times;
    copy.ScaleKeyTimes(2), copy.SetKeysTime(0, 1, 5);
    static_cast<void>(copy.AddKeyTime(99) && copy.RemoveKeyTime(1));
    EXPECT_EQ(times == times, true);
    vlTransInfo key;
    for (const vlTransKeysData& channel : channels)
        channel.GetKeyPRS(1, &key.m_pos, &key.m_rot, &key.m_scale);
}

void Query(vlMeshData& mesh)
{
    Geometry().Collect(mesh);
    Skin skin;
    EXPECT_TRUE(skin.Collect(mesh) ? skin.bones.size() == skin.weights.size() : skin.bones.empty());
    std::uint32_t start = 0, count = 0;
    mesh.GetSubIBInfo(start, count, 1), mesh.GetSubVBInfo(start, count, 1);
    Query(mesh.m_morph->m_times, {});
    for (const vlTrackData& track : mesh.m_tracks)
        Query(track.m_times, track.m_channels);
}

void Query(vlAnimData& anim)
{
    const vlClipData& clip = *anim.m_clips[0];
    Query(clip.m_keyTimes ? *clip.m_keyTimes : vlKeyTimes(), clip.m_keys);
    anim.ConvertToDelta(), anim.ConvertFromDelta();
}

// Shortens each array in turn: the writer refuses it, and what else looks at it stays inside.
template <class Make>
void ExpectRefusedWhenShort(Make make, int arrays)
{
    const auto whole = make();
    for (int which = 0; which < arrays; ++which) {
        SCOPED_TRACE(which);
        auto object = make();
        int count = 0;
        ForEachArray(object, [&](auto& array) {
            using T = typename std::remove_reference_t<decltype(array)>::value_type;
            if (count++ == which)
                array = std::vector<T>(array.begin(), array.end() - 1);
        });
        EXPECT_EQ(count, arrays);
        const LogCapture log;
        EXPECT_TRUE(Save(object, "/dev/full").text.find(" have ") != std::string::npos);
        EXPECT_EQ(Compare(object, whole).size(), Compare(whole, object).size());
        Query(object);
        EXPECT_EQ(log.lines, Lines{});
    }
}

}  // namespace

TEST(Array, CopiesShareAndClonesDoNot)
{
    const Array<int> arrays[] = {
        nullptr, Array<int>(std::size_t{0}), Array<int>(3), Array<int>(2, 7), {1, 2}, std::vector{3}};
    const std::vector<int> values[] = {{}, {}, {0, 0, 0}, {7, 7}, {1, 2}, {3}};
    for (std::size_t i = 0; i < std::size(arrays); ++i) {
        const Array<int>& array = arrays[i];
        const Array<int> copy = array, clone = array.Clone();
        const std::span<const int> span = array;
        EXPECT_EQ(std::vector(span.begin(), span.end()), values[i]);
        EXPECT_EQ(std::vector(clone.begin(), clone.end()), values[i]);
        EXPECT_EQ(std::tuple(array.size(), array.empty(), bool(array), span.data()),
                  std::tuple(values[i].size(), values[i].empty(), i != 0, copy.data()));
        EXPECT_TRUE(copy == array && (clone == array) == !array);
    }
    Array<std::string> names{"a long name that has memory of its own", "b"};
    Array<std::string> shown = names;
    const Array<std::string> own = names.Clone(), moved = std::move(names);
    shown[1] = "c";
    shown = *&shown;
    EXPECT_EQ(moved[1] + own[1] + shown[1], "cbc");
    EXPECT_TRUE(names == nullptr && names.size() == 0 && names.begin() == names.end());
    EXPECT_THROW(Array<double>(std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
}

TEST(Array, ARefusedLengthIsReadByNobody)
{
    ExpectRefusedWhenShort([] { return MeshFrom(MeshOf(0x50004, {1, true, true, true})); }, 22);
    ExpectRefusedWhenShort([] { return AnimationFrom(TwoClips(0)); }, 8);
    ExpectRefusedWhenShort([] { return AnimationFrom(TwoClips(1)); }, 8);
}

TEST(Name32, HoldsThirtyTwoBytes)
{
    for (const std::size_t size : {0U, 31U, 32U, 33U}) {
        const std::string text(size, 'n');
        Name32 name("an older text");
        EXPECT_EQ(name.Set(text), size <= 32);
        EXPECT_EQ(name, size <= 32 ? text : "an older text");
    }
    EXPECT_THROW(Name32(std::string(33, 'n')), std::length_error);
    Name32 name("walk");
    EXPECT_FALSE(name.Set(std::string_view("a\0b", 3)));
    name.bytes[5] = 'x';
    EXPECT_TRUE(name == Name32("walk") && name == "walk" && name != Name32("walks"));
    EXPECT_TRUE(name.Set("w"));
    EXPECT_EQ(std::string(name.bytes, 32), "w" + std::string(31, '\0'));
}

}  // namespace vela::vlgim::test
