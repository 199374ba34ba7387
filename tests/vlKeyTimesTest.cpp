#include <vlgim/vlKeyTimes.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

using namespace vela::vlgim;
using Floats = std::vector<float>;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kUntouched = 7.0F;

vlKeyTimes Keys(const Floats& times)
{
    vlKeyTimes list;
    list.SetKeyTimes(times.data(), static_cast<unsigned short>(times.size()));
    return list;
}

std::uint32_t Bits(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

// All entries, the trailing time too, on bits, and the length.
void ExpectList(const vlKeyTimes& list, const Floats& entries, double length)
{
    SCOPED_TRACE(testing::PrintToString(entries));
    ASSERT_EQ(list.GetKeyCount() + 1U, entries.size());
    for (unsigned short i = 0; i < entries.size(); ++i)
        EXPECT_EQ(Bits(list.GetKeyTime(i)), Bits(entries[i])) << i;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(list.GetLength()), std::bit_cast<std::uint64_t>(length));
}

// The same where the length is the last key's time.
void ExpectList(const vlKeyTimes& list, const Floats& entries)
{
    ExpectList(list, entries, entries[entries.size() - 2]);
}

// What both searches find from every start; a start without a key finds nothing.
void ExpectFound(const vlKeyTimes& list, float time, unsigned short key, float fraction)
{
    for (const unsigned start : {0U, 1U, 2U, 3U, 65534U, 65535U}) {
        const bool valid = start < list.GetKeyCount();
        const auto from = static_cast<unsigned short>(start);
        float forward = kUntouched, backward = kUntouched;
        EXPECT_EQ(list.GetKeyIndex(time, from, &forward), valid ? key : 0) << time << " from " << start;
        EXPECT_EQ(list.GetKeyIndexRvs(time, from, &backward), valid ? key : 0) << time << " from " << start;
        EXPECT_EQ(Bits(forward), Bits(valid ? fraction : kUntouched)) << time << " from " << start;
        EXPECT_EQ(Bits(backward), Bits(forward)) << time << " from " << start;
    }
}

}  // namespace

TEST(vlKeyTimes, Searches)
{
    const float last = std::nextafter(4.0F, 0.0F);
    const struct {
        float time;
        unsigned short key;
        float fraction;
        unsigned short nearest;
    } cases[] = {{-0.0F, 0, -0.0F, 0},
                 {0.5F, 0, 0.5F, 0},
                 {0.6F, 0, 0.6F, 1},
                 {1, 1, 0, 1},
                 {2, 2, 0, 2},
                 {2.9F, 2, (2.9F - 2) / 2, 2},
                 {3, 2, 0.5F, 2},
                 {3.5F, 2, 0.75F, 3},
                 {last, 2, (last - 2) / 2, 3},
                 {4, 0, kUntouched, 65535},
                 {-1, 0, kUntouched, 65535},
                 {kNan, 0, kUntouched, 65535}};
    for (const auto& c : cases) {
        ExpectFound(Keys({0, 1, 2}), c.time, c.key, c.fraction);
        EXPECT_EQ(Keys({0, 1, 2}).GetKeyIndexBetween(c.time), c.nearest) << c.time;
    }
    ExpectFound(Keys({3}), 4, 0, 1.0F / 3);
    ExpectFound(Keys({0}), 0, 0, kUntouched);
    ExpectFound(Keys({}), 0, 0, kUntouched);
    // Where several intervals hold a time, start and direction decide.
    const vlKeyTimes wild = Keys({0, 2, 0, 2, kNan, 5});
    EXPECT_EQ(wild.GetKeyIndex(1, 1, nullptr), 2);
    EXPECT_EQ(wild.GetKeyIndexRvs(1, 1, nullptr), 0);
    EXPECT_EQ(wild.GetKeyIndex(1, 3, nullptr), 0);
    EXPECT_EQ(wild.GetKeyIndexRvs(1, 5, nullptr), 2);
}

TEST(vlKeyTimes, AddKey)
{
    const float near = 1 + 0x1p-20F;  // less than a millionth of the interval away
    const float off = 1 + 0x1p-19F;
    const struct {
        Floats before;
        float time;
        Floats after;  // empty: refused
    } cases[] = {{{0, 1, 2}, 1, {}},
                 {{0, 1, 2}, std::nextafter(1.0F, 0.0F), {}},
                 {{0, 1, 2}, near, {}},
                 {{0, 1, 2}, off, {0, 1, off, 2, 4}},
                 {{0, 1, 2}, 0.5F, {0, 0.5F, 1, 2, 4}},
                 {{0, 1, 2}, 3, {0, 1, 2, 3, 6}},
                 {{0, 1, 2}, 5, {0, 1, 2, 5, 10}},
                 {{0, 1, 2}, -1, {}},
                 {{0, 1, 2}, kNan, {}},
                 {{}, kNan, {}},
                 {{}, -3, {-3, -6}},
                 {{-2, -1}, -0.5F, {-2, -1, -0.5F, -1}},
                 {{0, 5, 1}, 3, {0, 5, 1, 3, 6}},  // the length decides, whatever the order
                 {{0}, 0, {0, 0, 0}}};             // the interval of a key at 0 is empty: nothing holds 0
    for (const auto& c : cases) {
        vlKeyTimes list = Keys(c.before);
        const vlKeyTimes copy = list;
        EXPECT_EQ(list.AddKeyTime(c.time), !c.after.empty()) << testing::PrintToString(c.before) << c.time;
        if (!c.after.empty())
            ExpectList(list, c.after);
        else
            EXPECT_TRUE(list.GetKeyCount() == copy.GetKeyCount() && list == copy);
    }
    vlKeyTimes full;
    full.SetKeyTimes(65535, 65534);
    EXPECT_FALSE(full.AddKeyTime(100000));
    EXPECT_EQ(full.GetKeyIndexRvs(65534, 0, nullptr), 65534);
    EXPECT_TRUE(full.RemoveKeyTime(65534));
    EXPECT_TRUE(full.AddKeyTime(100000));
}

TEST(vlKeyTimes, RemoveAndMoveKeys)
{
    vlKeyTimes list = Keys({0, 1, 2, 3});
    EXPECT_FALSE(list.RemoveKeyTime(0));
    EXPECT_FALSE(list.RemoveKeyTime(4));
    EXPECT_TRUE(list.RemoveKeyTime(1));
    ExpectList(list, {0, 2, 3, 6});
    EXPECT_TRUE(list.RemoveKeyTime(2));
    EXPECT_FALSE(list.RemoveKeyTime(1)) << "two are the least";
    ExpectList(list, {0, 2, 4});

    const float gap = std::bit_cast<float>(0x3C888889U);
    const struct {
        unsigned short index;
        float time;
        Floats after;
    } cases[] = {{1, gap, {0, gap, 2, 4}},
                 {1, std::nextafter(gap, 0.0F), {}},
                 {1, 2, {}},
                 {1, 2 - gap, {0, 2 - gap, 2, 4}},
                 {0, 0, {}},
                 {3, 5, {}},
                 {2, 1, {}},
                 {2, 10, {0, 1, 10, 20}}};
    for (const auto& c : cases) {
        list = Keys({0, 1, 2});
        EXPECT_EQ(list.SetKeyTime(c.index, c.time), !c.after.empty()) << c.index << " to " << c.time;
        ExpectList(list, c.after.empty() ? Floats{0, 1, 2, 4} : c.after);
    }
}

TEST(vlKeyTimes, MoveKeysBehind)
{
    const struct {
        unsigned short first, last;
        float span;
        Floats after;
    } cases[] = {{0, 2, 3, {0, 1, 3, 6, 12}}, {0, 2, 0.5F, {0, 1, 0.5F, 3.5F, 7}},
                 {0, 2, 0, {0, 1, 2, 5, 10}}, {2, 2, 1, {0, 1, 2, 5, 10}},
                 {0, 4, 1, {0, 1, 2, 5, 10}}, {1, 2, 0.5F, {0, 1, 1.5F, 4.5F, 9}}};
    for (const auto& c : cases) {
        vlKeyTimes list = Keys({0, 1, 2, 5});
        list.SetKeysTime(c.first, c.last, c.span);
        ExpectList(list, c.after);
    }
    // The length takes the float difference in double and keeps what the float keys round away.
    vlKeyTimes fine = Keys({0, 0.3F, 1000});
    fine.SetKeysTime(0, 1, 0.4F);
    const float delta = 0.4F - 0.3F;
    const double length = 1000 + static_cast<double>(delta);
    ExpectList(fine, {0, 0.3F + delta, 1000 + delta, static_cast<float>(2 * length)}, length);
}

TEST(vlKeyTimes, SetKeys)
{
    vlKeyTimes list;
    list.SetKeyTimes(3, 100);
    ExpectList(list, {0, 50, 100, 200});
    list.SetKeyTimes(1, 7);
    ExpectList(list, {7, 14});
    list.SetKeyTimes(static_cast<unsigned short>(0), 5);
    ExpectList(list, {10}, 5);
    // 2^24 + 1 is no float: the length stays exact, and the steps are rounded once.
    list.SetKeyTimes(4, 16777217);
    const double step = 16777217.0 / 3;
    ExpectList(list, {0, static_cast<float>(step), static_cast<float>(2 * step), 0x1p24F, 0x1p25F}, 16777217);

    const unsigned int integers[] = {7, 10, 0xFFFFFFFF};
    list.SetKeyTimes(integers, 3);
    ExpectList(list, {0, 10, 0x1p32F, 0x1p33F});
    const float floats[] = {7, 10};
    const float* array = list.GetKeyTimes();
    list.SetKeyTimes(floats, 2);
    EXPECT_EQ(list.GetKeyTimes(), array) << "it is long enough to stay";
    ExpectList(list, {7, 10, 20});
    list.SetKeyTimes(list.GetKeyTimes(), 3);  // from its own array, which is too short to stay
    ExpectList(list, {7, 10, 20, 40});
    list.SetKeyTimes(list.GetKeyTimes() + 1, 1);
    ExpectList(list, {10, 20});
    list.SetKeyTimes(static_cast<const float*>(nullptr), 0);
    list.ScaleKeyTimes(2);
    ExpectList(list, {0}, 0);
    list = Keys({0, 1, 0x1p127F});
    list.ScaleKeyTimes(2);
    ExpectList(list, {0, 2, kInf, kInf});
}

TEST(vlKeyTimes, Equality)
{
    const float step = 0x1p-23F;
    const struct {
        Floats left, right;
        bool equal;
    } cases[] = {{{0, 1}, {0, 1 + step}, true},
                 {{0, 1 + 2 * step}, {0, 1}, false},
                 {{0, 1}, {0, 1, 2}, true},
                 {{0, 1, 2}, {0, 1}, false},
                 {{}, {5}, true},
                 {{kNan}, {1}, true}};
    for (const auto& c : cases)
        EXPECT_EQ(Keys(c.left) == Keys(c.right), c.equal) << testing::PrintToString(c.left);
}

TEST(vlKeyTimes, CopiesAndNullArrays)
{
    vlKeyTimes list = Keys({0, 1, 2});
    vlKeyTimes copy = list;
    copy.ScaleKeyTimes(2);
    ExpectList(list, {0, 1, 2, 4});
    const vlKeyTimes& self = copy;
    copy = self;
    ExpectList(copy, {0, 2, 4, 8});
    list.m_times[3] = 5;  // a copy takes over, it works nothing out
    copy = list;
    ExpectList(copy, {0, 1, 2, 5});

    list.ClearTimes();
    copy = list;
    EXPECT_EQ(copy.GetKeyTimes(), nullptr);
    EXPECT_EQ(copy.GetKeyCount(), 3);
    EXPECT_EQ(copy.GetLength(), 2);
    float fraction = kUntouched;
    EXPECT_EQ(copy.GetKeyIndex(0.5F, 1, &fraction) + copy.GetKeyIndexRvs(0.5F, 1, &fraction), 0);
    EXPECT_EQ(fraction, kUntouched);
    EXPECT_EQ(copy.GetKeyIndexBetween(0), 0xFFFF);
    EXPECT_TRUE(copy == Keys({}));
    EXPECT_FALSE(Keys({1}) == copy);
    EXPECT_FALSE(list.RemoveKeyTime(1) || list.SetKeyTime(1, 5));
    list.SetKeysTime(0, 1, 5);
    list.ScaleKeyTimes(2);
    EXPECT_EQ(list.GetLength(), 2);
    EXPECT_TRUE(list.AddKeyTime(4));
    ExpectList(list, {4, 8});
    list.Clear();
    EXPECT_TRUE(list.GetKeyTimes() == nullptr && list.GetKeyCount() == 0 && list.GetLength() == 0);
}
