#include "report/Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

namespace vela::vlgim::tools {

Json BeginLine(const char* type)
{
    return {{"version", 1}, {"type", type}};
}

void PrintLine(const Json& line)
{
    std::printf("%s\n", line.dump().c_str());
}

// The JSON library prints doubles, and of a float's own value it needs twice the digits. So it gets the double that is
// nearest to the float's shortest text.
Json Number(float value)
{
    if (!std::isfinite(value))
        return Number(static_cast<double>(value));
    char text[32];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    double shortest = 0;
    std::from_chars(text, end, shortest);
    return shortest;
}

Json Number(double value)
{
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value > 0 ? "Infinity" : "-Infinity";
    return value;
}

Json Numbers(const float* values, std::size_t count)
{
    Json list = Json::array();
    for (std::size_t i = 0; i < count; ++i)
        list.push_back(Number(values[i]));
    return list;
}

}  // namespace vela::vlgim::tools
