#pragma once

#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// Prints one line of an account: a label and a printf-style value, aligned.
void Row(const char* label, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// 1234567 as "1,234,567".
std::string Grouped(std::uint64_t number);

/// The text as it is, but for bytes that would move the cursor: names come from files.
std::string Shown(std::string text);

/// The same for a name field, NUL-terminated or full.
std::string Shown(const char (&field)[32]);

}  // namespace vela::vlgim::tools
