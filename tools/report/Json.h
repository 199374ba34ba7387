#pragma once

#include <geomath/Types.h>

#include <nlohmann/json.hpp>

#include <span>

namespace vela::vlgim::tools {

/// Keys come out in the order in which they were put in.
using Json = nlohmann::ordered_json;

/// A line of this type, as docs/vlgim.schema.json describes it: its first two members, and then these.
Json Line(const char* type, const Json& members);

/// Writes the line to stdout. All text in it has to be UTF-8, as Shown gives it; for numbers that are not finite, which
/// JSON does not have, it says "NaN", "Infinity" or "-Infinity".
void PrintLine(Json line);

/// The number in the fewest digits that give the same float again.
Json Number(float value);
Json Numbers(std::span<const float> values);
Json Numbers(const geomath::_Vector3<float>& vector);

/// A list of what entry(element) gives of each element.
template <class Range, class Entry>
Json List(const Range& range, const Entry& entry)
{
    Json list = Json::array();
    for (const auto& element : range)
        list.push_back(entry(element));
    return list;
}

}  // namespace vela::vlgim::tools
