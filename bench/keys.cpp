#include "Floors.h"
#include "Machine.h"
#include "Models.h"
#include "Table.h"

#include "support/Bytes.h"

#include <keys/KeyForms.h>

#include <memory>

// What a key costs: the kernel of each form alone, and a whole channel.
namespace vela::vlgim::bench {

namespace {

using keys::KeyForm;

// So many channels of so many keys.
struct Shape {
    const char* name;
    std::size_t channels, keys;

    std::size_t AllKeys() const { return channels * keys; }
};
constexpr Shape kShort{"180 channels of 30 keys", 180, 30};
constexpr Shape kLong{"4,096 keys", 1, 4096};  // all that stays in the second-level cache
constexpr Shape kUnseen{"a million keys not seen before", 1, 1'000'000};

// Pushes everything else out of the caches, with lines that need not be written back meanwhile.
void ForgetAll()
{
    // Several times what one core can have of the largest last-level caches.
    static const std::vector<unsigned char> other(std::size_t{256} << 20, 1);
    unsigned sum = 0;
    for (std::size_t i = 0; i < other.size(); i += 64)
        sum += other[i];
    Keep(&sum);
}

struct Channels {
    Channels(const KeyForm& keyForm, Shape keyShape)
        : form(keyForm), shape(keyShape), original(Tumble(shape.AllKeys())), floats(original),
          decoded(shape.AllKeys() * form.width), file(shape.AllKeys() * form.recordSize + 1)
    {
        original.resize(shape.AllKeys() * form.width);
        floats.resize(original.size());
        Encode();
    }

    // A run for each channel.
    void Encode()
    {
        for (std::size_t key = 0; key < shape.AllKeys(); key += shape.keys)
            form.encode(floats.data() + key * form.width, shape.keys, Records() + key * form.recordSize);
        Keep(Records());
    }

    void Decode()
    {
        for (std::size_t key = 0; key < shape.AllKeys(); key += shape.keys)
            form.decode(Records() + key * form.recordSize, shape.keys, decoded.data() + key * form.width);
        Keep(decoded.data());
    }

    // Every channel has an array of its own, so the floor copies one at a time, too.
    void Copy()
    {
        const std::size_t run = shape.keys * form.width;
        for (std::size_t first = 0; first < floats.size(); first += run)
            std::memcpy(decoded.data() + first, floats.data() + first, run * sizeof(float));
        Keep(decoded.data());
    }

    // At no alignment, as in a file.
    unsigned char* Records() { return file.data() + 1; }

    const KeyForm& form;
    Shape shape;
    std::vector<float> original;  // before encoding has turned signs
    std::vector<float> floats, decoded;
    std::vector<unsigned char> file;
};

Pair Decoding(const KeyForm& form, Shape shape)
{
    const auto channels = std::make_shared<Channels>(form, shape);
    const auto decode = [=] { channels->Decode(); };
    const auto copy = [=] { channels->Copy(); };
    return shape.keys == kUnseen.keys ? InProcess(decode, copy, ForgetAll) : InProcess(decode, copy);
}

Pair Encoding(const KeyForm& form, Shape shape)
{
    const auto channels = std::make_shared<Channels>(form, shape);
    const auto prepare = [=] {
        channels->floats = channels->original;
        if (shape.keys == kUnseen.keys)
            ForgetAll();
    };
    return InProcess([=] { channels->Encode(); }, [=] { channels->Copy(); }, prepare);
}

// The whole call, from a new object to its end.
Pair ReadingChannel(unsigned char form)
{
    vlTransKeysData channel = Channel(form);
    const Bytes block = test::Written([&](std::FILE* stream) { channel.WriteData(stream); });
    const auto read = [=] {
        vlTransKeysData target;
        target.m_keyCount = kClipKeys;
        target.m_compressFlags = form;
        if (!target.ReadData(block.data(), block.data() + block.size()))
            std::abort();
        Keep(target.m_rot.get());
    };
    return InProcess(read, CopyInUse(kChannelBytes));
}

// What may take this much on AVX2 and this much on AVX-512.
struct Goal {
    double avx2, avx512;
};

void AddKernel(Rows& rows, const char* name, Pair (*pair)(const KeyForm&, Shape), const KeyForm& form,
               Shape shape, Goal goal)
{
    rows.push_back({std::string(name) + ", " + shape.name, "F(mem)",
                    ThisMachine().HasAvx512() ? goal.avx512 : goal.avx2,
                    [&form, pair, shape] { return pair(form, shape); }});
}

}  // namespace

void AddKeyRows(Rows& rows)
{
    const KeyForm& halfScales = keys::ScaleForm(KEY_HALF_SCALE);
    const KeyForm& halfRotations = keys::RotationForm(0, KEY_HALF_ROT);
    const KeyForm& packed32 = keys::RotationForm(0, KEY_PACKED_ROT32);
    const KeyForm& packed48 = keys::RotationForm(0, KEY_PACKED_ROT48);

    AddKernel(rows, "decode halves", Decoding, halfScales, kShort, {1.4, 1.4});
    AddKernel(rows, "decode half rotations", Decoding, halfRotations, kShort, {2.4, 2.4});
    AddKernel(rows, "decode half rotations", Decoding, halfRotations, kLong, {2.0, 2.0});
    AddKernel(rows, "decode packed 32", Decoding, packed32, kShort, {4.5, 3.5});
    AddKernel(rows, "decode packed 32", Decoding, packed32, kLong, {7, 4});
    AddKernel(rows, "decode packed 32", Decoding, packed32, kUnseen, {1.6, 1.0});
    AddKernel(rows, "decode packed 48", Decoding, packed48, kShort, {5, 4});
    AddKernel(rows, "decode packed 48", Decoding, packed48, kLong, {8, 4.5});
    AddKernel(rows, "decode packed 48", Decoding, packed48, kUnseen, {1.8, 1.1});
    AddKernel(rows, "encode packed 32", Encoding, packed32, kLong, {8, 5});
    AddKernel(rows, "encode packed 32", Encoding, packed32, kUnseen, {1.6, 1.0});
    AddKernel(rows, "encode packed 48", Encoding, packed48, kLong, {9, 5.5});
    AddKernel(rows, "encode packed 48", Encoding, packed48, kUnseen, {1.6, 1.0});
    AddKernel(rows, "encode half rotations", Encoding, halfRotations, kLong, {2.0, 1.5});

    const auto addChannel = [&rows](const char* form, unsigned char flags) {
        rows.push_back({std::string("channel of 30 keys, ") + form + " and half scales, whole call", "F(mem)",
                        6.0, [flags] { return ReadingChannel(flags | KEY_HALF_SCALE); }});
    };
    addChannel("packed 32", KEY_PACKED_ROT32);
    addChannel("packed 48", KEY_PACKED_ROT48);
    addChannel("half rotations", KEY_HALF_ROT);
}

}  // namespace vela::vlgim::bench
