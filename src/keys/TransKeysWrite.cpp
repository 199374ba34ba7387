#include "TransKeysBlock.h"

#include <io/Errors.h>
#include <io/SaveFile.h>

#include <cstring>
#include <utility>

namespace vela::vlgim {

namespace keys {

namespace {

bool Constant(const KeyForm& form, const float* keys, const void* records, std::uint32_t count)
{
    return (!form.comparesFloats || FloatsConstant(keys, count, form.width)) &&
           (!form.constant || form.constant(records, count));
}

template <class T>
void KeepFirst(Array<T>& array, std::size_t bytes)
{
    auto first = Array<T>::ForOverwrite(bytes / sizeof(T));
    std::memcpy(first.data(), array.data(), bytes);
    array = std::move(first);
}

// Reduces a component to key 0 where all of its keys equal it.
template <class T>
void CollapseConstant(const KeyForm& form, std::uint32_t count, unsigned char& keyed, Array<float>& keys,
                      Array<T>& records)
{
    if (!keyed || !Constant(form, keys.data(), records.data(), count))
        return;
    if (form.shrinksFloats)
        KeepFirst(keys, form.width * sizeof(float));
    else
        KeepFirst(records, form.recordSize);
    keyed = 0;
}

void WriteComponent(io::BlockWriter& out, const KeyForm& form, const float* keys, const void* records,
                    std::uint32_t count)
{
    if (form.encode)
        out.Run(static_cast<const unsigned char*>(records), std::uint64_t{count} * form.recordSize);
    else
        out.Run(keys, std::uint64_t{count} * form.width);
}

}  // namespace

Error WhyUnwritable(const vlTransKeysData& keys, unsigned short keyCount)
{
    Error why;
    VisitComponents(
        keys, [&](const char* name, const Array<float>& array, unsigned char keyed, std::uint32_t width) {
            const std::uint64_t floats = std::uint64_t{ComponentKeys(keyed, keyCount)} * width;
            // An array with more keys than there are times is another channel's, or will be cut for good.
            const bool isFitting = keyed && keyCount != 0 ? floats == array.size() : io::Holds(array, floats);
            if (!why && !isFitting)
                why = io::WhyShort(array, floats, name, true);
        });
    return why;
}

void PackTransData(vlTransKeysData& keys)
{
    const KeyForm& rotForm = RotationForm(keys.m_rotOrder, keys.m_compressFlags);
    if (rotForm.encode && keys.m_rot) {
        const std::uint32_t count = ComponentKeys(keys.m_rotKeyed, keys.m_keyCount);
        keys.m_packedRot = Array<unsigned char>::ForOverwrite(std::size_t{count} * rotForm.recordSize);
        Array<float> turned = keys.m_rot.Clone();
        rotForm.encode(turned.data(), count, keys.m_packedRot.data());
        if (std::memcmp(turned.data(), keys.m_rot.data(), turned.size() * sizeof(float)) != 0)
            keys.m_rot = std::move(turned);
    }
    const KeyForm& scaleForm = ScaleForm(keys.m_compressFlags);
    if (scaleForm.encode && keys.m_scale) {
        const std::uint32_t count = ComponentKeys(keys.m_scaleKeyed, keys.m_keyCount);
        keys.m_packedScale = Array<std::array<unsigned short, 3>>::ForOverwrite(count);
        scaleForm.encode(keys.m_scale.data(), count, keys.m_packedScale.data());
    }
}

void PackKeys(vlTransKeysData& keys)
{
    if (keys.m_keyCount == 0)  // there is no key 0 to keep
        return;
    Array<unsigned char> none;  // positions have no packed form
    CollapseConstant(PositionForm(), keys.m_keyCount, keys.m_posKeyed, keys.m_pos, none);
    CollapseConstant(RotationForm(keys.m_rotOrder, keys.m_compressFlags), keys.m_keyCount, keys.m_rotKeyed,
                     keys.m_rot, keys.m_packedRot);
    CollapseConstant(ScaleForm(keys.m_compressFlags), keys.m_keyCount, keys.m_scaleKeyed, keys.m_scale,
                     keys.m_packedScale);
}

void Write(io::BlockWriter& out, vlTransKeysData& keys)
{
    PackTransData(keys);
    PackKeys(keys);
    const unsigned char head[] = {keys.m_posKeyed, keys.m_rotKeyed, keys.m_scaleKeyed, keys.m_rotOrder};
    out.Run(head, sizeof head);
    out.Run(keys.m_pos.data(), std::uint64_t{3} * ComponentKeys(keys.m_posKeyed, keys.m_keyCount));
    WriteComponent(out, RotationForm(keys.m_rotOrder, keys.m_compressFlags), keys.m_rot.data(),
                   keys.m_packedRot.data(), ComponentKeys(keys.m_rotKeyed, keys.m_keyCount));
    WriteComponent(out, ScaleForm(keys.m_compressFlags), keys.m_scale.data(), keys.m_packedScale.data(),
                   ComponentKeys(keys.m_scaleKeyed, keys.m_keyCount));
}

}  // namespace keys

void vlTransKeysData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "unable to write transform keys", keys::WhyUnwritable(*this, m_keyCount),
                    [this](io::BlockWriter& out) { keys::Write(out, *this); });
}

}  // namespace vela::vlgim
