#include <vlgim/vlTransKeysData.h>

#include "Rotations.h"
#include "TransKeysBlock.h"

namespace vela::vlgim {

namespace {

using geomath::_Rotation;
using geomath::_Vector3;

// The floats of a component's key, or null where it has none. A component of one key gives it for all.
const float* KeyAt(const Array<float>& keys, unsigned char keyed, unsigned short keyCount, unsigned key,
                   unsigned width)
{
    const std::uint32_t count = keys::ComponentKeys(keyed, keyCount);
    const std::size_t at = std::size_t{key < count ? key : count - 1} * width;
    return count != 0 && at + width <= keys.size() ? keys.data() + at : nullptr;
}

_Vector3<float> VectorOr(const float* key, float none)
{
    return key ? _Vector3<float>{key[0], key[1], key[2]} : _Vector3<float>{none, none, none};
}

}  // namespace

const unsigned char* vlTransKeysData::ReadData(const void* src, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(src), end);
    const auto scope = in.Enter(io::Block::TransformKeys);
    io::ReadTwice(in, [&, count = m_keyCount, flags = m_compressFlags](const io::Pass& pass) {
        keys::Read(pass, count, flags, this);
    });
    return in.Position();
}

void vlTransKeysData::GetKeyPRS(unsigned short key, _Vector3<float>* position, _Rotation<float>* rotation,
                                _Vector3<float>* scale) const noexcept
{
    if (position)
        *position = VectorOr(KeyAt(m_pos, m_posKeyed, m_keyCount, key, 3), 0.0F);
    if (rotation) {
        const float* rot = KeyAt(m_rot, m_rotKeyed, m_keyCount, key, m_rotOrder ? 3 : 4);
        if (!rot)
            *rotation = {0.0F, 0.0F, 0.0F, 1.0F};
        else if (m_rotOrder)
            *rotation = keys::EulerToRotation(rot, m_rotOrder);
        else
            *rotation = {rot[0], rot[1], rot[2], rot[3]};
    }
    if (scale)
        *scale = VectorOr(KeyAt(m_scale, m_scaleKeyed, m_keyCount, key, 3), 1.0F);
}

}  // namespace vela::vlgim
