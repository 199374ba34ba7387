#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace vela::vlgim::tools {

/// 327684 as "0x50004".
std::string Hex(std::uint32_t number);

/// 1234567 as "1,234,567".
std::string Grouped(std::uint64_t number);

/// A number of things, as in "1 file" and "2,345 files".
std::string Counted(std::uint64_t number, const char* one, const char* many);

/// Text from a file or a path, which may hold any bytes, fit for a terminal and for JSON: UTF-8 as it is; each byte of a
/// control character (C0, DEL, C1), and each byte that is no UTF-8, as \xHH. A backslash stays one, so that the text
/// can't be turned back for certain.
std::string Shown(std::string_view text);

/// Whether a line that is shown there can be written over.
bool CanRewrite(std::FILE* stream);

/// Whether text that is shown there may have colours: not where NO_COLOR is set and not empty.
bool CanColor(std::FILE* stream);

}  // namespace vela::vlgim::tools
