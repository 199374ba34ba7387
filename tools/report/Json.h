#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string_view>

namespace vela::vlgim::tools {

/// Keys come out in the order in which they were put in.
using Json = nlohmann::ordered_json;

/// A line of this type, as docs/vlgim.schema.json describes it, with its first two members.
Json BeginLine(const char* type);

/// Writes the line to stdout. All text in it has to be UTF-8, as Shown gives it.
void PrintLine(const Json& line);

/// The number in the fewest digits that give the same float again; "NaN", "Infinity" or "-Infinity" where JSON has no
/// number for it.
Json Number(float value);

/// The same for a double.
Json Number(double value);

/// A list of numbers.
Json Numbers(const float* values, std::size_t count);

}  // namespace vela::vlgim::tools
