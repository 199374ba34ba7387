#include <vlgim/vlKeyTimes.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <utility>
#include <vector>

namespace vela::vlgim {

namespace {

using Floats = std::vector<float>;
using Doubles = std::vector<double>;

constexpr float kUntouched = 7.0F;

vlKeyTimes Keys(const Floats& times)
{
    vlKeyTimes list;
    list.SetKeyTimes(times.data(), static_cast<unsigned short>(times.size()));
    return list;
}

// All entries, the trailing time too, and the length behind them.
Doubles State(const vlKeyTimes& list)
{
    Doubles state;
    for (unsigned i = 0; list.GetKeyTimes() && i <= list.GetKeyCount(); ++i)
        state.push_back(static_cast<double>(list.GetKeyTime(static_cast<unsigned short>(i))));
    state.push_back(list.GetLength());
    return state;
}

// The same of keys whose length is the last one's time.
Doubles StateOf(const Floats& keys)
{
    Doubles state(keys.begin(), keys.end());
    state.insert(state.end(), {2 * state.back(), state.back()});
    return state;
}

// What both searches find from every start; a start without a key finds nothing.
void ExpectFound(const vlKeyTimes& list, float time, unsigned short key, float fraction)
{
    for (const unsigned short start : std::vector<unsigned short>{0, 1, 2, 3, 65535}) {
        const bool valid = start < list.GetKeyCount();
        const std::pair expected(valid ? key : 0, valid ? fraction : kUntouched);
        for (const auto search : {&vlKeyTimes::GetKeyIndex, &vlKeyTimes::GetKeyIndexRvs}) {
            float found = kUntouched;
            const int at = (list.*search)(time, start, &found);
            EXPECT_EQ(std::pair(at, found), expected) << time << " from " << start;
        }
    }
}

}  // namespace

TEST(vlKeyTimes, Searches)
{
    const float last = std::nextafter(4.0F, 0.0F);
    const std::tuple<float, unsigned short, float, unsigned short> cases[] = {
        // Time; key, fraction, the nearest key.
        {-0.0F, 0, 0, 0},
        {0.5F, 0, 0.5F, 0},
        {0.6F, 0, 0.6F, 1},
        {1, 1, 0, 1},
        {3, 2, 0.5F, 2},
        {last, 2, (last - 2) / 2, 3},
        {-1, 0, kUntouched, 65535},
        {4, 0, kUntouched, 65535},
        {NAN, 0, kUntouched, 65535}};
    for (const auto& [time, key, fraction, nearest] : cases) {
        ExpectFound(Keys({0, 1, 2}), time, key, fraction);
        EXPECT_EQ(Keys({0, 1, 2}).GetKeyIndexBetween(time), nearest) << time;
    }
    ExpectFound(Keys({3}), 4, 0, 1.0F / 3);
    ExpectFound(Keys({0}), 0, 0, kUntouched);
    ExpectFound(Keys({}), 0, 0, kUntouched);
    // Where several intervals hold a time, start and direction decide.
    const vlKeyTimes wild = Keys({0, 2, 0, 2, NAN, 5});
    EXPECT_EQ(wild.GetKeyIndex(1, 1, nullptr), 2);
    EXPECT_EQ(wild.GetKeyIndexRvs(1, 1, nullptr), 0);
    EXPECT_EQ(wild.GetKeyIndex(1, 3, nullptr), 0);
    EXPECT_EQ(wild.GetKeyIndexRvs(1, 5, nullptr), 2);
}

TEST(vlKeyTimes, AddsAndMovesKeys)
{
    // By less and by more than a millionth of the interval.
    const float near = 1 + 0x1p-20F, off = 1 + 0x1p-19F;
    const float gap = std::bit_cast<float>(0x3C888889U);
    vlKeyTimes list = Keys({0, 1, 2});
    for (const float time : {std::nextafter(1.0F, 0.0F), near, -1.0F, NAN})
        EXPECT_FALSE(list.AddKeyTime(time)) << time;
    for (const auto& [index, time] :
         {std::pair<unsigned short, float>(0, 0), {1, std::nextafter(gap, 0.0F)}, {1, 2}, {3, 5}})
        EXPECT_FALSE(list.SetKeyTime(index, time)) << index << " to " << time;
    EXPECT_EQ(State(list), StateOf({0, 1, 2}));
    EXPECT_FALSE(Keys({}).AddKeyTime(NAN));
    const std::tuple<Floats, unsigned short, float, Floats> cases[] = {
        // Before; the key that moves, or 0 for one that is added; its time; after.
        {{0, 1, 2}, 0, off, {0, 1, off, 2}},      {{0, 1, 2}, 0, 3, {0, 1, 2, 3}},
        {{0, 1, 2}, 0, 5, {0, 1, 2, 5}},          {{}, 0, -3, {-3}},
        {{-2, -1}, 0, -0.5F, {-2, -1, -0.5F}},    {{0, 1, 2}, 1, gap, {0, gap, 2}},
        {{0, 1, 2}, 1, 2 - gap, {0, 2 - gap, 2}}, {{0, 1, 2}, 2, 10, {0, 1, 10}}};
    for (const auto& [before, index, time, after] : cases) {
        list = Keys(before);
        EXPECT_TRUE(index ? list.SetKeyTime(index, time) : list.AddKeyTime(time)) << time;
        EXPECT_EQ(State(list), StateOf(after)) << time;
    }
    vlKeyTimes full;
    full.SetKeyTimes(65535, 65534);
    EXPECT_FALSE(full.AddKeyTime(100000));
    EXPECT_EQ(full.GetKeyIndexRvs(65534, 0, nullptr), 65534);
    EXPECT_TRUE(full.RemoveKeyTime(65534) && full.AddKeyTime(100000));
}

TEST(vlKeyTimes, RemovesKeysAndMovesAllBehind)
{
    vlKeyTimes list = Keys({0, 1, 2, 3});
    EXPECT_FALSE(list.RemoveKeyTime(0) || list.RemoveKeyTime(4));
    EXPECT_TRUE(list.RemoveKeyTime(1));
    EXPECT_EQ(State(list), StateOf({0, 2, 3}));
    EXPECT_TRUE(list.RemoveKeyTime(2));
    EXPECT_FALSE(list.RemoveKeyTime(1)) << "two are the least";
    EXPECT_EQ(State(list), StateOf({0, 2}));

    list = Keys({0, 1, 2, 5});
    list.SetKeysTime(0, 2, 0);
    list.SetKeysTime(2, 2, 1);
    list.SetKeysTime(0, 4, 1);
    EXPECT_EQ(State(list), StateOf({0, 1, 2, 5}));
    list.SetKeysTime(1, 2, 3);
    EXPECT_EQ(State(list), StateOf({0, 1, 4, 7}));
    list.SetKeysTime(0, 2, 0.5F);
    EXPECT_EQ(State(list), StateOf({0, 1, 0.5F, 3.5F}));

    list = Keys({0, 1, 0x1p24F});
    list.SetKeysTime(0, 1, 2);
    EXPECT_EQ(list.GetKeyTime(2), 0x1p24F) << "the next float is 2 away";
    EXPECT_EQ(list.GetLength(), 0x1p24 + 1);
    EXPECT_EQ(list.GetKeyTime(3), 0x1p25F + 2);
}

TEST(vlKeyTimes, SetKeys)
{
    vlKeyTimes list;
    list.SetKeyTimes(3, 100);
    EXPECT_EQ(State(list), StateOf({0, 50, 100}));
    list.SetKeyTimes(1, 7);
    EXPECT_EQ(State(list), StateOf({7}));
    list.SetKeyTimes(static_cast<unsigned short>(0), 5);
    EXPECT_EQ(State(list), (Doubles{10, 5}));
    // 2^24 + 1 is no float: the length stays exact, and the steps are rounded once.
    list.SetKeyTimes(4, 16777217);
    EXPECT_EQ(State(list), (Doubles{0, 5592405.5, 11184811, 0x1p24, 0x1p25, 16777217}));

    const unsigned int integers[] = {7, 10, 0xFFFFFFFF};
    list.SetKeyTimes(integers, 3);
    EXPECT_EQ(State(list), StateOf({0, 10, 0x1p32F}));
    list = Keys({7, 10});
    list.SetKeyTimes(list.GetKeyTimes(), 3);  // from its own array, which is too short to stay
    EXPECT_EQ(State(list), StateOf({7, 10, 20}));
    list.SetKeyTimes(list.GetKeyTimes() + 1, 1);
    EXPECT_EQ(State(list), StateOf({10}));
    list.SetKeyTimes(static_cast<const float*>(nullptr), 0);
    EXPECT_EQ(State(list), (Doubles{0, 0}));
}

template <class Length>
concept IsLength = requires(vlKeyTimes list, Length length)
{
    list.SetKeyTimes(3, length);
};

TEST(vlKeyTimes, LengthsAreIntegersAndWhatWasMovedIsEmpty)
{
    static_assert(IsLength<int> && IsLength<unsigned long> && !IsLength<float> && !IsLength<double>);
    vlKeyTimes list;
    list.SetKeyTimes(0, 5);
    EXPECT_EQ(std::tuple(list.GetKeyCount(), list.GetLength()), std::tuple(0, 5.0));
    list.SetKeyTimes(3, 350);
    const vlKeyTimes moved = std::move(list);
    EXPECT_EQ(State(list), State(vlKeyTimes()));
    list = moved;
    vlKeyTimes& same = list;
    list = std::move(same);
    EXPECT_EQ(State(list), StateOf({0, 175, 350}));
}

TEST(vlKeyTimes, Equality)
{
    EXPECT_TRUE(Keys({0, 1}) == Keys({0, 1 + 0x1p-23F}));
    EXPECT_FALSE(Keys({0, 1 + 0x1p-22F}) == Keys({0, 1}));
    EXPECT_TRUE(Keys({0, 1}) == Keys({0, 1, 2}));
    EXPECT_FALSE(Keys({0, 1, 2}) == Keys({0, 1}));
    EXPECT_TRUE(Keys({NAN}) == Keys({1}));
}

TEST(vlKeyTimes, CopiesAndNullArrays)
{
    vlKeyTimes list = Keys({0, 1, 2});
    list.m_times[3] = 5;  // a copy takes over, it works nothing out
    vlKeyTimes copy = list;
    copy.ScaleKeyTimes(2);
    EXPECT_EQ(State(copy), StateOf({0, 2, 4}));
    EXPECT_EQ(State(list), (Doubles{0, 1, 2, 5, 2}));
    EXPECT_EQ(State(vlKeyTimes(list)), State(list));

    list.ClearTimes();
    copy = list;
    EXPECT_EQ(std::tuple(copy.GetKeyCount(), State(copy)), std::tuple(3, Doubles{2}));
    ExpectFound(copy, 0.5F, 0, kUntouched);
    EXPECT_EQ(copy.GetKeyIndexBetween(0), 0xFFFF);
    EXPECT_TRUE(copy == Keys({}) && !(Keys({1}) == copy));
    EXPECT_FALSE(copy.RemoveKeyTime(1) || copy.SetKeyTime(1, 5));
    copy.SetKeysTime(0, 1, 5);
    copy.ScaleKeyTimes(2);
    EXPECT_EQ(State(copy), Doubles{2});
    EXPECT_TRUE(copy.AddKeyTime(4));
    EXPECT_EQ(State(copy), StateOf({4}));
}

}  // namespace vela::vlgim
