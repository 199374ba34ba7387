#pragma once

#include "Bytes.h"
#include "LogCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

// What holds of each reader and writer, whatever the block. read(object, data, end) is a call of the reader, and
// write(object) gives the bytes of the writer.
namespace vela::vlgim::test {

/// Reads the block to its last byte, and shows that a prefix is refused and leaves the object as it is.
template <class Object, class Read, class Write = decltype(&Written<Object&>)>
void ExpectWhole(Object& object, const Bytes& block, Read read, Write write = &Written<Object&>)
{
    const unsigned char* const last = block.data() + block.size();
    ASSERT_EQ(std::invoke(read, object, block.data(), last), last);
    Object copy = object;  // a write may change what it writes
    const Bytes before = write(copy);
    ForEachPrefix(block, [&](const unsigned char* data, const unsigned char* end) {
        EXPECT_FALSE(std::invoke(read, object, data, end)) << end - data << " bytes";
    });
    copy = object;
    EXPECT_EQ(write(copy), before);
}

/// Reads the block with each byte in turn changed: what is read, and can be written, reads back the same.
template <class Object, class Read, class Write = decltype(&Written<Object&>)>
void ExpectLiesReadBack(const Object& start, const Bytes& block, Read read, Write write = &Written<Object&>)
{
    const LogCapture log;
    ForEachByteChange(block, [&](const Bytes& changed) {
        Object object = start, again = start;
        if (!std::invoke(read, object, changed.data(), changed.data() + changed.size()))
            return;
        const Bytes written = write(object);
        if (written.empty())
            return;
        ASSERT_TRUE(std::invoke(read, again, written.data(), written.data() + written.size()));
        EXPECT_EQ(write(again), written);
    });
}

template <class Object>
using Obstacles = std::vector<std::pair<std::string, void (*)(Object&)>>;

/// Each of the edits makes of a good object one that is not written, for the reason beside it.
template <class Object, class Write = decltype(&Written<Object&>)>
void ExpectRefusedAtWrite(const std::string& message, const std::function<Object()>& make,
                          const Obstacles<Object>& obstacles, Write write = &Written<Object&>)
{
    for (const auto& [reason, edit] : obstacles) {
        Object object = make();
        edit(object);
        const LogCapture log;
        EXPECT_TRUE(write(object).empty()) << reason;
        EXPECT_EQ(log.lines, Lines{message + reason});
    }
}

}  // namespace vela::vlgim::test
