#include "report/Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace vela::vlgim::tools {

namespace {

void NameNotFinite(Json& value)
{
    const double number = value.is_number_float() ? value.get<double>() : 0;
    if (!std::isfinite(number))
        value = std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity";
    if (value.is_structured())
        for (Json& element : value)
            NameNotFinite(element);
}

}  // namespace

Json Line(const char* type, const Json& members)
{
    Json line = {{"version", 1}, {"type", type}};
    line.update(members);
    return line;
}

void PrintLine(Json line)
{
    NameNotFinite(line);
    std::printf("%s\n", line.dump().c_str());
}

// The JSON library prints doubles, and of a float's own value it needs twice the digits. So it gets the double that is
// nearest to the float's shortest text.
Json Number(float value)
{
    char text[32];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    double shortest = 0;
    std::from_chars(text, end, shortest);
    return shortest;
}

Json Numbers(std::span<const float> values)
{
    return List(values, Number);
}

Json Numbers(const geomath::_Vector3<float>& vector)
{
    return {Number(vector.x), Number(vector.y), Number(vector.z)};
}

}  // namespace vela::vlgim::tools
