#include "Floors.h"
#include "Models.h"
#include "Scratch.h"
#include "Table.h"

#include <vlgim/vlMeshData.h>
#include <vlio2/FileStream.h>

#include <memory>

namespace vela::vlgim::bench {

namespace {

enum class Target { kNew, kExisting };

// Each side writes its own file; what was there is removed outside of the time.
template <class Model>
Pair Writing(std::shared_ptr<Model> model, int (Model::*write)(const char*), Place place, Target target)
{
    const std::string path = ScratchPath(place, "model"), floorPath = ScratchPath(place, "floor");
    const auto save = [=] {
        if (((*model).*write)(path.c_str()) != 0)
            std::abort();
    };
    save();
    vlio::Bytes bytes;
    if (!vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_ANY))
        std::abort();
    const auto remove = [=] {
        ::unlink(floorPath.c_str());
        if (target == Target::kNew)
            ::unlink(path.c_str());
    };
    return InProcess(
        save, [=] { WriteOnce(floorPath.c_str(), bytes); }, remove);
}

Pair Mesh(std::uint32_t vertices, Place place, Target target)
{
    const Bytes image = MeshImage(vertices, false);
    const auto mesh = std::make_shared<vlMeshData>();
    mesh->m_submeshCount = 1;
    if (!mesh->ReadMeshFile(image.data(), image.size()))
        std::abort();
    return Writing<vlMeshData>(mesh, &vlMeshData::WriteMeshFile, place, target);
}

// In full floats, so that nothing is encoded.
Pair Anim(unsigned clips, Place place)
{
    return Writing<vlAnimData>(std::make_shared<vlAnimData>(Animation(clips, 0)),
                               &vlAnimData::WriteAnimationFile, place, Target::kNew);
}

}  // namespace

void AddWriteRows(Rows& rows)
{
    const auto add = [&rows](const std::string& work, std::optional<double> goal, auto prepare) {
        rows.push_back({work, "F(write)", goal, prepare});
    };
    const auto addMesh = [&](const std::string& work, std::uint32_t vertices, Place place, Target target,
                             std::optional<double> goal) {
        add(work, goal, [=] { return Mesh(vertices, place, target); });
    };
    addMesh("write a new mesh, 26 MB, tmpfs", k26MB, Place::kTmpfs, Target::kNew, 1.05);
    addMesh("write a new mesh, 26 MB, disk", k26MB, Place::kDisk, Target::kNew, 1.05);
    addMesh("write a new mesh, 131 KB, tmpfs", k131KB, Place::kTmpfs, Target::kNew, 1.3);
    addMesh("write a new mesh, 131 KB, disk", k131KB, Place::kDisk, Target::kNew, 1.4);
    addMesh("save over a mesh, 26 MB, disk", k26MB, Place::kDisk, Target::kExisting, {});
    addMesh("save over a mesh, 131 KB, disk", k131KB, Place::kDisk, Target::kExisting, {});
    for (const unsigned megabytes : {1U, 4U, 16U}) {
        const unsigned clips = megabytes * 1'000'000 / kClipBytes;
        const std::string work = "write a new animation, " + std::to_string(megabytes) + " MB, ";
        add(work + "tmpfs", 1.15, [=] { return Anim(clips, Place::kTmpfs); });
        add(work + "disk", 1.45, [=] { return Anim(clips, Place::kDisk); });
    }
}

}  // namespace vela::vlgim::bench
