#include <vlgim/GimData.h>

#include "Manifest.h"

#include <corecommon/Log.h>
#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>
#include <vlio2/Path.h>

#include <tinyxml2.h>

#include <cerrno>

namespace vela::vlgim {

namespace {

template <class T>
T RecordAt(const std::vector<T>& records, int index)
{
    return index >= 0 && static_cast<std::size_t>(index) < records.size()
               ? records[static_cast<std::size_t>(index)]
               : T{};
}

}  // namespace

int GimData::Load(const char* path, const char* basePath)
{
    m_submeshes.clear();
    m_materials.clear();
    m_meshPath.clear();
    m_mesh = {};
    m_mtgXml.Clear();
    m_musicXml.Clear();

    if (const int error = m_gimXml.Load(path)) {
        LogError("Failed to load file: %s\n", path);
        return error;
    }
    if (ReadMesh(path, basePath) != 0)
        return 1;

    const std::string materialPath = manifest::MaterialPath(m_gimXml, path, basePath);
    if (m_mtgXml.Load(materialPath.c_str()) == 0)
        LoadMaterialGroupInfo();
    else
        LogError("Failed to load file: %s\n", materialPath.c_str());

    if (m_musicXml.Load(vlio::ReplaceFileExtension(path, "_music.ags").c_str()) != 0)
        LogWarning("Failed to read music ags data!\n");

    return LoadSubMeshInfo() ? 0 : -1;
}

int GimData::ReadMesh(const char* path, const char* basePath)
{
    m_meshPath = manifest::MeshPath(m_gimXml, path, nullptr);
    if (!m_gimXml.FindElement("Vela/SubMesh", nullptr)) {
        LogError("No Vela SubMesh element in gim file.\n");
        return 1;
    }
    // The mesh file does not say how many submeshes it has, and can't be read without it.
    m_mesh.m_submeshCount = static_cast<std::uint32_t>(manifest::Submeshes(m_gimXml).size());
    if (m_mesh.m_submeshCount == 0) {
        LogError("SubMesh list is empty.\n");
        return 1;
    }
    m_meshPath = manifest::MeshPath(m_gimXml, path, basePath);
    vlio::Bytes bytes;
    if (!vlio::FileStream::ReadAllBinary(m_meshPath.c_str(), bytes, vlio::FILE_SYSTEM_MODEL)) {
        LogError("Failed to read file : %s\n", m_meshPath.c_str());
        return 1;
    }
    return m_mesh.ReadMeshFile(bytes.data(), bytes.size()) ? 0 : 1;
}

bool GimData::LoadSubMeshInfo()
{
    for (const tinyxml2::XMLElement* element : manifest::Submeshes(m_gimXml)) {
        const char* name = element->Attribute("Name");
        const tinyxml2::XMLAttribute* mtlIdx = element->FindAttribute("MtlIdx");
        if (!name || !mtlIdx)
            return false;
        int index = 0;
        mtlIdx->QueryIntValue(&index);
        m_submeshes.push_back({name, index});
    }
    return true;
}

bool GimData::LoadMaterialGroupInfo()
{
    if (!m_mtgXml.FindElement("Vela/MaterialGroup", nullptr))
        return false;
    for (const tinyxml2::XMLElement* element : manifest::Materials(m_mtgXml)) {
        const tinyxml2::XMLElement* table = manifest::Parameters(m_mtgXml, element);
        if (!table)
            return false;
        MaterialMessage material{element->Name(), {}};
        manifest::Elements params;
        m_mtgXml.GetChildElementList(params, table, nullptr);
        for (const tinyxml2::XMLElement* param : params)
            if (const char* value = param->Attribute("Value"))
                material.params.emplace(param->Name(), value);
        m_materials.push_back(std::move(material));
    }
    return true;
}

std::string GimData::MeshObstacle() const
{
    std::string obstacle = m_mesh.WriteObstacle();
    const std::size_t submeshes = manifest::Submeshes(m_gimXml).size();
    // The manifest alone tells a reader how many submeshes there are: with another number the mesh reads as rubbish.
    if (obstacle.empty() && submeshes != 0 && submeshes != m_mesh.m_vertexData->m_subCount)
        obstacle = "it has " + std::to_string(m_mesh.m_vertexData->m_subCount) +
                   " submeshes, and the manifest has " + std::to_string(submeshes);
    return obstacle;
}

int GimData::Save(const char* path, const char* basePath)
{
    const bool hasMesh = m_mesh.m_submeshCount > 0;
    const std::string obstacle = hasMesh ? MeshObstacle() : std::string();
    if (!obstacle.empty()) {
        LogError("mesh file %s can't be written: %s", m_meshPath.c_str(), obstacle.c_str());
        return 1;
    }
    // The manifest is opened first, so it is put in place last: it names the others.
    vlio::FileWriter files;
    if (!m_gimXml.IsEmpty() && m_gimXml.Save(vlio::ReplaceFileExtension(path, ".gim").c_str(), files) != 0)
        return 1;
    if (hasMesh) {
        std::FILE* stream = files.Open(m_meshPath.c_str());
        if (!stream && files.OpenError() != EEXIST)  // of which the set has told
            LogError("unable to open %s", m_meshPath.c_str());
        if (!stream)
            return 1;
        m_mesh.WriteMeshFile(stream);
    }
    if (!m_mtgXml.IsEmpty() &&
        m_mtgXml.Save(manifest::MaterialPath(m_gimXml, path, basePath).c_str(), files) != 0)
        return 1;
    if (!m_musicXml.IsEmpty() &&
        m_musicXml.Save(vlio::ReplaceFileExtension(path, "_music.ags").c_str(), files) != 0)
        return 1;
    return files.Commit() ? 0 : 1;
}

std::string GimData::GetSkeletonName() const
{
    return manifest::SkeletonName(m_gimXml);
}

MaterialMessage GimData::GetMaterial(int index) const
{
    return RecordAt(m_materials, index);
}

SubmeshMessage GimData::GetSubmesh(int index) const
{
    return RecordAt(m_submeshes, index);
}

}  // namespace vela::vlgim
