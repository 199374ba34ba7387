#include "Comparer.h"

#include <io/Errors.h>

#include <charconv>

namespace vela::vlgim::diff {

namespace {

// The numbers of a list with commas or blanks between them; none if it is anything else.
std::vector<double> Numbers(std::string_view text)
{
    std::vector<double> numbers;
    const char *at = text.data(), *const end = at + text.size();
    const auto isBetween = [](char c) { return c == ',' || c == ' '; };
    while ((at = std::find_if_not(at, end, isBetween)) != end) {
        double number = 0;
        const auto [behind, error] = std::from_chars(at, end, number);
        if (error != std::errc() || (behind != end && !isBetween(*behind)))
            return {};
        numbers.push_back(number);
        at = behind;
    }
    return numbers;
}

// How far two values of a document are apart; none if they are not as many numbers both.
std::optional<double> ValueDistance(std::string_view a, std::string_view b)
{
    const std::vector<double> numbersA = Numbers(a), numbersB = Numbers(b);
    if (numbersA.empty() || numbersA.size() != numbersB.size())
        return std::nullopt;
    return ByComponent()(numbersA.data(), numbersB.data(), static_cast<unsigned>(numbersA.size())).distance;
}

}  // namespace

// std::to_chars writes "nan" with its sign, and "inf".
std::string TextOf(float value)
{
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value < 0 ? "-Infinity" : "Infinity";
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string Quoted(std::string_view kind, std::string_view name)
{
    return std::string(kind).append(" '").append(name).append("'");
}

void Comparer::Add(Difference difference) const
{
    for (const Comparer* inner = this; inner->m_outer; inner = inner->m_outer)
        difference.field.insert(0, inner->m_owner + " / ");
    m_found.push_back(std::move(difference));
}

bool Comparer::Both(std::string_view field, bool a, bool b) const
{
    if (a != b) {
        const std::optional<std::string> there = "", missing;
        Add({std::string(field), "", {}, 1, a ? there : missing, b ? there : missing});
    }
    return a && b;
}

bool Comparer::Code(std::string_view field, std::uint32_t a, std::uint32_t b) const
{
    return a == b || Text(field, io::Hex(a), io::Hex(b));
}

bool Comparer::Text(std::string_view field, std::string_view a, std::string_view b) const
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
                     const std::optional<std::string>& b) const
{
    if (a == b || (a && b && SameValue(*a, *b)))
        return true;
    Add({std::string(field), std::string(where), a && b ? ValueDistance(*a, *b) : std::nullopt, 1, a, b});
    return false;
}

}  // namespace vela::vlgim::diff
