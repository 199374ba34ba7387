#pragma once

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/Errors.h>

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

// A block names its arrays once, in a function template that shows each of them to a visitor. Where a block has nothing
// but arrays and values, it shows them all, in file order. The visitors do what every block needs.
namespace vela::vlgim::mesh {

/// Reads values and arrays, in one of the passes of io::ReadTwice.
struct ArrayReader {
    void Value(auto& value, auto... field) { value = pass.in.Value<std::decay_t<decltype(value)>>(field...); }

    /// With a field the array receives the next bytes of the file, or stays as it is if it has no elements. Without a
    /// field it is made and left to the caller to fill.
    void Array(std::string_view, auto& array, std::uint64_t count, auto... field)
    {
        if constexpr (sizeof...(field) == 0) {
            pass.Make(array, count);
        } else {
            std::decay_t<decltype(array)> read;
            if (pass.Take(field..., read, count) && count != 0)
                array = std::move(read);
        }
    }

    const io::Pass& pass;
};

/// Writes values and arrays to a BlockWriter, or to a ByteCount.
template <class Out>
struct ArrayWriter {
    explicit ArrayWriter(Out& to) : out(to) {}

    void Value(auto value, auto...) { out.Value(value); }
    void Array(auto&&, const auto& array, std::uint64_t count, auto...) { out.Run(array.data(), count); }

    Out& out;
};

/// Counts the bytes that a BlockWriter in its place would write.
struct ByteCount {
    std::uint64_t bytes = 0;

    void Value(auto value) { bytes += sizeof value; }
    void Run(const auto* values, std::uint64_t count) { bytes += count * sizeof *values; }
};

/// Finds the first array that is shorter than its count.
struct ShortArray {
    Error why;

    void Value(auto&&...) {}
    void Array(std::string_view name, const auto& array, std::uint64_t count, auto...)
    {
        if (!why && !io::Holds(array, count))
            why = io::WhyShort(array, count, name);
    }
};

}  // namespace vela::vlgim::mesh
