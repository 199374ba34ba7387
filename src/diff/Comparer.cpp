#include "Comparer.h"

#include <charconv>

namespace vela::vlgim::diff {

namespace {

// std::to_chars writes "nan" with its sign, and "inf".
template <class T>
std::string FloatText(T value)
{
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value < 0 ? "-Infinity" : "Infinity";
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// The numbers of a list with commas or blanks between them; none if it is anything else.
std::vector<double> Numbers(std::string_view text)
{
    std::vector<double> numbers;
    const char *at = text.data(), *const end = at + text.size();
    const auto isBetween = [](char c) { return c == ',' || c == ' '; };
    while (true) {
        at = std::find_if_not(at, end, isBetween);
        if (at == end)
            return numbers;
        double number = 0;
        const auto [behind, error] = std::from_chars(at, end, number);
        if (error != std::errc() || (behind != end && !isBetween(*behind)))
            return {};
        numbers.push_back(number);
        at = behind;
    }
}

// How far two values of a document are apart; none if they are not as many numbers both.
std::optional<double> ValueDistance(std::string_view a, std::string_view b)
{
    const std::vector<double> numbersA = Numbers(a), numbersB = Numbers(b);
    if (numbersA.empty() || numbersA.size() != numbersB.size())
        return std::nullopt;
    double largest = 0;
    for (std::size_t i = 0; i < numbersA.size(); ++i)
        largest = std::max(largest, Distance(numbersA[i], numbersB[i]));
    return largest;
}

}  // namespace

std::string TextOf(double value)
{
    return FloatText(value);
}

std::string TextOf(float value)
{
    return FloatText(value);
}

std::string HexText(std::uint32_t value)
{
    char text[16] = "0x";
    return {text, std::to_chars(text + 2, text + sizeof text, value, 16).ptr};
}

std::string Quoted(std::string_view kind, std::string_view name)
{
    return std::string(kind).append(" '").append(name).append("'");
}

void Comparer::Add(Difference difference)
{
    difference.field.insert(0, m_owners);
    m_found.push_back(std::move(difference));
}

bool Comparer::Both(std::string_view field, bool a, bool b)
{
    if (a != b)
        Add({std::string(field),
             "",
             {},
             1,
             a ? std::optional("") : std::nullopt,
             b ? std::optional("") : std::nullopt});
    return a && b;
}

bool Comparer::Number(std::string_view field, std::uint64_t a, std::uint64_t b)
{
    if (a != b)
        Add({std::string(field), "", static_cast<double>(a > b ? a - b : b - a), 1, TextOf(a), TextOf(b)});
    return a == b;
}

bool Comparer::Float(std::string_view field, float a, float b)
{
    const std::size_t before = Count();
    Runs(field, Run<float>{&a, 1}, Run<float>{&b, 1}, [](std::uint64_t) { return std::string(); });
    return Count() == before;
}

bool Comparer::Code(std::string_view field, std::uint32_t a, std::uint32_t b)
{
    return a == b || Text(field, HexText(a), HexText(b));
}

bool Comparer::Text(std::string_view field, std::string_view a, std::string_view b)
{
    if (a != b)
        Add({std::string(field), "", {}, 1, std::string(a), std::string(b)});
    return a == b;
}

bool Comparer::SameValue(std::string_view a, std::string_view b) const
{
    if (a == b)
        return true;
    const std::optional<double> distance = m_tolerance > 0 ? ValueDistance(a, b) : std::nullopt;
    return distance && *distance <= m_tolerance;
}

bool Comparer::Value(std::string_view field, std::string_view where, const std::optional<std::string>& a,
                     const std::optional<std::string>& b)
{
    if (a == b || (a && b && SameValue(*a, *b)))
        return true;
    Add({std::string(field), std::string(where), a && b ? ValueDistance(*a, *b) : std::nullopt, 1, a, b});
    return false;
}

}  // namespace vela::vlgim::diff
