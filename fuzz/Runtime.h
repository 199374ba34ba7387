#pragma once

#include "Check.h"

#include <corecommon/Log.h>
#include <vlgim/vlClipData.h>

#include <sanitizer/allocator_interface.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// What every target sets up, once: no log, and a count of the bytes that are allocated. For the one source of a target.
namespace vela::vlgim::fuzz {

inline std::atomic<std::int64_t> g_live{0};
inline std::atomic<std::int64_t> g_peak{0};

// The reference count of an array, of which each has one of its own under the sanitizer only.
inline bool IsCount(std::size_t size)
{
    return size <= 32;
}

inline void OnAllocate(const volatile void*, std::size_t size)
{
    if (IsCount(size))
        return;
    const std::int64_t live = g_live += static_cast<std::int64_t>(size);
    if (live > g_peak)
        g_peak = live;
}

inline void OnFree(const volatile void* block)
{
    const std::size_t size = block ? __sanitizer_get_allocated_size(const_cast<const void*>(block)) : 0;
    if (!IsCount(size))
        g_live -= static_cast<std::int64_t>(size);
}

/// Loads with load(), and checks that it never held more than it may: 64 times the bytes of its files and 16 MiB, the
/// images of the files and an object for each clip aside.
/// imageBytes  of all files that are read
/// mostClips   clips that may have a record in the file
template <class Load>
auto WithinBudget(std::size_t imageBytes, Load load, std::size_t mostClips = 0)
{
    const auto bytes = static_cast<std::int64_t>(imageBytes);
    const std::int64_t before = g_live;
    g_peak = before;
    const auto result = load();
    const std::int64_t held = g_peak - before - bytes;
    const auto objects = static_cast<std::int64_t>(mostClips * (sizeof(vlClipData) + 64));
    Check(held <= 64 * bytes + (16 << 20) + objects, "a load of " + std::to_string(bytes) + " bytes held " +
                                                         std::to_string(held) + " bytes beside them");
    return result;
}

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    using namespace vela::vlgim;
    vela::SetLogSink([](vela::LogLevel, const char*, void*) {}, nullptr);
    fuzz::Check(__sanitizer_install_malloc_and_free_hooks(fuzz::OnAllocate, fuzz::OnFree) > 0,
                "no place for the memory hooks");
    return 0;
}
