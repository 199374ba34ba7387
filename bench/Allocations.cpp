#include "Timing.h"

#include <cstdlib>
#include <new>

namespace {

std::uint64_t allocations;  // of the one thread that there is

void* Counted(void* memory)
{
    ++allocations;
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

std::uint64_t vela::vlgim::bench::Allocations()
{
    return allocations;
}

// Plain new and delete that count. Not inlined, or g++ takes the pairs for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    return Counted(std::malloc(size));
}

[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto align = static_cast<std::size_t>(alignment);
    return Counted(std::aligned_alloc(align, (size + align - 1) & ~(align - 1)));
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
