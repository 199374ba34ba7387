#pragma once

#include "Places.h"
#include "Report.h"

#include <vlgim/vlTransKeysData.h>

#include <cstdint>
#include <string>

// What holds for numbers wherever they stand.
namespace vela::vlgim::check {

/// How many elements of a run are bad, and which is the first.
struct Tally {
    std::uint64_t count = 0, first = 0;

    void Add(std::uint64_t index)
    {
        if (count++ == 0)
            first = index;
    }
};

/// Floats that are NaN or infinite.
Tally NotFinite(const float* values, std::uint64_t count);

/// A run of floats in memory and in the file.
struct Run {
    std::string what;     ///< as in "positions"
    const char* element;  ///< what an index counts, as in "vertex"
    const float* values;
    std::uint64_t count;            ///< floats
    std::uint64_t width;            ///< floats an element
    std::uint64_t offset;           ///< of the first, in the file
    std::uint64_t stride;           ///< bytes from one float to the next, in the file; 0: they are packed
    std::uint64_t elementSize = 0;  ///< bytes of an element in the file; 0: width floats
};
void CheckFinite(FileReport& report, const std::string& block, const Run& run);

/// A list of key times, 4 bytes each from `offset` on: finite and ascending.
void CheckTimes(FileReport& report, const std::string& block, const float* times, std::uint64_t count,
                std::uint64_t offset);

/// Quaternions (x, y, z, w) from `offset` on, `stride` bytes from one to the next: neither zero nor far from unit length.
void CheckQuaternions(FileReport& report, const std::string& block, const std::string& what,
                      const float* values, std::uint64_t count, std::uint64_t offset, std::uint64_t stride);

/// A channel whose record begins at `offset`, with its keys in the form that compressFlags tell.
void CheckChannel(FileReport& report, const std::string& block, const vlTransKeysData& keys,
                  unsigned char compressFlags, std::uint64_t offset);

/// "0x50004".
std::string Hex(std::uint32_t number);

/// "1 vertex", "12 vertices": a count with its word, which takes an s or has a form of its own.
std::string Counted(std::uint64_t count, const char* one, const char* many);

}  // namespace vela::vlgim::check
