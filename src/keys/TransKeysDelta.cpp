#include "KeyForms.h"
#include "Rotations.h"

#include <vlgim/vlTransKeysData.h>

#include <cstring>
#include <span>

namespace vela::vlgim {

namespace {

using geomath::_Rotation;
using geomath::_Vector3;

// A component of its own to work on, since copies may show the old array; and the floats of its keys: none of a component
// without an array, or whose array is shorter than its count.
std::span<float> OwnKeys(Array<float>& keys, unsigned char keyed, unsigned short keyCount,
                         std::uint32_t width)
{
    const std::size_t floats = std::size_t{keys::ComponentKeys(keyed, keyCount)} * width;
    if (floats > keys.size())
        return {};
    keys = keys.Clone();
    return {keys.data(), floats};
}

template <class Operation>
void ForEachVector(std::span<float> keys, const _Vector3<float>& ref, Operation operation)
{
    for (; !keys.empty(); keys = keys.subspan(3)) {
        keys[0] = operation(keys[0], ref.x);
        keys[1] = operation(keys[1], ref.y);
        keys[2] = operation(keys[2], ref.z);
    }
}

// Each key becomes left times key. Deltas of angles have always been taken in one order, so the ones in files are.
void Multiply(vlTransKeysData& data, const _Rotation<float>& left)
{
    const bool hasAngles = data.m_rotOrder != 0;
    const std::uint32_t width = hasAngles ? 3 : 4;
    std::span<float> keys = OwnKeys(data.m_rot, data.m_rotKeyed, data.m_keyCount, width);
    for (; !keys.empty(); keys = keys.subspan(width)) {
        const _Rotation<float> q =
            keys::RotationMultiply(left, hasAngles ? keys::EulerToRotation(keys.data(), EULER_YZX)
                                                   : _Rotation<float>{keys[0], keys[1], keys[2], keys[3]});
        if (hasAngles)
            keys::RotationToEuler(q, keys.data(), EULER_YZX);
        else
            std::memcpy(keys.data(), &q, sizeof q);
    }
}

bool IsZero(const _Vector3<float>& v)
{
    return keys::Near(v.x, 0.0F) && keys::Near(v.y, 0.0F) && keys::Near(v.z, 0.0F);
}

}  // namespace

void vlTransKeysData::ConvertToDelta(const vlTransInfo& ref)
{
    ForEachVector(OwnKeys(m_pos, m_posKeyed, m_keyCount, 3), ref.m_pos,
                  [](float key, float reference) { return key - reference; });
    Multiply(*this, {-ref.m_rot.x, -ref.m_rot.y, -ref.m_rot.z, ref.m_rot.w});
    if (!IsZero(ref.m_scale))
        ForEachVector(OwnKeys(m_scale, m_scaleKeyed, m_keyCount, 3), ref.m_scale,
                      [](float key, float reference) { return key / reference; });
}

void vlTransKeysData::ConvertFromDelta(const vlTransInfo& ref)
{
    ForEachVector(OwnKeys(m_pos, m_posKeyed, m_keyCount, 3), ref.m_pos,
                  [](float key, float reference) { return key + reference; });
    Multiply(*this, ref.m_rot);
    if (!IsZero(ref.m_scale))
        ForEachVector(OwnKeys(m_scale, m_scaleKeyed, m_keyCount, 3), ref.m_scale,
                      [](float key, float reference) { return key * reference; });
}

}  // namespace vela::vlgim
