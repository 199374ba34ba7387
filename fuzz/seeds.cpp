#include "Input.h"

#include "support/AnimBytes.h"
#include "support/MeshBytes.h"

#include <anim/AnimFile.h>
#include <vlgim/vlAnimData.h>

#include <cstring>
#include <fstream>
#include <iostream>

// Writes inputs to start from, a file for each version and form: seeds FOLDER makes FOLDER/mesh and so on.
namespace vela::vlgim::fuzz {

namespace {

using test::ByteBuilder;
using test::Name;

void Save(const std::filesystem::path& folder, const std::string& name, const Bytes& content)
{
    std::filesystem::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

Bytes Joined(const std::vector<Bytes>& files)
{
    ByteBuilder all;
    for (std::size_t i = 0; i < files.size(); ++i)
        all.Raw(i ? Bytes(kSeparator.begin(), kSeparator.end()) : Bytes()).Raw(files[i]);
    return all.Bytes();
}

Bytes Text(std::string_view text)
{
    return {text.begin(), text.end()};
}

// --- meshes of one submesh, with three vertices and a triangle ---

struct MeshForm {
    std::uint32_t version;
    std::uint16_t skeletonFlag = 0;
    std::uint16_t morphKeys = 0;
    bool tracks = false;
    bool half = false;
    bool hasData = true;
    unsigned original = 1;  ///< blocks
};

constexpr unsigned kVertices = 3;

void AddFloats(ByteBuilder& file, unsigned count, float first)
{
    for (unsigned i = 0; i < count; ++i)
        file.F32(first + static_cast<float>(i) / 4);
}

void AddNumbers(ByteBuilder& file, unsigned count, bool half)
{
    if (!half)
        return AddFloats(file, count, 0.5F);
    for (unsigned i = 0; i < count; ++i)
        file.U16(static_cast<std::uint16_t>(0x3800U + 64 * i));
}

void AddAnimation(ByteBuilder& file, const MeshForm& form)
{
    file.U8(form.morphKeys != 0);
    if (form.morphKeys) {
        file.U8(1).U16(form.morphKeys);
        AddFloats(file, form.morphKeys, 0);
    }
    file.U8(form.tracks);
    if (form.tracks)
        file.U32(0x10001).Raw(test::TrackBlock());
    // Records for each key: of the mesh, and of its submesh.
    const unsigned keys = form.tracks ? 2U : form.morphKeys;
    if (form.version < 0x50002)
        file.Fill(std::size_t{keys} * 28 * 2, 9);
}

void AddBones(ByteBuilder& file, std::uint32_t version)
{
    file.U16(2);
    if (version >= 0x50004)
        file.U16s({0xFFFF, 0});
    else
        file.U8(255).U8(0);
    file.Raw(Name("Root")).Raw(Name("hip")).U8(1);
    AddFloats(file, 2 * 7, 1);
    AddFloats(file, 2 * 16, 0);
    file.U8(1).U32(7).U16(2).U16(1).Fill(28, 1).U16(0);  // groups that nothing is kept of
}

void AddVertices(ByteBuilder& file, const MeshForm& form)
{
    const unsigned frames = std::max<unsigned>(form.morphKeys, 1);
    file.U32(kVertices).U32(1).U8(form.hasData ? 2 : 0).U8(form.hasData);
    file.U16(form.hasData).U32(kVertices).U32(1);
    if (!form.hasData)
        return;
    AddNumbers(file, 3 * kVertices, form.half);
    if (form.half)  // what is left of the place of full floats, which the positions keep
        file.Fill(std::size_t{3} * kVertices * 2, 0);
    AddFloats(file, 3 * kVertices, -1);
    if (form.version >= 0x50001) {
        file.U16(1);
        AddFloats(file, 3 * kVertices * frames, 2);
    }
    file.U16s({0, 1, 2});
    AddNumbers(file, 2 * 2 * kVertices, form.half);
    if (form.half)
        file.Fill(std::size_t{2} * 2 * kVertices * 2, 0);
    file.U32s({1, 2, 0xFF00FF00});
    AddFloats(file, 6 * kVertices * (frames - 1), 3);
}

void AddSkin(ByteBuilder& file, std::uint32_t version)
{
    for (unsigned i = 0; i < kVertices; ++i)
        if (version >= 0x50004)
            file.U16s({0, 1, 0xFFFF, 0xFFFF});
        else
            file.U8(0).U8(1).U8(255).U8(255);
    for (unsigned i = 0; i < kVertices; ++i)
        file.F32s({0.75F, 0.25F, 0, 0});
    if (version >= 0x50004)
        file.U32(2).U8(1);
    else if (version >= 0x50003)
        file.Fill(32, 1);
}

Bytes MeshFile(const MeshForm& form)
{
    ByteBuilder file;
    file.U32(0xBBC88034).U32(form.version | (form.half ? 1U << 24 : 0U)).U16(form.skeletonFlag);
    AddAnimation(file, form);
    if (form.skeletonFlag == 1)
        AddBones(file, form.version);
    const std::size_t tableOffsetAt = file.Bytes().size();
    file.U32(0);
    ByteBuilder blocks, pairs;
    const auto push = [&](std::uint32_t type, std::uint16_t index) {
        blocks.U32(static_cast<std::uint32_t>(file.Bytes().size()));
        pairs.U32(type).U16(index).U16(0);
    };
    push(4, 0);
    AddVertices(file, form);
    if (form.skeletonFlag != 0)
        AddSkin(file, form.version);
    for (unsigned i = 0; i < form.original; ++i) {
        push(5, static_cast<std::uint16_t>(i + 1));
        file.U32(1).F32s({1, 2, 3}).U32(3).U16s({0, 0, 0}).U32(1).U32(77);
        file.U8(i % 2 == 0);
        if (i % 2 == 0)
            file.U8(1).U8(2).U8(3).U8(4).F32s({1, 0, 0, 0});
    }
    const auto tableAt = static_cast<std::uint32_t>(file.Bytes().size());
    const auto count = static_cast<std::uint16_t>(form.original + 1);
    file.U16(count).Raw(blocks).U16(count).Raw(pairs);
    return test::With(file, tableOffsetAt, ByteBuilder().U32(tableAt));
}

void SaveMeshes(const std::filesystem::path& folder)
{
    for (const std::uint32_t version : {0x50000U, 0x50001U, 0x50002U, 0x50003U, 0x50004U}) {
        const std::pair<const char*, MeshForm> forms[] = {
            {"static", {version}},
            {"skinned", {version, 1}},
            {"boneless", {version, 2}},
            {"morphed", {version, 0, 2}},
            {"tracked", {version, 0, 0, true}},
            {"all", {version, 1, 3, true, false, true, 3}},
            {"half", {version, 1, 2, false, true}},
            {"empty", {version, 1, 0, false, false, false, 0}},
        };
        for (const auto& [name, form] : forms)
            Save(folder, std::to_string(version & 0xF) + name, ByteBuilder().U32(1).Raw(MeshFile(form)));
        const Bytes block = version == 0x50000 ? test::WithoutTangents() : test::TwoSubmeshBlock();
        Save(folder, std::to_string(version & 0xF) + "two",
             ByteBuilder().U32(2).Raw(test::StaticMesh(block, version)));
    }
}

// --- animations ---

Bytes GisFile(std::uint32_t version, bool async, std::uint8_t layout)
{
    ByteBuilder file;
    file.Raw(Text("RGIS")).U32(version).U16(2);
    if (version >= 0x60000)
        file.U32(2).Raw(Name("hip")).Raw(Name("Head")).F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1});
    if (version >= 0x60000)
        file.F32s({1, 2, 3, 0.5F, 0.5F, 0.5F, 0.5F, 2, 2, 2}).U32(async);
    if (async && version >= 0x60001)
        return file.U32(1108).Raw(test::BaseInfo("walk")).Raw(test::BaseInfo("Run")).Bytes();
    if (!async)
        file.Raw(test::ClipRecord(version, layout)).Raw(test::ClipRecord(version, layout, "Run"));
    return file.Bytes();
}

// The first clip of a plain file in this form, with rotations that move.
Bytes InForm(const Bytes& plain, std::uint8_t flags)
{
    vlAnimData anim;
    if (!anim.ReadAnimationFile(plain.data(), static_cast<std::uint32_t>(plain.size()), "a.gis"))
        std::abort();
    vlClipData& clip = *anim.m_clips[0];
    clip.m_compressFlags = flags;
    vlTransKeysData& keys = clip.m_keys[0];
    keys.m_rotKeyed = keys.m_scaleKeyed = 1;
    keys.m_rot = {0, 0, 0, 1, 0.5F, -0.5F, 0.5F, -0.5F};
    keys.m_scale = {1, 1, 1, 2, 0.5F, 1};
    return test::Written([&](vlio::Sink& sink) { anim::WriteFile(sink, anim); });
}

void SaveAnimations(const std::filesystem::path& folder)
{
    const std::uint8_t layouts[] = {KEY_LAYOUT_PER_BONE, KEY_LAYOUT_SHARED, 2};
    const std::uint8_t forms[] = {KEY_HALF_ROT, KEY_HALF_SCALE, KEY_PACKED_ROT32, KEY_PACKED_ROT48,
                                  KEY_HALF_ROT | KEY_HALF_SCALE | KEY_PACKED_ROT48};
    for (const std::uint32_t version :
         {0x50000U, 0x50001U, 0x50002U, 0x50003U, 0x50004U, 0x60000U, 0x60001U}) {
        const std::string name = std::to_string(version >> 16) + "." + std::to_string(version & 0xF);
        for (const std::uint8_t layout : layouts)
            if (layout == KEY_LAYOUT_PER_BONE || version >= 0x50003)
                Save(folder, name + "layout" + std::to_string(layout), GisFile(version, false, layout));
        if (version >= 0x50002)
            for (const std::uint8_t flags : forms)
                Save(folder, name + "form" + std::to_string(flags),
                     InForm(GisFile(version, false, 1), flags));
    }
    Save(folder, "6.0async", GisFile(0x60000, true, 1));
    const Bytes sides[] = {test::ClipRecord(0x60001), test::ClipRecord(0x60001, 0, "Run")};
    Save(folder, "6.1async", Joined({GisFile(0x60001, true, 1), sides[0], sides[1]}));
    Save(folder, "6.1missing", Joined({GisFile(0x60001, true, 1), {}, sides[1]}));
    ByteBuilder pivot = test::ClipInfo(0x60001, "walk", {}, 2);
    pivot.U8(1).U32(0x10001).Raw(test::TrackBlock());
    Save(folder, "6.1pivot", Joined({GisFile(0x60001, true, 1), pivot, sides[1]}));
}

void SaveTracks(const std::filesystem::path& folder)
{
    for (const std::uint32_t version : {0x10000U, 0x10001U})
        Save(folder, std::to_string(version & 1),
             ByteBuilder().Raw(Text("VTRK")).U32(version).U16(256).Raw(test::TrackBlock()));
    ByteBuilder euler;
    euler.Raw(Text("VTRK")).U32(0x10001).U16(256).Raw(Name("Euler")).Fill(4, 1).U16(0).U16(2).F32s({0, 1});
    euler.U16(2).U8(1).U8(1).U8(1).U8(3);
    AddFloats(euler, 2 * 9, 0);
    euler.U8(0).U8(1).U8(0).U8(0);
    AddFloats(euler, 3 + 2 * 4 + 3, 0);
    Save(folder, "euler", euler);
}

void SaveModels(const std::filesystem::path& folder)
{
    const auto manifest = [](std::string_view attributes, std::string_view more) {
        std::string text = "<?xml version=\"1.0\"?>\r\n<Vela ";
        text.append(attributes).append(">\r\n\t<SubMesh><a Name=\"walls\" MtlIdx=\"1\"/></SubMesh>");
        return Text(text.append(more).append("</Vela>\r\n"));
    };
    const Bytes materials =
        Text(R"(<Vela><MaterialGroup><brick><Material><ParamTable><Tex Value="a &amp; b"/>)"
             R"(</ParamTable></Material></brick></MaterialGroup></Vela>)");
    const Bytes music =
        Text("\xEF\xBB\xBF<Vela>\r\n<!-- a --><Event Name='x'>&#65;<![CDATA[ b ]]></Event>\r\n</Vela>");
    const std::pair<const char*, Bytes> manifests[] = {
        {"plain", manifest("", "<SkeletonFile><FileName Value=\"hero.gis\"/></SkeletonFile>")},
        {"named", manifest("Mesh='.\\a.mesh'", "<MtgFile MtgPath=\"a.mtg\"/>")},
        {"unnumbered", Text("<Vela><SubMesh><a Name='x'/></SubMesh></Vela>")},
        {"meshless", Text("<Vela><SubMesh/></Vela>")},
    };
    for (const auto& [name, text] : manifests) {
        Save(folder, name, Joined({text, MeshFile({0x50004}), materials, music}));
        Save(folder, std::string(name) + "-skinned", Joined({text, MeshFile({0x50003, 1, 0, true})}));
    }
}

// All inputs of the other targets, with the number of the target ahead.
void SaveChecks(const std::filesystem::path& seeds, const std::filesystem::path& corpus)
{
    unsigned char number = 0;
    for (const char* target : {"mesh", "gis", "track", "gim"}) {
        for (const std::filesystem::path& folder : {seeds / target, corpus / target})
            for (const auto& entry : std::filesystem::directory_iterator(folder)) {
                std::ifstream file(entry.path(), std::ios::binary);
                Bytes input{number};
                input.insert(input.end(), std::istreambuf_iterator<char>(file), {});
                Save(seeds / "check", target + entry.path().filename().string(), input);
            }
        ++number;
    }
}

}  // namespace

}  // namespace vela::vlgim::fuzz

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "Usage: fuzz_seeds FOLDER CORPUS\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    vela::vlgim::fuzz::SaveMeshes(folder / "mesh");
    vela::vlgim::fuzz::SaveAnimations(folder / "gis");
    vela::vlgim::fuzz::SaveTracks(folder / "track");
    vela::vlgim::fuzz::SaveModels(folder / "gim");
    vela::vlgim::fuzz::SaveChecks(folder, argv[2]);
}
