#include "Values.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <map>

namespace vela::vlgim::check {

namespace {

constexpr std::uint32_t kExponent = 0x7F800000;
constexpr std::uint32_t kLowestOfExponent = 0x00800000;

// Adding one to an exponent of all ones carries into the sign. One pass without a branch, which compilers widen.
bool AnyNotFinite(const float* values, std::uint64_t count)
{
    std::uint32_t carries = 0;
    for (std::uint64_t i = 0; i < count; ++i)
        carries |= (std::bit_cast<std::uint32_t>(values[i]) & kExponent) + kLowestOfExponent;
    return (carries & 0x80000000U) != 0;
}

// Of a number in its element; a code of them all has none.
std::uint64_t OffsetWithin(const FloatRun& run, std::uint64_t index)
{
    const std::uint64_t each = run.size / run.width;
    return each * run.width == run.size && each > 1 ? index * each : 0;
}

}  // namespace

Tally NotFinite(const float* values, std::uint64_t count)
{
    Tally tally;
    if (!AnyNotFinite(values, count))
        return tally;
    for (std::uint64_t i = 0; i < count; ++i)
        if (!std::isfinite(values[i]))
            tally.Add(i);
    return tally;
}

std::string Counted(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

void CheckFinite(const File& file, std::size_t field, const FloatRun& run)
{
    const std::uint64_t numbers = run.count * run.width;
    const Tally tally = NotFinite(run.values, numbers);
    if (tally.count == 0)
        return;
    const std::uint64_t element = tally.first / run.width;
    file.Add("not-finite", field,
             run.behind + element * run.size + OffsetWithin(run, tally.first % run.width),
             Counted(tally.count, "number", "numbers") + " of " + std::to_string(numbers) + " in the " +
                 run.what + (tally.count == 1 ? " is" : " are") + " NaN or infinite, the first at " +
                 run.element + ' ' + std::to_string(element));
}

bool CheckBoneNames(const File& file, std::size_t field, const Array<Name32>& names, std::uint32_t count)
{
    const ByteSpan stored = file.Bytes(field);
    std::map<std::string_view, std::uint32_t> first;
    Tally changed;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto [other, isNew] = first.emplace(names[i].View(), i);
        if (!isNew)
            file.Add("bone-name", field, sizeof(Name32) * i,
                     "bones " + std::to_string(other->second) + " and " + std::to_string(i) +
                         " are both named " + std::string(other->first));
        if (std::memcmp(stored.data() + sizeof(Name32) * i, names[i].bytes, sizeof(Name32)) != 0)
            changed.Add(i);
    }
    if (changed.count == 0)
        return false;
    Name32 name;
    std::memcpy(name.bytes, stored.data() + sizeof name * changed.first, sizeof name);
    file.Add("save-lower-case", field, sizeof name * changed.first,
             Counted(changed.count, "bone has", "bones have") +
                 " upper-case letters in the name, the first is " + std::string(name.View()));
    return true;
}

}  // namespace vela::vlgim::check
