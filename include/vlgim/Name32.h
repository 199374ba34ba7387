#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace vela::vlgim {

/// A name of 32 bytes, as files store it. The text ends at the first NUL. A text of 32 bytes has no NUL; some readers
/// need one, so writers should use at most 31 bytes. Bytes after the NUL are kept as read and have no meaning.
struct Name32 {
    static constexpr std::size_t kSize = 32;

    char bytes[kSize] = {};

    Name32() = default;

    /// Sets the text. Throws std::length_error if Set would return false.
    explicit Name32(std::string_view text)
    {
        if (!Set(text))
            throw std::length_error("a name has at most 32 bytes and no NUL");
    }

    /// Replaces the text and clears the bytes after it.
    /// Returns false for a text that has more than 32 bytes or contains a NUL; the name is then unchanged.
    [[nodiscard]] bool Set(std::string_view text) noexcept
    {
        if (text.size() > kSize || text.find('\0') != std::string_view::npos)
            return false;
        if (!text.empty())
            std::memmove(bytes, text.data(), text.size());  // the text may lie in the name itself
        std::memset(bytes + text.size(), 0, kSize - text.size());
        return true;
    }

    /// Returns the text up to the first NUL, or all 32 bytes. Valid as long as the name is.
    std::string_view View() const noexcept
    {
        const void* end = std::memchr(bytes, 0, kSize);
        return {bytes, end ? static_cast<std::size_t>(static_cast<const char*>(end) - bytes) : kSize};
    }
    operator std::string_view() const noexcept { return View(); }

    /// Compares the texts; the bytes after the NUL are ignored.
    friend bool operator==(const Name32& a, const Name32& b) noexcept { return a.View() == b.View(); }
    friend bool operator==(const Name32& a, std::string_view b) noexcept { return a.View() == b; }
};
static_assert(sizeof(Name32) == Name32::kSize);

}  // namespace vela::vlgim
