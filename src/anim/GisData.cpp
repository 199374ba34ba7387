#include <vlgim/GisData.h>

#include <corecommon/Log.h>
#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>
#include <vlio2/Path.h>

#include <cstdint>
#include <limits>
#include <string>

namespace vela::vlgim {

int GisData::Load(const char* path, const char* basePath)
{
    // Copies: the arguments may lie in what is replaced here.
    const std::string agsPath = vlio::ReplaceFileExtension(path, ".ags");
    const std::string fullPath = (basePath && vlio::IsRelativePath(path) ? basePath : std::string()) + path;
    m_anim = {};
    m_agsXml.Clear();

    vlio::Bytes bytes;
    if (!vlio::FileStream::ReadAllBinary(fullPath.c_str(), bytes, vlio::FILE_SYSTEM_MODEL) ||
        bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        LogError("Failed to read file : %s\n", fullPath.c_str());
        return 1;
    }
    if (!m_anim.ReadAnimationFile(bytes.data(), static_cast<std::uint32_t>(bytes.size()), fullPath)) {
        LogError("Bad format in skeletal animation file %s!", fullPath.c_str());
        return 1;
    }
    if (m_agsXml.Load(agsPath.c_str()) != 0)
        LogWarning("Failed to read ags data!\n");
    return 0;
}

int GisData::Save(const char* path)
{
    // The .gis is opened first, so it is put in place last: it names the side files.
    vlio::FileWriter files;
    if (m_anim.m_boneCount > 0) {
        const std::string gisPath = vlio::ReplaceFileExtension(path, ".gis");
        if (const int result = m_anim.WriteAnimationFile(gisPath.c_str(), files))
            return result;
    } else if (!m_anim.m_clips.empty()) {
        LogWarning("skeletal animation %s has clips but no skeleton, and is not saved",
                   m_anim.m_path.c_str());
    }
    if (!m_agsXml.IsEmpty() && m_agsXml.Save(vlio::ReplaceFileExtension(path, ".ags").c_str(), files) != 0)
        return 1;
    return files.Commit() ? 0 : 1;
}

}  // namespace vela::vlgim
