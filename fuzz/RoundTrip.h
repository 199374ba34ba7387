#pragma once

#include "Check.h"
#include "Image.h"
#include "Input.h"

#include <vlgim/Differences.h>

#include <memory>
#include <utility>

namespace vela::vlgim::fuzz {

/// Fails unless writes go over into a file that stays. Codes of packed rotations need not do so at once: the code that
/// is left out is worked out from the others, and after it was rounded another component can be the largest, which
/// is left out then. Of two that are as large, either can go back and forth for good. Keys that became alike collapse
/// one write later.
template <class Files, class Write, class Read>
void ExpectSettled(Files previous, Files current, Write write, Read read)
{
    for (int i = 0; i < 8; ++i) {
        Files next = write(*read(current));
        if (next == current || next == previous)
            return;
        previous = std::exchange(current, std::move(next));
    }
    Fail("writes of small key forms do not settle");
}

/// Writes what was read, reads that, and writes it again.
/// write(object)  gives the file, or the files
/// read(files)    gives a new object in a std::unique_ptr, or fails
/// Returns the first file.
template <class Object, class Write, class Read>
auto CheckRoundTrip(Object& object, Write write, Read read)
{
    const Image before = ImageOf(object);
    auto first = write(object);
    const Image written = ImageOf(object);
    ExpectKept(before, written);

    const std::unique_ptr<Object> again = read(first);
    ExpectSame(written, ImageOf(*again), "a file that was written and read");
    auto second = write(*again);
    if (written.IsStable())
        Check(second == first, "a second write gives other bytes");
    else if (!written.HasLooseTicks())  // which move with every write
        ExpectSettled(first, std::move(second), write, read);
    return first;
}

/// Fails where an object differs from itself or from one that was read from the same bytes.
template <class Object>
void CheckDifferences(const Object& object, const Object& again)
{
    for (const Object* other : {&object, &again})
        for (const Difference& difference : Compare(object, *other))
            Fail("there is a difference in what is the same: " + difference.field);
}

/// The same, and compares both ways round with an object of other bytes, which may be null.
template <class Object>
void CheckDifferences(const Object& object, const Object& again, const Object* other)
{
    CheckDifferences(object, again);
    Check(!other || Compare(object, *other).empty() == Compare(*other, object).empty(),
          "there is a difference one way round only");
}

/// Ends an object and copies of it in both orders, and reads all arrays of the ones that are left.
template <class Object>
void CheckCopies(std::unique_ptr<Object> source)
{
    const Image image = ImageOf(*source);
    auto copy = std::make_unique<Object>(*source);
    const auto copyOfCopy = std::make_unique<Object>(*copy);
    copy.reset();
    ExpectSame(image, ImageOf(*source), "a source without its copy");
    source.reset();
    ExpectSame(image, ImageOf(*copyOfCopy), "a copy without its source");
}

}  // namespace vela::vlgim::fuzz
