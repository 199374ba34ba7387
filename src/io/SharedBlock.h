#pragma once

#include <atomic>
#include <cstddef>

// How the memory of arrays is laid out. A block holds the elements of one array or of several; each array stands behind
// a head of its own, so that an Array is one pointer and a channel of five of them fits in a cache line.
namespace vela::vlgim::io {

/// In front of a block, whose arrays count as its owners.
struct SharedBlock {
    std::atomic<std::size_t> owners;
    std::size_t size;  ///< in bytes, with this
};

/// In front of the elements of an array.
struct ElementsHead {
    SharedBlock* block;
    std::size_t count;
};

// Elements stand at multiples of this.
inline constexpr std::size_t kElementsAlignment = 16;
static_assert(sizeof(SharedBlock) == kElementsAlignment && sizeof(ElementsHead) == kElementsAlignment);

}  // namespace vela::vlgim::io
