#include "Floors.h"
#include "Ratio.h"

#include <nameid/NameID.h>
#include <vlgim/vlAnimData.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

std::atomic<std::uint64_t> allocations;

}  // namespace

// Counts what a load asks for; plain new and delete otherwise. Not inlined, or g++ takes the pairs for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace vela::vlgim {

namespace {

constexpr unsigned kClips = 200;
constexpr std::uint16_t kBones = 60;
constexpr std::uint16_t kKeys = 40;
// Floats of all channels (position, rotation, scale) and of the shared times.
constexpr std::size_t kDecodedBytes =
    std::size_t{kClips} * (std::size_t{kBones} * kKeys * 40 + (kKeys + 1) * 4);

vlTransKeysData Channel(unsigned seed)
{
    vlTransKeysData channel;
    channel.m_keyCount = kKeys;
    channel.m_posKeyed = channel.m_rotKeyed = channel.m_scaleKeyed = 1;
    channel.m_pos = std::make_shared<float[]>(std::size_t{kKeys} * 3);
    channel.m_rot = std::make_shared<float[]>(std::size_t{kKeys} * 4);
    channel.m_scale = std::make_shared<float[]>(std::size_t{kKeys} * 3);
    for (std::ptrdiff_t i = 0; i < kKeys; ++i) {
        const float x = static_cast<float>(seed % 97 + static_cast<unsigned>(i)) / 200;
        channel.m_pos[3 * i] = x;
        channel.m_rot[4 * i] = x;
        channel.m_rot[4 * i + 3] = std::sqrt(1 - x * x);
        channel.m_scale[3 * i] = 1 + x;
    }
    return channel;
}

vlAnimData Animation(unsigned char form)
{
    vlAnimData anim;
    anim.m_version = 0x60001;
    for (unsigned c = 0; c < kClips; ++c) {
        auto clip = std::make_shared<vlClipData>();
        std::snprintf(clip->m_name, sizeof clip->m_name, "clip%u", c);
        clip->m_boneCount = kBones;
        clip->m_boneNames = std::make_shared<char[][32]>(kBones);
        clip->m_keys = std::make_shared<vlTransKeysData[]>(kBones);
        clip->m_keyLayout = KEY_LAYOUT_SHARED;
        clip->m_compressFlags = form;
        clip->m_keyTimes = std::make_shared<vlKeyTimes>();
        clip->m_keyTimes->SetKeyTimes(kKeys, kKeys - 1U);
        for (std::uint16_t b = 0; b < kBones; ++b) {
            std::snprintf(clip->m_boneNames[b], 32, "bone%u", b);
            clip->m_keys[b] = Channel(c * kBones + b);
        }
        anim.m_clips.push_back(std::move(clip));
    }
    return anim;
}

std::FILE* NoSideFile(const char*)
{
    return nullptr;
}

std::vector<unsigned char> Image(unsigned char form)
{
    vlAnimData anim = Animation(form);
    std::FILE* file = std::tmpfile();
    if (!file || anim.WriteAnimationFile(file, NoSideFile) != 0)
        std::abort();
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::ftell(file)));
    std::rewind(file);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

// Floor: the decoded arrays copied into memory that is fresh from the system.
void LoadClips(benchmark::State& state)
{
    const std::vector<unsigned char> image = Image(static_cast<unsigned char>(state.range(0)));
    const std::vector<unsigned char> decoded(kDecodedBytes);
    std::uint64_t asked = 0;
    const auto load = [&] {
        const std::uint64_t before = allocations;
        vlAnimData anim;
        if (!anim.ReadAnimationFile(image.data(), static_cast<std::uint32_t>(image.size()), "bench.gis"))
            std::abort();
        benchmark::DoNotOptimize(anim.m_clips.data());
        asked = allocations - before;
    };
    bench::ReportRatio(state, load, [&] { bench::CopyFresh(decoded); });
    state.counters["allocations_per_clip"] = static_cast<double>(asked) / kClips;
}

// Floor: one fwrite of the same bytes to a new file on the same file system.
void SaveClips(benchmark::State& state)
{
    const auto form = static_cast<unsigned char>(state.range(0));
    vlAnimData anim = Animation(form);
    const std::vector<unsigned char> image = Image(form);
    const std::string path = bench::ScratchFile("vlgim-bench.gis");
    const std::string floorPath = bench::ScratchFile("vlgim-bench.floor");
    const auto save = [&] {
        std::filesystem::remove(path);
        if (anim.WriteAnimationFile(path.c_str()) != 0)
            std::abort();
    };
    bench::ReportRatio(state, save, [&] { bench::WriteOnce(floorPath, image); });
    std::filesystem::remove(path);
    std::filesystem::remove(floorPath);
}

// In full floats, halves, 48 and 32 bits.
void EachForm(benchmark::internal::Benchmark* benchmark)
{
    constexpr int halves = KEY_HALF_ROT | KEY_HALF_SCALE;
    benchmark->ArgName("form")->Arg(0)->Arg(halves)->Arg(KEY_PACKED_ROT48)->Arg(KEY_PACKED_ROT32);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(LoadClips)->Apply(EachForm);
BENCHMARK(SaveClips)->Apply(EachForm);

}  // namespace

}  // namespace vela::vlgim
