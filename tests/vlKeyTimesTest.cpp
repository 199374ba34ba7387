#include <vlgim/vlKeyTimes.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

using namespace vela::vlgim;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

vlKeyTimes Keys(const std::vector<float>& times)
{
    vlKeyTimes list;
    list.SetKeyTimes(times.data(), static_cast<unsigned short>(times.size()));
    return list;
}

std::vector<std::uint32_t> Bits(const std::vector<float>& values)
{
    std::vector<std::uint32_t> bits;
    for (const float v : values)
        bits.push_back(std::bit_cast<std::uint32_t>(v));
    return bits;
}

// All entries, the trailing time too, on bits, and the length.
void ExpectList(const vlKeyTimes& list, const std::vector<float>& entries, double length,
                const char* what = "")
{
    SCOPED_TRACE(what);
    ASSERT_EQ(list.GetKeyCount() + 1U, entries.size());
    ASSERT_NE(list.GetKeyTimes(), nullptr);
    EXPECT_EQ(Bits({list.GetKeyTimes(), list.GetKeyTimes() + entries.size()}), Bits(entries));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(list.GetLength()), std::bit_cast<std::uint64_t>(length));
}

// What both searches find from every start; a start without a key finds nothing.
void ExpectFound(const vlKeyTimes& list, float time, unsigned short key, float fraction)
{
    for (unsigned start = 0; start <= 65535; start += start < 5 ? 1 : 65530) {
        const bool valid = start < list.GetKeyCount();
        float forward = 7.0F;
        float backward = 7.0F;
        const auto from = static_cast<unsigned short>(start);
        EXPECT_EQ(list.GetKeyIndex(time, from, &forward), valid ? key : 0) << time << " from " << start;
        EXPECT_EQ(list.GetKeyIndexRvs(time, from, &backward), valid ? key : 0) << time << " from " << start;
        EXPECT_EQ(Bits({forward, backward}), Bits({valid ? fraction : 7.0F, valid ? fraction : 7.0F}))
            << time;
        EXPECT_EQ(list.GetKeyIndex(time, from, nullptr), valid ? key : 0);
    }
}

}  // namespace

TEST(vlKeyTimes, Searches)
{
    const vlKeyTimes list = Keys({0, 1, 2});
    constexpr float kUntouched = 7.0F;
    const struct {
        float time;
        unsigned short key;
        float fraction;
        unsigned short nearest;
    } cases[] = {
        {0.0F, 0, 0.0F, 0},
        {-0.0F, 0, -0.0F, 0},
        {0.5F, 0, 0.5F, 0},
        {0.6F, 0, 0.6F, 1},
        {1.0F, 1, 0.0F, 1},
        {2.0F, 2, 0.0F, 2},
        {2.9F, 2, (2.9F - 2.0F) / 2.0F, 2},
        {3.0F, 2, 0.5F, 2},
        {3.5F, 2, 0.75F, 3},
        {std::nextafter(4.0F, 0.0F), 2, (std::nextafter(4.0F, 0.0F) - 2.0F) / 2.0F, 3},
        {4.0F, 0, kUntouched, 0xFFFF},
        {-1.0F, 0, kUntouched, 0xFFFF},
        {kNan, 0, kUntouched, 0xFFFF},
        {kInf, 0, kUntouched, 0xFFFF},
    };
    for (const auto& c : cases) {
        ExpectFound(list, c.time, c.key, c.fraction);
        EXPECT_EQ(list.GetKeyIndexBetween(c.time), c.nearest) << c.time;
    }
    ExpectFound(Keys({3}), 4.0F, 0, 1.0F / 3.0F);
    EXPECT_EQ(Keys({3}).GetKeyIndexBetween(4.5F), 0);
    EXPECT_EQ(Keys({3}).GetKeyIndexBetween(4.6F), 1);
    ExpectFound(Keys({0}), 0.0F, 0, kUntouched);
    EXPECT_EQ(Keys({0}).GetKeyIndexBetween(0.0F), 0);
}

// Where two intervals hold a time, the direction of the search and its start decide.
TEST(vlKeyTimes, SearchesGoTheirWay)
{
    const vlKeyTimes list = Keys({0, 2, 0, 2, 5});
    EXPECT_EQ(list.GetKeyIndex(1.0F, 1, nullptr), 2);
    EXPECT_EQ(list.GetKeyIndexRvs(1.0F, 1, nullptr), 0);
    EXPECT_EQ(list.GetKeyIndex(1.0F, 3, nullptr), 0);
    EXPECT_EQ(list.GetKeyIndexRvs(1.0F, 4, nullptr), 2);
}

TEST(vlKeyTimes, AddKey)
{
    const float gap = 0x1p-20F;  // of the interval: less than a millionth
    const struct {
        std::vector<float> before;
        float time;
        std::vector<float> after;  // empty: refused
    } cases[] = {
        {{0, 1, 2}, 1.0F, {}},
        {{0, 1, 2}, std::nextafter(1.0F, 0.0F), {}},
        {{0, 1, 2}, std::nextafter(1.0F, 2.0F), {}},
        {{0, 1, 2}, 1.0F + gap, {}},
        {{0, 1, 2}, 1.0F + 2 * gap, {0, 1, 1.0F + 2 * gap, 2, 4}},
        {{0, 1, 2}, 0.5F, {0, 0.5F, 1, 2, 4}},
        {{0, 1, 2}, 3.0F, {0, 1, 2, 3, 6}},
        {{0, 1, 2}, 4.0F, {0, 1, 2, 4, 8}},
        {{0, 1, 2}, 5.0F, {0, 1, 2, 5, 10}},
        {{0, 1, 2}, kInf, {0, 1, 2, kInf, kInf}},
        {{0, 1, 2}, -1.0F, {}},
        {{0, 1, 2}, kNan, {}},
        {{}, kNan, {}},
        {{}, -3.0F, {-3, -6}},
        {{-2, -1}, -0.5F, {-2, -1, -0.5F, -1}},
        {{0, 5, 1}, 3.0F, {0, 5, 1, 3, 6}},  // the length decides, whatever the order
        {{0}, 0.0F, {0, 0, 0}},              // the interval of a single key at 0 is empty, so nothing holds 0
    };
    for (const auto& c : cases) {
        vlKeyTimes list = Keys(c.before);
        const vlKeyTimes copy = list;
        const auto what = testing::PrintToString(c.before) + " " + testing::PrintToString(c.time);
        EXPECT_EQ(list.AddKeyTime(c.time), !c.after.empty()) << what;
        if (c.after.empty())
            ExpectList(list, {copy.GetKeyTimes(), copy.GetKeyTimes() + copy.m_count + 1}, copy.m_length,
                       what.c_str());
        else
            ExpectList(list, c.after, c.after[c.after.size() - 2], what.c_str());
    }
}

TEST(vlKeyTimes, TheKeyCountNeverWraps)
{
    vlKeyTimes list;
    list.SetKeyTimes(65535, 65534);
    EXPECT_FALSE(list.AddKeyTime(100000.0F));
    EXPECT_FALSE(list.AddKeyTime(0.5F));
    EXPECT_EQ(list.GetKeyCount(), 65535);
    EXPECT_EQ(list.GetKeyIndexRvs(65534.0F, 0, nullptr), 65534);
    EXPECT_EQ(list.GetKeyIndex(0.5F, 65534, nullptr), 0);
    ASSERT_TRUE(list.RemoveKeyTime(65534));
    EXPECT_EQ(list.GetKeyTime(65534), 2 * 65533.0F);
    EXPECT_TRUE(list.AddKeyTime(100000.0F));
}

TEST(vlKeyTimes, RemoveKey)
{
    vlKeyTimes list = Keys({0, 1, 2, 3});
    EXPECT_FALSE(list.RemoveKeyTime(0));
    EXPECT_FALSE(list.RemoveKeyTime(4));
    EXPECT_TRUE(list.RemoveKeyTime(1));
    ExpectList(list, {0, 2, 3, 6}, 3);
    EXPECT_TRUE(list.RemoveKeyTime(2));
    ExpectList(list, {0, 2, 4}, 2);
    EXPECT_FALSE(list.RemoveKeyTime(1));
    ExpectList(list, {0, 2, 4}, 2);
}

TEST(vlKeyTimes, MoveKey)
{
    const float gap = std::bit_cast<float>(0x3C888889U);
    const struct {
        unsigned short index;
        float time;
        bool moved;
    } cases[] = {
        {1, gap, true},
        {1, std::nextafter(gap, 0.0F), false},
        {1, 2.0F - gap, 2.0F - gap + gap <= 2.0F},
        {1, 2.0F, false},
        {0, 0.0F, false},
        {3, 5.0F, false},
        {2, 1.0F, false},
        {2, 1.0F + gap, 1.0F + gap - gap >= 1.0F},
        {2, 10.0F, true},
    };
    for (const auto& c : cases) {
        vlKeyTimes list = Keys({0, 1, 2});
        EXPECT_EQ(list.SetKeyTime(c.index, c.time), c.moved) << c.index << " to " << c.time;
        std::vector<float> keys{0, 1, 2};
        if (c.moved)
            keys[c.index] = c.time;
        ExpectList(list, {keys[0], keys[1], keys[2], 2 * keys[2]}, keys[2]);
    }
}

TEST(vlKeyTimes, MoveKeysBehind)
{
    const struct {
        unsigned short first, last;
        float span;
        std::vector<float> after;
    } cases[] = {
        {0, 2, 3.0F, {0, 1, 3, 6, 12}},      {1, 2, 0.5F, {0, 1, 1.5F, 4.5F, 9}},
        {0, 2, 0.5F, {0, 1, 0.5F, 3.5F, 7}}, {0, 2, 0.0F, {0, 1, 2, 5, 10}},
        {0, 2, -1.0F, {0, 1, 2, 5, 10}},     {2, 2, 1.0F, {0, 1, 2, 5, 10}},
        {0, 4, 1.0F, {0, 1, 2, 5, 10}},
    };
    for (const auto& c : cases) {
        vlKeyTimes list = Keys({0, 1, 2, 5});
        list.SetKeysTime(c.first, c.last, c.span);
        ExpectList(list, c.after, c.after[3]);
    }
    // The length keeps what the float keys round away.
    vlKeyTimes fine = Keys({0.1F, 1000.0F});
    fine.SetKeysTime(0, 1, 1000.0F);
    const float delta = 1000.0F - (1000.0F - 0.1F);
    ExpectList(fine, {0.1F, 1000.0F + delta, static_cast<float>(2.0 * (1000.0 + static_cast<double>(delta)))},
               1000.0 + static_cast<double>(delta));
}

TEST(vlKeyTimes, EvenlySpaced)
{
    vlKeyTimes list;
    list.SetKeyTimes(3, 100);
    ExpectList(list, {0, 50, 100, 200}, 100);
    list.SetKeyTimes(1, 7);
    ExpectList(list, {7, 14}, 7);
    list.SetKeyTimes(static_cast<unsigned short>(0), 5);
    ExpectList(list, {10}, 5);
    // 2^24 + 1 is no float: the length stays exact, and the steps are rounded once.
    list.SetKeyTimes(4, 16777217);
    const double step = 16777217.0 / 3;
    ExpectList(list,
               {0, static_cast<float>(step), static_cast<float>(2 * step), static_cast<float>(3 * step),
                static_cast<float>(2 * 16777217.0)},
               16777217.0);
    list.SetKeyTimes(2, 0xFFFFFFFF);
    ExpectList(list, {0, 0x1p32F, 0x1p33F}, 4294967295.0);
}

TEST(vlKeyTimes, FromArrays)
{
    const unsigned int integers[] = {7, 10, 0xFFFFFFFF};
    vlKeyTimes list;
    list.SetKeyTimes(integers, 3);
    ExpectList(list, {0, 10, 0x1p32F, 0x1p33F}, 0x1p32);
    const float* array = list.GetKeyTimes();
    const float floats[] = {7, 10};
    list.SetKeyTimes(floats, 2);
    ExpectList(list, {7, 10, 20}, 10);
    EXPECT_EQ(list.GetKeyTimes(), array) << "the array is long enough to stay";
    list.SetKeyTimes(list.GetKeyTimes() + 1, 1);
    ExpectList(list, {10, 20}, 10, "from its own array");
    list.SetKeyTimes(static_cast<const float*>(nullptr), 0);
    ExpectList(list, {0}, 0);
    list.SetKeyTimes(integers, 2);
    list.SetKeyTimes(static_cast<const unsigned int*>(nullptr), 0);
    ExpectList(list, {0}, 0);
    list.ScaleKeyTimes(2);
    ExpectList(list, {0}, 0);
    list = Keys({0, 1, 2});
    list.ScaleKeyTimes(2);
    ExpectList(list, {0, 2, 4, 8}, 4);
    const float largest = std::numeric_limits<float>::max();
    ExpectList(Keys({0, largest}), {0, largest, kInf}, largest);
}

TEST(vlKeyTimes, Equality)
{
    const float step = 0x1p-23F;
    const struct {
        std::vector<float> left, right;
        bool equal;
    } cases[] = {
        {{0, 1}, {0, 1}, true},
        {{0, 1}, {0, 1 + step}, true},
        {{0, 1}, {0, 1 + 2 * step}, false},
        {{0, 1 + 2 * step}, {0, 1}, false},
        {{0, 1}, {0, 1, 2}, true},
        {{0, 1, 2}, {0, 1}, false},
        {{}, {5}, true},
        {{5}, {}, false},
        {{kNan}, {1}, true},
        {{kInf}, {kInf}, true},
        {{kInf}, {1}, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Keys(c.left) == Keys(c.right), c.equal) << testing::PrintToString(c.left);
}

TEST(vlKeyTimes, CopiesOwnTheirArray)
{
    vlKeyTimes list = Keys({0, 1, 2});
    vlKeyTimes copy = list;
    copy.ScaleKeyTimes(2);
    ExpectList(list, {0, 1, 2, 4}, 2);
    vlKeyTimes& self = copy;
    copy = self;
    ExpectList(copy, {0, 2, 4, 8}, 4);
    list.m_length = 9;  // a copy takes over, it works nothing out
    list.m_times[3] = 5;
    copy = list;
    ExpectList(copy, {0, 1, 2, 5}, 9);
    copy.Clear();
    EXPECT_EQ(copy.GetKeyTimes(), nullptr);
    EXPECT_EQ(copy.GetKeyCount(), 0);
    EXPECT_EQ(copy.GetLength(), 0);
}

TEST(vlKeyTimes, NullArrayIsNoKeys)
{
    vlKeyTimes list = Keys({0, 1, 2});
    list.ClearTimes();
    const vlKeyTimes copy = list;
    EXPECT_EQ(copy.GetKeyTimes(), nullptr);
    EXPECT_EQ(copy.GetKeyCount(), 3);
    EXPECT_EQ(copy.GetLength(), 2);
    ExpectFound(Keys({}), 0.5F, 0, 7.0F);
    float fraction = 7.0F;
    EXPECT_EQ(copy.GetKeyIndex(0.5F, 1, &fraction), 0);
    EXPECT_EQ(copy.GetKeyIndexRvs(0.5F, 1, &fraction), 0);
    EXPECT_EQ(fraction, 7.0F);
    EXPECT_EQ(copy.GetKeyIndexBetween(0.0F), 0xFFFF);
    EXPECT_EQ(copy.GetKeyTime(1), 0.0F);
    EXPECT_TRUE(copy == Keys({}));
    EXPECT_FALSE(Keys({1}) == copy);
    EXPECT_FALSE(list.RemoveKeyTime(1));
    EXPECT_FALSE(list.SetKeyTime(1, 5));
    list.SetKeysTime(0, 1, 5);
    list.ScaleKeyTimes(2);
    EXPECT_EQ(list.GetLength(), 2);
    EXPECT_TRUE(list.AddKeyTime(4));
    ExpectList(list, {4, 8}, 4);
    list.ClearTimes();
    list.SetKeyTimes(1, 3);
    ExpectList(list, {3, 6}, 3);
    list.Init(2);
    EXPECT_EQ(list.GetKeyCount(), 2);
    EXPECT_EQ(list.GetLength(), 3);
}
