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

/// What the manifest says of one submesh.
struct SubmeshMessage {
    std::string name;
    std::int32_t mtlIdx = -1;  ///< index of its material; as written in the file, not checked
};

/// One material of the material group document.
struct MaterialMessage {
    std::string name;
    std::unordered_map<std::string, std::string> params;  ///< parameter values by name, both as text
};

/// One model on disk: the XML manifest (.gim), the mesh (.mesh), the material group document (.mtg) and the
/// music document (_music.ags). The skeleton file is only named; open it with GisData.
///
/// m_submeshes and m_materials are extracts made by Load; a change to them reaches no file. To change what
/// Save writes, change m_mesh and the documents. An object belongs to one thread at a time.
///
/// basePath is a prefix, joined to what follows it without a separator: a folder brings its own trailing
/// slash.
class VLGIM_API GimData {
public:
    std::vector<SubmeshMessage> m_submeshes;   ///< in document order
    std::vector<MaterialMessage> m_materials;  ///< in document order
    std::string m_meshPath;                    ///< where Load found the mesh, and where Save writes it
    vlMeshData m_mesh;
    vlio::XmlData m_gimXml;
    vlio::XmlData m_mtgXml;
    vlio::XmlData m_musicXml;

    GimData() = default;
    GimData(GimData&&) noexcept = default;
    GimData& operator=(GimData&&) noexcept = default;

    /// Loads a model in place of what the object held.
    /// path      of the manifest; not a text that lies in this object. Without a "Mesh" attribute in it, the mesh
    ///           lies beside it; so does the music, and without MtgFile or a base path the material group.
    /// basePath  null, or the prefix of a relative mesh path and of the "MtgPath" of MtgFile
    /// Returns 0: the manifest, the mesh and all submesh records are there. A missing or faulty .mtg or music
    /// document is logged and does not change that.
    /// 1: the mesh could not be read; only m_gimXml and m_meshPath are filled. Save refuses, but for a manifest
    /// that names no submesh, of which it saves the documents.
    /// -1: a submesh has no "Name" or "MtlIdx"; m_submeshes ends ahead of it, everything else is there.
    /// Any other value is an error of XmlData::Load for the manifest, and the object is empty.
    /// LogError or LogWarning names each file that failed. Throws std::bad_alloc.
    int Load(const char* path, const char* basePath = nullptr);

    /// Saves the model: documents that are not empty and, with a submesh count above 0, the mesh. All files are
    /// written and checked before the first is replaced, the manifest last.
    /// path      supplies the names of manifest, material group and music
    /// basePath  null, or the prefix of "MtgPath" in the manifest; the manifest itself is written without it
    /// The mesh goes back to m_meshPath, whatever path says; change that member to write it elsewhere.
    /// Returns 0; 1 if nothing was replaced, or not everything, and LogError has said why. Refused ahead of all
    /// writing are a mesh that can't be written (WhyUnwritable), one whose submeshes are not as many
    /// as the manifest's, and two files with one target.
    int Save(const char* path, const char* basePath = nullptr);

    /// Name of the skeleton file, as the manifest has it; empty where it has none.
    std::string GetSkeletonName() const;

    /// A copy of record `index`; an empty record where there is none.
    MaterialMessage GetMaterial(int index) const;

    /// A copy of record `index`; an empty record with mtlIdx -1 where there is none.
    SubmeshMessage GetSubmesh(int index) const;
};

/// Loads a model as GimData::Load does, in place of what the object held, and logs nothing.
/// warnings  receives an error for each file that a model can do without and that is missing or faulty, and what the
///           mesh has to say; may be null
/// Returns success where GimData::Load gives 0. An error of kind Reference with m_mesh filled stands for its -1: a
/// submesh record lacks a name or a material index, m_submeshes ends in front of it, and everything else is there. Any
/// other error leaves what GimData::Load leaves. Throws std::bad_alloc.
VLGIM_API Error Load(GimData& model, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Saves a model as GimData::Save does, and logs nothing. On an error nothing was replaced, or not everything.
/// warnings  receives what a user should know of a save that went well; may be null
VLGIM_API Error Save(const GimData& model, const char* path, const SaveOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

}  // namespace vela::vlgim
