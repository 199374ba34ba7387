#include "TransKeysBlock.h"

#include <corecommon/Log.h>

#include <cstring>
#include <utility>

namespace vela::vlgim {

namespace keys {

namespace {

// The components that PackKeys is asked to look at.
constexpr unsigned short kPackPos = 1;
constexpr unsigned short kPackRot = 2;
constexpr unsigned short kPackScale = 4;
constexpr unsigned short kPackAll = 7;

// A new array, since copies may show the old one.
template <class T>
void KeepFirst(std::shared_ptr<T[]>& array, std::size_t bytes)
{
    auto first = std::make_shared_for_overwrite<T[]>(bytes / sizeof(T));
    std::memcpy(first.get(), array.get(), bytes);
    array = std::move(first);
}

bool Constant(const KeyForm& form, const float* keys, const void* records, std::uint32_t count)
{
    return (!form.comparesFloats || FloatsConstant(keys, count, form.width)) &&
           (!form.constant || form.constant(records, count));
}

// Reduces a component to key 0 where all of its keys equal it.
template <class T>
void CollapseConstant(const KeyForm& form, std::uint32_t count, unsigned char& keyed,
                      std::shared_ptr<float[]>& keys, std::shared_ptr<T[]>& records)
{
    if (!keyed || !Constant(form, keys.get(), records.get(), count))
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

std::string WhyUnwritable(const vlTransKeysData& keys, unsigned short keyCount, UnsetCounts* counts)
{
    if (counts && !counts->Agree(keys, keyCount))
        return "another shares it, with other than " + std::to_string(keyCount) + " keys";
    if (keys.m_keyCount != 0 && keys.m_keyCount != keyCount)
        return std::to_string(keys.m_keyCount) + " keys, but times for " + std::to_string(keyCount);
    const struct {
        const char* name;
        unsigned char keyed;
        const float* array;
    } components[] = {{"position", keys.m_posKeyed, keys.m_pos.get()},
                      {"rotation", keys.m_rotKeyed, keys.m_rot.get()},
                      {"scale", keys.m_scaleKeyed, keys.m_scale.get()}};
    for (const auto& component : components)
        if (!component.array && ComponentKeys(component.keyed, keyCount) != 0)
            return std::string("no array holds the ") + component.name + " keys";
    return {};
}

void Write(io::BlockWriter& out, vlTransKeysData& keys)
{
    keys.PackTransData();
    keys.PackKeys(kPackAll);
    const unsigned char head[] = {keys.m_posKeyed, keys.m_rotKeyed, keys.m_scaleKeyed, keys.m_rotOrder};
    out.Run(head, sizeof head);
    out.Run(keys.m_pos.get(), std::uint64_t{3} * ComponentKeys(keys.m_posKeyed, keys.m_keyCount));
    WriteComponent(out, RotationForm(keys.m_rotOrder, keys.m_compressFlags), keys.m_rot.get(),
                   keys.m_packedRot.get(), ComponentKeys(keys.m_rotKeyed, keys.m_keyCount));
    WriteComponent(out, ScaleForm(keys.m_compressFlags), keys.m_scale.get(), keys.m_packedScale.get(),
                   ComponentKeys(keys.m_scaleKeyed, keys.m_keyCount));
}

}  // namespace keys

void vlTransKeysData::PackTransData()
{
    const keys::KeyForm& rotForm = keys::RotationForm(m_rotOrder, m_compressFlags);
    if (rotForm.encode && m_rot) {
        const std::uint32_t count = keys::ComponentKeys(m_rotKeyed, m_keyCount);
        m_packedRot =
            std::make_shared_for_overwrite<unsigned char[]>(std::size_t{count} * rotForm.recordSize);
        rotForm.encode(m_rot.get(), count, m_packedRot.get());
    }
    const keys::KeyForm& scaleForm = keys::ScaleForm(m_compressFlags);
    if (scaleForm.encode && m_scale) {
        const std::uint32_t count = keys::ComponentKeys(m_scaleKeyed, m_keyCount);
        m_packedScale = std::make_shared_for_overwrite<unsigned short[][3]>(count);
        scaleForm.encode(m_scale.get(), count, m_packedScale.get());
    }
}

void vlTransKeysData::PackKeys(unsigned short mask)
{
    if (m_keyCount == 0)  // there is no key 0 to keep
        return;
    std::shared_ptr<unsigned char[]> none;  // positions have no packed form
    if (mask & keys::kPackPos)
        keys::CollapseConstant(keys::PositionForm(), m_keyCount, m_posKeyed, m_pos, none);
    if (mask & keys::kPackRot)
        keys::CollapseConstant(keys::RotationForm(m_rotOrder, m_compressFlags), m_keyCount, m_rotKeyed, m_rot,
                               m_packedRot);
    if (mask & keys::kPackScale)
        keys::CollapseConstant(keys::ScaleForm(m_compressFlags), m_keyCount, m_scaleKeyed, m_scale,
                               m_packedScale);
}

void vlTransKeysData::WriteData(std::FILE* stream)
{
    const std::string reason = keys::WhyUnwritable(*this, m_keyCount);
    if (!reason.empty()) {
        LogError("unable to write transform keys: %s", reason.c_str());
        return;
    }
    io::BlockWriter out(stream);
    keys::Write(out, *this);
}

}  // namespace vela::vlgim
