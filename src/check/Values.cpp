#include "Values.h"

#include <keys/KeyForms.h>

#include <bit>
#include <cmath>
#include <cstdio>

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

// Of a squared length: half floats and packed forms stay well within.
constexpr float kUnitTolerance = 0.01F;

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

std::string Hex(std::uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

std::string Counted(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

void CheckFinite(FileReport& report, const std::string& block, const Run& run)
{
    const Tally tally = NotFinite(run.values, run.count);
    if (tally.count == 0)
        return;
    const std::uint64_t element = tally.first / run.width, within = tally.first % run.width;
    const std::uint64_t size = run.elementSize != 0 ? run.elementSize : run.width * run.stride;
    report.Add(Code::NotFinite, {block, run.offset + element * size + within * run.stride},
               Counted(tally.count, "number", "numbers") + " of " + std::to_string(run.count) + " in the " +
                   run.what + (tally.count == 1 ? " is" : " are") + " NaN or infinite, the first at " +
                   run.element + ' ' + std::to_string(element));
}

void CheckTimes(FileReport& report, const std::string& block, const float* times, std::uint64_t count,
                std::uint64_t offset)
{
    if (NotFinite(times, count).count != 0)
        return CheckFinite(report, block, {"key times", "key", times, count, 1, offset, sizeof(float)});
    Tally tally;
    for (std::uint64_t i = 1; i < count; ++i)
        if (times[i] <= times[i - 1])
            tally.Add(i);
    if (tally.count != 0)
        report.Add(Code::TimeOrder, {block, offset + tally.first * sizeof(float)},
                   Counted(tally.count, "key is", "keys are") +
                       " not later than the one ahead, the first key " + std::to_string(tally.first) +
                       " of " + std::to_string(count));
}

void CheckQuaternions(FileReport& report, const std::string& block, const std::string& what,
                      const float* values, std::uint64_t count, std::uint64_t offset, std::uint64_t stride)
{
    Tally zero, off;
    for (std::uint64_t i = 0; i < count; ++i) {
        const float* q = values + 4 * i;
        const float square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
        if (!(std::fabs(square - 1) > kUnitTolerance))
            continue;  // a NaN has been told of already
        if (q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 0)
            zero.Add(i);
        else
            off.Add(i);
    }
    const auto add = [&](Code code, const Tally& tally, const char* fault) {
        if (tally.count == 0)
            return;
        const std::string which = count == 1
                                      ? "the " + what
                                      : std::to_string(tally.count) + " of " + std::to_string(count) + ' ' +
                                            what + "s, the first at key " + std::to_string(tally.first) + ',';
        report.Add(code, {block, offset + tally.first * stride},
                   which + (tally.count == 1 ? " is" : " are") + fault);
    };
    add(Code::QuaternionZero, zero, " of length 0");
    add(Code::QuaternionLength, off, " not of unit length");
}

void CheckChannel(FileReport& report, const std::string& block, const vlTransKeysData& keys,
                  unsigned char compressFlags, std::uint64_t offset)
{
    constexpr std::uint64_t kHead = 4;
    constexpr unsigned char kLastOrder = EULER_ZYX;
    if (keys.m_rotOrder > kLastOrder)
        report.Add(Code::RotationOrder, {block, offset + 3},
                   "the order of the rotation's angles is " + std::to_string(keys.m_rotOrder) +
                       ", and there are 1 to 6, and 0 for quaternions");
    std::uint64_t at = offset + kHead;
    const auto check = [&](const char* what, const keys::KeyForm& form, unsigned char keyed,
                           const float* values) {
        const std::uint64_t start = at, count = keys::ComponentKeys(keyed, keys.m_keyCount);
        at += count * form.recordSize;
        if (!values)
            return start;
        const bool isPacked = &form == &keys::kPacked32 || &form == &keys::kPacked48;
        const std::uint64_t stride = isPacked ? 0 : form.recordSize / form.width;
        CheckFinite(report, block,
                    {what, "key", values, count * form.width, form.width, start, stride, form.recordSize});
        // A difference of NaN counts as none.
        if (keyed && !form.encode && keys::FloatsConstant(values, count, form.width) &&
            NotFinite(values, count * form.width).count != 0)
            report.Add(Code::SaveDropsKeys, {block, start},
                       std::string("some ") + what + " are NaN, so that a save keeps the first alone");
        return start;
    };
    const keys::KeyForm& rotation = keys::RotationForm(keys.m_rotOrder, compressFlags);
    check("positions", keys::PositionForm(), keys.m_posKeyed, keys.m_pos.get());
    const std::uint64_t rotations = check("rotations", rotation, keys.m_rotKeyed, keys.m_rot.get());
    check("scales", keys::ScaleForm(compressFlags), keys.m_scaleKeyed, keys.m_scale.get());
    if (keys.m_rotOrder == 0 && keys.m_rot)
        CheckQuaternions(report, block, "rotation", keys.m_rot.get(),
                         keys::ComponentKeys(keys.m_rotKeyed, keys.m_keyCount), rotations,
                         rotation.recordSize);
}

}  // namespace vela::vlgim::check
