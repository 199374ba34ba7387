#pragma once

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/Errors.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

// A block names its arrays once, in a function template that shows each of them to a visitor. Where a block has nothing
// but arrays and values, it shows them all, in file order. The visitors do what every block needs.
namespace vela::vlgim::mesh {

/// Reads values at once, and arrays when all of them are known to fit, into one allocation.
class ArrayReader {
public:
    explicit ArrayReader(io::BlockReader& in) : m_in(in) {}

    void Value(auto& value, auto... field) { value = m_in.Value<std::decay_t<decltype(value)>>(field...); }

    /// Plans an array. With a field it receives the next bytes of the file, or stays as it is if it has no elements.
    /// Without a field it is made and left to the caller to fill.
    template <class T>
    void Array(std::string_view, vlgim::Array<T>& array, std::uint64_t count, auto... field)
    {
        const unsigned char* run = nullptr;
        if constexpr (sizeof...(field) != 0)
            run = m_in.Take(field..., count, sizeof(T));
        m_arrays.at(m_planned++) = {&array, m_block.Plan<T>(count).offset, count, run, Make<T>};
    }

    /// Makes and fills the arrays. Returns false if the reader of the file has failed; they are then as they were.
    bool Finish()
    {
        if (!m_block.Allocate(m_in))
            return false;
        for (std::size_t i = 0; i < m_planned; ++i)
            m_arrays[i].make(m_arrays[i], m_block);
        return true;
    }

private:
    static constexpr std::size_t kMostArrays = 10;  // those of the vertex block

    struct Planned {
        void* array;
        std::uint64_t offset, count;
        const unsigned char* run;
        void (*make)(const Planned&, const io::ArrayBlock&);
    };

    template <class T>
    static void Make(const Planned& planned, const io::ArrayBlock& block)
    {
        auto& array = *static_cast<vlgim::Array<T>*>(planned.array);
        if (planned.count != 0 || !planned.run)
            array = block.Array(io::ArrayBlock::Slot<T>{planned.offset, planned.count});
        if (planned.run)
            io::CopyRun(array.data(), planned.run, planned.count);
    }

    io::BlockReader& m_in;
    io::ArrayBlock m_block;
    std::array<Planned, kMostArrays> m_arrays;
    std::size_t m_planned = 0;
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
