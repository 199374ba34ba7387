#pragma once

#include <vlgim/Array.h>

#include <atomic>
#include <cstddef>

// The memory layout of arrays. A block has the elements of one or several arrays. The number of elements is stored
// before each array. Releasing an array only touches the start of its block, which is in the cache.
namespace vela::vlgim {

/// The start of a block. Each array in the block is one owner.
struct detail::SharedBlock {
    std::atomic<std::size_t> owners;
    std::size_t size;  ///< in bytes, including this head
};

namespace io {

/// Stored before the elements of each array.
struct ElementsHead {
    std::size_t padding;
    std::size_t count;
};

// Elements start at multiples of this.
inline constexpr std::size_t kElementsAlignment = 16;
static_assert(sizeof(detail::SharedBlock) == kElementsAlignment &&
              sizeof(ElementsHead) == kElementsAlignment);

}  // namespace io

}  // namespace vela::vlgim
