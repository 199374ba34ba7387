#pragma once

#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// Prints one line of an account: a label and a printf-style value, aligned.
void Row(const char* label, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// 1234567 as "1,234,567".
std::string Grouped(std::uint64_t number);

}  // namespace vela::vlgim::tools
