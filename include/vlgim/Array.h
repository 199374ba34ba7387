#pragma once

#include <vlgim/Export.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace vela::vlgim {

namespace detail {

/// Memory that arrays share; the library alone knows what it looks like.
struct SharedBlock;

/// A new block with one owner and, at a multiple of 16, room for `count` elements of `size` bytes each, which are not
/// initialised. Throws std::bad_alloc or std::bad_array_new_length.
VLGIM_API SharedBlock* NewBlock(std::size_t count, std::size_t size, void*& elements);

VLGIM_API void AddOwner(SharedBlock* block) noexcept;

/// Removes an owner. Returns true for the last one, which then calls FreeBlock.
VLGIM_API bool RemoveOwner(SharedBlock* block) noexcept;

VLGIM_API void FreeBlock(SharedBlock* block) noexcept;

/// How many elements there are stands in front of the first.
inline std::size_t ElementCount(const void* elements) noexcept
{
    return static_cast<const std::size_t*>(elements)[-1];
}

}  // namespace detail

/// A shared array that knows its length. A copy shows the same elements as its source, and an edit through either is
/// seen in both; Clone() makes elements of its own. The elements live as long as the last array that shows them.
/// An array is null until it is given elements; a null array has size 0 and data() null.
///
/// A const array does not let its elements be exchanged for others, but does let them be written, as a const pointer
/// does. Arrays convert to std::span. Copies may belong to different threads; the elements are not guarded.
template <class T>
class Array {
public:
    using value_type = T;

    Array() noexcept = default;
    Array(std::nullptr_t) noexcept {}

    /// `count` elements of value 0, or as their default constructor makes them. A count of 0 gives an empty array that
    /// is not null. Throws std::bad_alloc.
    explicit Array(std::size_t count) : Array(ForOverwrite(count))
    {
        if constexpr (std::is_trivially_default_constructible_v<T>)
            std::uninitialized_value_construct_n(m_elements, count);
    }

    /// `count` copies of a value.
    Array(std::size_t count, const T& value) : Array(ForOverwrite(count))
    {
        std::fill_n(m_elements, count, value);
    }

    /// Copies of the values, in elements of its own.
    Array(std::initializer_list<T> values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }
    Array(const std::vector<T>& values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }

    Array(const Array& other) noexcept : m_elements(other.m_elements), m_block(other.m_block)
    {
        if (m_block)
            detail::AddOwner(m_block);
    }
    Array(Array&& other) noexcept
        : m_elements(std::exchange(other.m_elements, nullptr)), m_block(std::exchange(other.m_block, nullptr))
    {
    }
    Array& operator=(Array other) noexcept
    {
        std::swap(m_elements, other.m_elements);
        std::swap(m_block, other.m_block);
        return *this;
    }
    ~Array()
    {
        if (!m_block || !detail::RemoveOwner(m_block))
            return;
        if constexpr (!std::is_trivially_destructible_v<T>)
            std::destroy_n(m_elements, size());
        detail::FreeBlock(m_block);
    }

    /// `count` elements that are not initialised if T is a plain type, for a caller who writes them all.
    static Array ForOverwrite(std::size_t count)
    {
        static_assert(alignof(T) <= 16);
        void* elements = nullptr;
        detail::SharedBlock* const block = detail::NewBlock(count, sizeof(T), elements);
        try {
            std::uninitialized_default_construct_n(static_cast<T*>(elements), count);
        } catch (...) {
            detail::FreeBlock(block);
            throw;
        }
        return Adopt(static_cast<T*>(elements), block);
    }

    /// Takes over an owner of elements that the library has laid out; not for callers.
    static Array Adopt(T* elements, detail::SharedBlock* block) noexcept
    {
        Array array;
        array.m_elements = elements;
        array.m_block = block;
        return array;
    }

    /// An array of copies of the elements, which shares nothing with this one; null for a null array.
    [[nodiscard]] Array Clone() const
    {
        if (!m_elements)
            return nullptr;
        Array copy = ForOverwrite(size());
        std::copy(begin(), end(), copy.begin());
        return copy;
    }

    [[nodiscard]] std::size_t size() const noexcept
    {
        return m_elements ? detail::ElementCount(m_elements) : 0;
    }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] T* data() const noexcept { return m_elements; }
    [[nodiscard]] T* get() const noexcept { return m_elements; }
    [[nodiscard]] T* begin() const noexcept { return m_elements; }
    [[nodiscard]] T* end() const noexcept { return m_elements ? m_elements + size() : nullptr; }

    /// The index has to be below size(); a debug build asserts it.
    T& operator[](std::size_t index) const noexcept
    {
        assert(index < size());
        return m_elements[index];
    }

    /// Whether the array is not null.
    explicit operator bool() const noexcept { return m_elements != nullptr; }
    friend bool operator==(const Array& array, std::nullptr_t) noexcept { return !array.m_elements; }

    /// Whether two arrays show the same elements in memory. Compare what they hold with std::ranges::equal.
    friend bool operator==(const Array& a, const Array& b) noexcept { return a.m_elements == b.m_elements; }

private:
    T* m_elements = nullptr;  // in front of them stands how many there are
    detail::SharedBlock* m_block = nullptr;
};

}  // namespace vela::vlgim
