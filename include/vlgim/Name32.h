#pragma once

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace vela::vlgim {

/// A name as files hold it: 32 bytes, in which a NUL ends the text. A text of 32 bytes has no NUL; readers that look
/// for one run on, so writers should stay at 31. Bytes behind the NUL are kept from the file and mean nothing.
struct Name32 {
    static constexpr std::size_t kSize = 32;

    char bytes[kSize] = {};

    Name32() = default;

    /// Throws std::length_error where Set would return false.
    explicit Name32(std::string_view text)
    {
        if (!Set(text))
            throw std::length_error("a name longer than 32 bytes, or with a NUL in it");
    }

    /// Replaces the text and clears the bytes behind it. Returns false, and changes nothing, for a text of more than
    /// 32 bytes or with a NUL in it.
    [[nodiscard]] bool Set(std::string_view text) noexcept
    {
        if (text.size() > kSize || text.find('\0') != std::string_view::npos)
            return false;
        std::memset(bytes, 0, kSize);
        text.copy(bytes, kSize);
        return true;
    }

    /// The text up to the NUL, or all 32 bytes. Valid as long as the name.
    std::string_view View() const noexcept
    {
        const void* end = std::memchr(bytes, 0, kSize);
        return {bytes, end ? static_cast<std::size_t>(static_cast<const char*>(end) - bytes) : kSize};
    }
    operator std::string_view() const noexcept { return View(); }

    /// Whether the text fills all 32 bytes.
    bool IsFull() const noexcept { return View().size() == kSize; }

    /// Compare the texts, not the bytes behind them.
    friend bool operator==(const Name32& a, const Name32& b) noexcept { return a.View() == b.View(); }
    friend bool operator==(const Name32& a, std::string_view b) noexcept { return a.View() == b; }
};
static_assert(sizeof(Name32) == Name32::kSize);

}  // namespace vela::vlgim
