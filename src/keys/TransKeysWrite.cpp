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

// Makes the records of a component whose form has them, and reduces the component to key 0 where all of its keys equal
// it. Copies may share the old arrays, so what changes becomes a new one.
template <class T>
void Pack(const KeyForm& form, unsigned short keyCount, unsigned char& keyed, Array<float>& keys,
          Array<T>& records)
{
    const std::uint32_t count = ComponentKeys(keyed, keyCount);
    if (form.encode && keys) {
        records = Array<T>::ForOverwrite(std::size_t{count} * form.recordSize / sizeof(T));
        Array<float> turned = form.turnsSigns ? keys.Clone() : keys;
        form.encode(turned.data(), count, records.data());
        if (std::memcmp(turned.data(), keys.data(), keys.size() * sizeof(float)) != 0)
            keys = std::move(turned);
    }
    // Without keys there is no key 0 to keep.
    if (!keyed || count == 0 || !Constant(form, keys.data(), records.data(), count))
        return;
    if (form.shrinksFloats)
        KeepFirst(keys, form.width * sizeof(float));
    else
        KeepFirst(records, form.recordSize);
    keyed = 0;
}

template <class T>
void WriteComponent(io::BlockWriter& out, const KeyForm& form, std::uint32_t count, const Array<float>& keys,
                    const Array<T>& records)
{
    const void* const run = form.encode ? static_cast<const void*>(records.data()) : keys.data();
    out.Run(static_cast<const unsigned char*>(run), std::uint64_t{count} * form.recordSize);
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

void Write(io::BlockWriter& out, vlTransKeysData& keys)
{
    Array<unsigned char> none;  // positions have no records of their own
    const KeyForm& rotForm = RotationForm(keys.m_rotOrder, keys.m_compressFlags);
    const KeyForm& scaleForm = ScaleForm(keys.m_compressFlags);
    Pack(PositionForm(), keys.m_keyCount, keys.m_posKeyed, keys.m_pos, none);
    Pack(rotForm, keys.m_keyCount, keys.m_rotKeyed, keys.m_rot, keys.m_packedRot);
    Pack(scaleForm, keys.m_keyCount, keys.m_scaleKeyed, keys.m_scale, keys.m_packedScale);
    const unsigned char head[] = {keys.m_posKeyed, keys.m_rotKeyed, keys.m_scaleKeyed, keys.m_rotOrder};
    out.Run(head, sizeof head);
    WriteComponent(out, PositionForm(), ComponentKeys(keys.m_posKeyed, keys.m_keyCount), keys.m_pos, none);
    WriteComponent(out, rotForm, ComponentKeys(keys.m_rotKeyed, keys.m_keyCount), keys.m_rot,
                   keys.m_packedRot);
    WriteComponent(out, scaleForm, ComponentKeys(keys.m_scaleKeyed, keys.m_keyCount), keys.m_scale,
                   keys.m_packedScale);
}

}  // namespace keys

void vlTransKeysData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "unable to write transform keys", keys::WhyUnwritable(*this, m_keyCount),
                    [this](io::BlockWriter& out) { keys::Write(out, *this); });
}

}  // namespace vela::vlgim
