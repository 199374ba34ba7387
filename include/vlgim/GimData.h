#pragma once

#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Options.h>
#include <vlgim/vlMeshData.h>

#include <vlio2/XmlData.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vela::vlgim {

/// One submesh record of the manifest.
struct SubmeshMessage {
    std::string name;
    std::int32_t mtlIdx = -1;  ///< index of its material, not checked; "12abc" is 12, "abc" is 0
};

/// One material of the material group document.
struct MaterialMessage {
    std::string name;
    std::unordered_map<std::string, std::string> params;  ///< values by name; the first if a name repeats
};

/// One model on disk: the XML manifest (.gim), the mesh (.mesh), the material group document (.mtg) and the music
/// document (_music.ags). The manifest only names the skeleton file; use GisData to load it.
///
/// m_submeshes and m_materials are copies that Load makes. Save does not write them: change m_mesh and the documents
/// instead. An object belongs to one thread at a time.
///
/// basePath is a prefix that is put in front of a path. No separator is added, so a folder has to end with a slash.
class VLGIM_API GimData {
public:
    std::vector<SubmeshMessage> m_submeshes;   ///< in document order, see Load
    std::vector<MaterialMessage> m_materials;  ///< in document order, see Load
    std::string m_meshPath;                    ///< where Load found the mesh, and where Save writes it
    vlMeshData m_mesh;
    vlio::XmlData m_gimXml;
    vlio::XmlData m_mtgXml;
    vlio::XmlData m_musicXml;

    GimData() = default;
    GimData(GimData&&) noexcept = default;
    GimData& operator=(GimData&&) noexcept = default;

    /// Loads a model and replaces everything that the object held.
    /// path      path of the manifest. It also decides where the other files are. The mesh is the "Mesh" attribute of
    ///           the manifest, or without that attribute `path` with the extension .mesh; a relative mesh path gets the
    ///           prefix basePath. The material group is basePath followed by the "MtgPath" of MtgFile if both exist,
    ///           otherwise `path` with the extension .mtg. The music is `path` with "_music.ags" in place of the
    ///           extension. The text must not be part of this object.
    /// basePath  the prefix, or null for none; a relative path then starts at the working directory
    /// Returns 0 if the manifest, the mesh and all submesh records were read. A missing or faulty .mtg gives a
    /// LogError, a missing or faulty music document a LogWarning that names no file; neither changes the result.
    /// m_materials ends before the first material without parameters, and nothing is logged about that.
    /// Returns 1 if the mesh could not be read. LogError gives the reason, and the path only for a mesh file that can't
    /// be opened or read. The object then holds m_gimXml, m_meshPath and in m_mesh the number of submesh records and
    /// what vlMeshData::ReadMeshFile keeps of a refused file. Save fails for such an object, except that it saves the
    /// documents of a manifest without submesh records.
    /// Returns -1 if a submesh record has no "Name" or "MtlIdx". m_submeshes ends before this record; everything else
    /// was loaded as for 0. Nothing is logged about the record.
    /// Returns any other error of XmlData::Load if the manifest could not be read. LogError names the file, and the
    /// object is empty. Throws std::bad_alloc.
    [[nodiscard]] int Load(const char* path, const char* basePath = nullptr);

    /// Saves the model: all documents that are not empty and, if m_mesh.m_submeshCount is above 0, the mesh. All files
    /// are written and checked before the first is replaced. The manifest is replaced last.
    /// path      the manifest is written to `path` with the extension .gim, whatever extension `path` has. The material
    ///           group and the music get their paths as in Load.
    /// basePath  null, or the prefix of "MtgPath"; the manifest is written without it
    /// The mesh is written to m_meshPath, whatever `path` is. To write it elsewhere, change m_meshPath first. Writing
    /// changes the mesh in memory as vlMeshData::WriteMeshFile does, also if the save then fails.
    /// Returns 0 if all files were saved. Returns 1 otherwise; LogError gives the reason. No file has been replaced
    /// then, or only some of them (see vlio::FileWriter). A save is refused before any file is replaced if the mesh
    /// can't be written (WhyUnwritable), if there is a manifest without as many submesh records as the mesh has
    /// submeshes, if m_mesh has vertices but an m_submeshCount of 0, and if two files have the same path.
    [[nodiscard]] int Save(const char* path, const char* basePath = nullptr);

    /// Returns the name of the skeleton file as the manifest gives it; empty if it gives none.
    std::string GetSkeletonName() const;

    /// Returns a copy of material `index`, from 0; an empty record if there is none.
    MaterialMessage GetMaterial(int index) const;

    /// Returns a copy of submesh `index`, from 0; an empty record with mtlIdx -1 if there is none.
    SubmeshMessage GetSubmesh(int index) const;
};

/// Loads a model as GimData::Load does. Nothing is logged.
/// warnings  receives an error for each missing or faulty file that a model can do without, and the warnings of the
///           mesh; entries are appended; may be null
/// Returns success where GimData::Load returns 0. For its -1 it returns an error of kind Reference, and
/// m_mesh.m_vertexData is not null. Any other error leaves what GimData::Load leaves. Throws std::bad_alloc.
VLGIM_API Error Load(GimData& model, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Returns the submesh count of a .mesh file, which the file does not store, from the manifest beside it: meshPath with
/// the extension .gim. Returns 0 if there is no readable manifest, or if it names another mesh. Only `base` of the
/// options is used. Throws std::bad_alloc.
[[nodiscard]] VLGIM_API std::uint32_t CountSubmeshesBeside(const char* meshPath,
                                                           const LoadOptions& options = {});

/// Saves a model as GimData::Save does, and changes the mesh in memory as that does, although the model is const.
/// Nothing is logged.
/// warnings  receives what the caller should know about the save; entries are appended; may be null
/// Returns success, or an error; no file has been replaced then, or only some of them (see vlio::FileWriter).
VLGIM_API Error Save(const GimData& model, const char* path, const SaveOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

}  // namespace vela::vlgim
