#include "support/LogCapture.h"

#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>
#include <basekit/CopyBytes.h>
#include <basekit/StringAlgo.h>
#include <geomath/HalfTables.h>
#include <nameid/NameID.h>
#include <vlio2/Path.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace vela {

TEST(CopyBytes, CopiesAllBytesAndNoOthersAtEveryDistance)
{
    constexpr std::size_t kMost = std::size_t{1} << 20;
    std::string from(kMost + 1, 'a'), to;
    for (std::size_t i = 0; i < from.size(); ++i)
        from[i] = static_cast<char>('a' + i % 23);
    to.reserve(2 * kMost);
    for (const std::size_t size : {std::size_t{0}, std::size_t{2047}, std::size_t{3001}, kMost, kMost + 1})
        for (const std::size_t distance : {0U, 1U, 15U, 127U, 128U}) {
            const auto apart =
                reinterpret_cast<std::uintptr_t>(from.data()) - reinterpret_cast<std::uintptr_t>(to.data());
            const std::size_t offset = (apart + distance) % 4096;
            to.assign(offset + size + 1, '-');
            kit::CopyBytes(to.data() + offset, from.data(), size);
            ASSERT_EQ(to, std::string(offset, '-') + from.substr(0, size) + '-') << size << " " << distance;
        }
    kit::CopyBytes(nullptr, nullptr, 0);
}

TEST(BlockAllocator, BlocksOfEverySizeAreAlignedAndWhole)
{
#ifdef VLGIM_ADDRESS_SANITIZER
    constexpr std::uintptr_t kLargeAlignment = 16;
#else
    constexpr std::uintptr_t kLargeAlignment = 2'097'152;
#endif
    // Around the sizes from which pages are put in place, and from which they are huge ones.
    for (const std::size_t bytes :
         {1U, 131'071U, 131'072U, 1'048'575U, 1'048'576U, 2'097'144U, 2'097'145U, 5'000'001U}) {
        void* const block = kit::AllocateBlock(bytes);
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        EXPECT_EQ(address % (bytes < 1'048'576U ? 16U : kLargeAlignment), 0U) << bytes;
        std::memset(block, 0xA5, bytes);
        kit::FreeBlock(block, bytes);
    }
}

TEST(Path, ExtensionIsTheLastComponents)
{
    const char* const cases[][3] = {{"models/a.gim", "_music.ags", "models/a_music.ags"},
                                    {"v1.2/a", ".mesh", "v1.2/a.mesh"},
                                    {"v1.2\\a", ".mesh", "v1.2\\a.mesh"},
                                    {".gim", ".mesh", ".mesh"},
                                    {"", ".mesh", ".mesh"}};
    for (const auto& [path, extension, expected] : cases)
        EXPECT_EQ(vlio::ReplaceFileExtension(path, extension), expected);
}

TEST(Path, NormalFormAndRoot)
{
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"./m//a.mesh", "m/a.mesh", true},
        {"m/./../a", "m/../a", true},
        {R"(\\server\x)", "//server/x", false},
        {"/./a/", "/a/", false},
        {"///a", "//a", false},
        {"C:\\m\\a", "C:/m/a", false},
        {"z:a", "z:a", false},
        {"a..b/.c", "a..b/.c", true},
        {"", "", true},
        {"1:/a", "1:/a", true},
        {"C", "C", true},
    };
    for (const auto& [path, normal, relative] : cases) {
        EXPECT_EQ(vlio::FormatPath(path), normal);
        EXPECT_EQ(vlio::IsRelativePath(path), relative) << path;
    }
}

TEST(StringAlgo, LowersLatinLettersAlone)
{
    char text[] = "AZaz@[`{\xC3\x84";
    kit::StringAlgo::ToLower(text);
    EXPECT_STREQ(text, "azaz@[`{\xC3\x84");
}

TEST(NameID, KnownVectors)
{
    const std::pair<const char*, std::uint32_t> cases[] = {
        {"", 0},
        {"test", 0xBA6BD213},
        {"Hello, world!", 0xC0363E43},
        {"The quick brown fox jumps over the lazy dog", 0x2E4FF723},
        {"\xC3\xA4", 0x7E32D1D4},  // bytes of a tail are unsigned
    };
    for (const auto& [name, hash] : cases)
        EXPECT_EQ(static_cast<std::uint32_t>(NameIDMurmur3(name)), hash) << name;
    EXPECT_EQ(NameIDMurmur3(std::string_view("test\0junk", 4)), NameIDMurmur3("test"));
}

// IEEE 754 says what each half is worth; ldexp says it without a bit in common with the table.
TEST(HalfTables, EveryHalfIsItsValue)
{
    for (unsigned half = 0; half < 65536; ++half) {
        const int exponent = half >> 10 & 31, mantissa = half & 0x3FF;
        float magnitude =
            std::ldexp(static_cast<float>(mantissa + (exponent ? 1024 : 0)), std::max(exponent, 1) - 25);
        if (exponent == 31)
            magnitude = std::numeric_limits<float>::infinity();
        const unsigned nan = exponent == 31 ? static_cast<unsigned>(mantissa) << 13 : 0;
        ASSERT_EQ(geomath::_to_float[half],
                  std::bit_cast<std::uint32_t>(magnitude) | nan | (half & 0x8000U) << 16);
    }
}

TEST(Log, SinkGetsTheTextUnchangedAndStderrOneNewline)
{
    {
        const vlgim::test::LogCapture log;
        LogError("a %s\n", "b");
        LogWarning("%s", std::string(5000, 'x').c_str());
        EXPECT_EQ(log.lines, (vlgim::test::Lines{"E a b\n", "W " + std::string(5000, 'x')}));
    }
    testing::internal::CaptureStderr();
    LogError("one\n");
    LogError("two");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\ntwo\n");
}

}  // namespace vela
