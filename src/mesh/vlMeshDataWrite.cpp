#include <vlgim/vlMeshData.h>

#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <platform/Files.h>
#include <track/TrackBlock.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <typeinfo>

namespace vela::vlgim {

namespace {

constexpr std::size_t kMostOriginalData = mesh::kMostTableEntries - 1;  // the vertex block is one more
constexpr std::uint64_t kLargestOffset = std::numeric_limits<std::uint32_t>::max();

// Whether an object is of one of the library's classes and no caller's, whose writer may put out what it likes.
bool IsOurs(const vlMeshVertexData& vertices)
{
    return typeid(vertices) == typeid(vlMeshVertexData) || typeid(vertices) == typeid(vlMeshSkelVertexData);
}

Error WhyKindUnwritable(const vlMeshData& mesh)
{
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(mesh.m_vertexData.get());
    if (mesh.m_skeletonFlag != 0 && !skin)
        return io::Unwritable("the skeleton flag is set, but the vertex object has no skin");
    if (mesh.m_skeletonFlag == 0 && skin)
        return io::Unwritable("the vertex object has a skin, but the skeleton flag is not set");
    if (skin && skin->m_maxBoneRefCount != kSlots)
        return io::Unwritable("a vertex has " + std::to_string(skin->m_maxBoneRefCount) +
                              " bone slots, but files have 4");
    return {};
}

// A reader takes the frame count from the morph's keys; the single-frame word is not in the file.
Error WhyFramesUnwritable(const vlMeshData& mesh)
{
    const std::uint32_t keys =
        mesh.m_hasMorph && mesh.m_morph->m_times.GetKeyTimes() ? mesh.m_morph->m_times.GetKeyCount() : 1U;
    const std::uint32_t frames = mesh.m_vertexData->m_frameCount;
    if (frames == std::max(keys, 1U))
        return {};
    return io::Unwritable(
        "the vertex object has " + std::to_string(frames) + " frames, but " +
        (mesh.m_hasMorph ? "the morph has " + std::to_string(keys) + " keys" : "there is no morph"));
}

// Of the share table, which stands last. Of the vertex block of a caller's class nobody knows the size.
std::uint64_t LargestOffset(const vlMeshData& mesh)
{
    std::uint64_t offset = 16;  // header, flags, table offset
    if (mesh.m_hasMorph)
        offset += 3 + 4 * std::uint64_t{mesh.m_morph->m_times.GetKeyCount()};
    for (std::uint32_t i = 0; mesh.m_hasTracks && i < mesh.m_vertexData->m_subCount; ++i)
        offset += tracks::LargestSize(mesh.m_tracks[i]);
    offset += mesh.m_hasTracks ? 4 : 0;
    if (mesh.m_skeletonFlag == kSkinned)
        offset += 4 + mesh::BoneCount(mesh) * std::uint64_t{2 + 32 + 28 + 64};
    offset += IsOurs(*mesh.m_vertexData) ? mesh::WrittenSize(*mesh.m_vertexData) : 0;
    for (const auto& data : mesh.m_originalData)
        offset += mesh::WrittenSize(*data);
    return offset;
}

Error WhyTooLarge(std::uint64_t offset)
{
    return offset > kLargestOffset
               ? io::Unwritable("the file would exceed 4 GiB, but its offsets have 32 bits")
               : Error();
}

Error WhyBlocksUnwritable(const vlMeshData& mesh)
{
    if (Error why = IsOurs(*mesh.m_vertexData) ? WhyUnwritable(*mesh.m_vertexData) : Error())
        return why;
    if (mesh.m_originalData.size() > kMostOriginalData)
        return io::Unwritable("there are " + std::to_string(mesh.m_originalData.size()) +
                              " blocks of original data, which exceeds the limit of 32766");
    const Error why =
        io::FirstInside(io::Block::OriginalData, mesh.m_originalData.size(), [&mesh](std::size_t i) {
            const auto& data = mesh.m_originalData[i];
            return data ? WhyUnwritable(*data) : io::Unwritable("the object is null");
        });
    return why ? why : WhyTooLarge(LargestOffset(mesh));
}

// Calls the writer of a caller's class. It may call that of its base, which logs why it refuses an object.
Error WriteForeign(vlMeshVertexData& vertices, std::FILE* file)
{
    Error why;
    const vela::ThreadLogSink sink(
        [](vela::LogLevel level, const char* text, void* error) {
            if (level == vela::LogLevel::Error)
                *static_cast<Error*>(error) = io::Unwritable(text);
        },
        &why);
    vertices.WriteData(file);
    return why;
}

// Gives what the writer of a caller's class puts out, by way of a file of its own: it may seek. Of an object of the
// library's classes it gives nothing.
Error TakeForeignBlock(const vlMeshData& mesh, vlio::Bytes& block)
{
    if (IsOurs(*mesh.m_vertexData))
        return {};
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(platform::OpenTemporary(), std::fclose);
    if (Error why = file ? WriteForeign(*mesh.m_vertexData, file.get()) : Error())
        return why;
    const bool isWritten = file && std::fseek(file.get(), 0, SEEK_END) == 0 && std::ferror(file.get()) == 0;
    const long size = isWritten ? std::ftell(file.get()) : -1;
    if (size < 0)
        return vlio::Failure(ErrorKind::NotWritten, 0, "",
                             "the vertex block could not be written to a temporary file");
    if (size == 0)
        return io::Unwritable("the vertex object has written nothing");
    if (Error why = WhyTooLarge(LargestOffset(mesh) + static_cast<std::uint64_t>(size)))
        return why;
    block.resize(static_cast<std::size_t>(size));
    std::rewind(file.get());
    if (std::fread(block.data(), 1, block.size(), file.get()) == block.size())
        return {};
    return vlio::Failure(ErrorKind::NotWritten, 0, "",
                         "the temporary file of the vertex block can't be read");
}

// What a writer that went well has to say.
Error WarnOfVertexTypes(const vlMeshData& mesh)
{
    const auto asVertex = std::count_if(mesh.m_originalData.begin(), mesh.m_originalData.end(),
                                        [](const auto& data) { return data->m_type == MESH_DATA_VERTEX; });
    const char* const text =
        " blocks of original data are marked as vertex data, so a reader will skip as many blocks";
    return asVertex ? Error{ErrorKind::Warning, 0, {}, {}, {}, std::to_string(asVertex) + text} : Error();
}

}  // namespace

namespace mesh {

std::uint64_t WriteFile(vlio::Sink& sink, const vlMeshData& mesh, const vlio::Bytes& foreign)
{
    io::BlockWriter out(sink);
    out.Value(kMeshMagic);
    out.Value(kNewestVersion);
    out.Value(mesh.m_skeletonFlag);
    WriteAnimation(out, mesh);
    WriteSkeleton(out, mesh);

    const std::uint64_t offsetAt = out.Position();
    out.Value(std::uint32_t{0});
    vlDataShareTable table;
    const auto push = [&](MESH_DATA_TYPE type) {
        table.PushDataPair(type, table.PushBlockInfo(static_cast<std::uint32_t>(out.Position())));
    };
    push(MESH_DATA_VERTEX);
    if (foreign.empty())
        Write(out, *mesh.m_vertexData);
    else
        out.Run(foreign.data(), foreign.size());
    for (const auto& data : mesh.m_originalData) {
        push(data->m_type);
        Write(out, *data);
    }
    const auto tableAt = static_cast<std::uint32_t>(out.Position());
    Write(out, table);
    out.Patch(offsetAt, tableAt);
    return offsetAt;
}

Error AddTo(vlio::FileWriter& set, const vlMeshData& mesh, const char* path, std::vector<Error>* warnings)
{
    vlio::Bytes foreign;
    vlio::Sink* sink = nullptr;
    Error error = TakeForeignBlock(mesh, foreign);
    if (!error)
        error = set.Open(path, sink);
    if (error)
        return io::InFile(std::move(error), path);
    WriteFile(*sink, mesh, foreign);
    if (Error warning = WarnOfVertexTypes(mesh))
        io::Append(warnings, {io::InFile(std::move(warning), path)});
    return {};
}

}  // namespace mesh

Error WhyUnwritable(const vlMeshData& mesh)
{
    if (!mesh.m_vertexData)
        return io::Unwritable("there is no vertex object");
    for (const auto ask : {WhyKindUnwritable, mesh::WhyAnimationUnwritable, mesh::WhySkeletonUnwritable,
                           WhyFramesUnwritable, WhyBlocksUnwritable})
        if (Error why = ask(mesh))
            return why;
    return {};
}

Error Save(const vlMeshData& mesh, const char* path, std::vector<Error>* warnings)
{
    if (Error why = WhyUnwritable(mesh))
        return io::InFile(std::move(why), path);
    return io::SaveSet(warnings,
                       [&](vlio::FileWriter& set) { return mesh::AddTo(set, mesh, path, warnings); });
}

// Writing changes the channels of the tracks.
// NOLINTNEXTLINE(readability-make-member-function-const)
int vlMeshData::WriteMeshFile(const char* path)
{
    std::vector<Error> warnings;
    const Error error = Save(*this, path, &warnings);
    vlio::LogWarnings(warnings, nullptr);
    return vlio::LogFailure(error, "mesh file") ? 1 : 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const)
int vlMeshData::WriteMeshFile(std::FILE* stream)
{
    Error why = WhyUnwritable(*this);
    // Offsets in the file count from the start of the stream.
    if (const long start = why ? 0 : std::ftell(stream); start != 0)
        why = io::Unwritable(start < 0 ? "the stream can't seek" : "the stream is not at its start");
    vlio::Bytes foreign;
    if (!why)
        why = TakeForeignBlock(*this, foreign);
    if (why) {
        LogError("mesh can't be written: %s", why.Message().c_str());
        return 0;
    }
    vlio::StreamSink sink(stream);
    const std::uint64_t tableOffset = mesh::WriteFile(sink, *this, foreign);
    // The word that was written last, wherever the writer patched it.
    std::fseek(stream, static_cast<long>(tableOffset + sizeof(std::uint32_t)), SEEK_SET);
    if (const Error warning = WarnOfVertexTypes(*this))
        LogWarning("%s", warning.text.c_str());
    return 0;
}

}  // namespace vela::vlgim
