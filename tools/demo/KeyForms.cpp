#include "demo/Models.h"
#include "demo/Parts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numbers>
#include <vector>

namespace vela::vlgim::tools {

namespace {

using Rotation = geomath::_Rotation<float>;

constexpr unsigned short kKeys = 60;

// A lamp in the wind: the rotation is keyed, position and scale stand once for all keys.
vlTransKeysData Angles()
{
    vlTransKeysData channel = RestingChannel(kKeys, false, true);
    channel.m_rotOrder = EULER_XYZ;
    channel.m_rot = Array<float>(std::size_t{kKeys} * 3);
    float* angles = channel.m_rot.get();
    for (int key = 0; key < kKeys; ++key) {
        const float phase = static_cast<float>(key) * (2 * std::numbers::pi_v<float> / kKeys);
        *angles++ = 0.2F * std::sin(2 * phase);
        *angles++ = 0.1F * std::cos(phase);
        *angles++ = 0.9F * std::sin(phase);
    }
    return channel;
}

Rotation RotationAt(const vlTransKeysData& channel, unsigned short key)
{
    Rotation rotation{};
    channel.GetKeyPRS(key, nullptr, &rotation, nullptr);
    return rotation;
}

vlTransKeysData Quaternions(const vlTransKeysData& angles)
{
    vlTransKeysData channel = angles;
    channel.m_rotOrder = 0;
    channel.m_rot = Array<float>(std::size_t{kKeys} * 4);
    for (unsigned short key = 0; key < kKeys; ++key) {
        const Rotation q = RotationAt(angles, key);
        std::memcpy(&channel.m_rot[std::ptrdiff_t{4} * key], &q, sizeof q);
    }
    return channel;
}

// Of the rotation that leads from one to the other, whatever the lengths and signs of the quaternions.
double DegreesBetween(const Rotation& a, const Rotation& b)
{
    const double ax = a.x, ay = a.y, az = a.z, aw = a.w;
    const double x = aw * b.x - ax * b.w - ay * b.z + az * b.y;
    const double y = aw * b.y - ay * b.w - az * b.x + ax * b.z;
    const double z = aw * b.z - az * b.w - ax * b.y + ay * b.x;
    const double w = aw * b.w + ax * b.x + ay * b.y + az * b.z;
    return 2 * std::atan2(std::sqrt(x * x + y * y + z * z), std::fabs(w)) * 180 / std::numbers::pi;
}

std::vector<unsigned char> Written(vlTransKeysData& channel)
{
    std::vector<unsigned char> bytes;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::tmpfile(), std::fclose);
    if (!stream)
        return bytes;
    channel.WriteData(stream.get());
    bytes.resize(static_cast<std::size_t>(std::ftell(stream.get())));
    std::rewind(stream.get());
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream.get()));
    return bytes;
}

bool PrintForm(const char* name, vlTransKeysData channel, unsigned char form)
{
    const vlTransKeysData before = channel;
    channel.m_compressFlags = form;
    const std::vector<unsigned char> bytes = Written(channel);

    vlTransKeysData decoded;
    decoded.m_keyCount = kKeys;
    decoded.m_compressFlags = form;
    if (bytes.empty() || !decoded.ReadData(bytes.data(), bytes.data() + bytes.size()))
        return false;
    double error = 0;
    for (unsigned short key = 0; key < kKeys; ++key)
        error = std::max(error, DegreesBetween(RotationAt(before, key), RotationAt(decoded, key)));
    std::printf("  %-28s  %5zu  %12.2f  %.6f\n", name, bytes.size(),
                static_cast<double>(bytes.size() - 28) / kKeys, error);
    return true;
}

}  // namespace

bool PrintKeyForms()
{
    const vlTransKeysData angles = Angles();
    const vlTransKeysData quaternions = Quaternions(angles);
    std::printf("A bone that swings through %u keys, in each form that a file can hold\n\n", kKeys);
    std::printf("  %-28s  %5s  %12s  %s\n", "rotation keys", "bytes", "bytes a key",
                "largest error, degrees");
    return PrintForm("quaternions, floats", quaternions, 0) &&
           PrintForm("quaternions, halves", quaternions, KEY_HALF_ROT) &&
           PrintForm("quaternions, 48 bits", quaternions, KEY_PACKED_ROT48) &&
           PrintForm("quaternions, 32 bits", quaternions, KEY_PACKED_ROT32) &&
           PrintForm("Euler angles, floats", angles, 0) &&
           PrintForm("Euler angles, halves", angles, KEY_HALF_ROT);
}

}  // namespace vela::vlgim::tools
