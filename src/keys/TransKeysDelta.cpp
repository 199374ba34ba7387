#include "KeyForms.h"
#include "Rotations.h"

#include <vlgim/vlTransKeysData.h>

namespace vela::vlgim {

namespace {

using geomath::_Rotation;
using geomath::_Vector3;

// Keys that an operation goes over: none of a component without an array.
std::uint32_t Count(const std::shared_ptr<float[]>& keys, unsigned char keyed, unsigned short keyCount)
{
    return keys ? keys::ComponentKeys(keyed, keyCount) : 0;
}

template <class Operation>
void ForEachVector(float* keys, std::uint32_t count, const _Vector3<float>& ref, Operation operation)
{
    for (float* key = keys; key != keys + std::size_t{count} * 3; key += 3) {
        key[0] = operation(key[0], ref.x);
        key[1] = operation(key[1], ref.y);
        key[2] = operation(key[2], ref.z);
    }
}

// Each key becomes left times key.
void MultiplyRotations(float* keys, std::uint32_t count, const _Rotation<float>& left)
{
    for (float* key = keys; key != keys + std::size_t{count} * 4; key += 4) {
        _Rotation<float> q{key[0], key[1], key[2], key[3]};
        keys::RotationMultiply(left, q, &q);
        key[0] = q.x;
        key[1] = q.y;
        key[2] = q.z;
        key[3] = q.w;
    }
}

// Deltas of angles have always been taken in this order, so the ones in files are.
void MultiplyAngles(float* keys, std::uint32_t count, const _Rotation<float>& left)
{
    for (float* key = keys; key != keys + std::size_t{count} * 3; key += 3) {
        _Rotation<float> q{};
        keys::EulerToRotation(key, &q, EULER_YZX);
        keys::RotationMultiply(left, q, &q);
        keys::RotationToEuler(q, key, EULER_YZX);
    }
}

void Multiply(vlTransKeysData& data, const _Rotation<float>& left)
{
    const std::uint32_t count = Count(data.m_rot, data.m_rotKeyed, data.m_keyCount);
    if (data.m_rotOrder == 0)
        MultiplyRotations(data.m_rot.get(), count, left);
    else
        MultiplyAngles(data.m_rot.get(), count, left);
}

bool IsZero(const _Vector3<float>& v)
{
    return keys::Near(v.x, 0.0F) && keys::Near(v.y, 0.0F) && keys::Near(v.z, 0.0F);
}

}  // namespace

void vlTransKeysData::ConvertToDelta(const vlTransInfo& ref)
{
    ForEachVector(m_pos.get(), Count(m_pos, m_posKeyed, m_keyCount), ref.m_pos,
                  [](float key, float reference) { return key - reference; });
    Multiply(*this, {-ref.m_rot.x, -ref.m_rot.y, -ref.m_rot.z, ref.m_rot.w});
    if (!IsZero(ref.m_scale))
        ForEachVector(m_scale.get(), Count(m_scale, m_scaleKeyed, m_keyCount), ref.m_scale,
                      [](float key, float reference) { return key / reference; });
}

void vlTransKeysData::ConvertFromDelta(const vlTransInfo& ref)
{
    ForEachVector(m_pos.get(), Count(m_pos, m_posKeyed, m_keyCount), ref.m_pos,
                  [](float key, float reference) { return key + reference; });
    Multiply(*this, ref.m_rot);
    if (!IsZero(ref.m_scale))
        ForEachVector(m_scale.get(), Count(m_scale, m_scaleKeyed, m_keyCount), ref.m_scale,
                      [](float key, float reference) { return key * reference; });
}

}  // namespace vela::vlgim
