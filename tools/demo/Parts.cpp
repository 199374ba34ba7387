#include "demo/Parts.h"

#include <string>

namespace vela::vlgim::tools {

vlTransKeysData RestingChannel(unsigned short keyCount, bool posKeyed, bool rotKeyed)
{
    const std::size_t rotations = rotKeyed ? keyCount : 1;
    vlTransKeysData channel;
    channel.m_keyCount = keyCount;
    channel.m_posKeyed = posKeyed;
    channel.m_rotKeyed = rotKeyed;
    channel.m_pos = Array<float>(posKeyed ? std::size_t{keyCount} * 3 : 3);
    channel.m_rot = Array<float>(rotations * 4);
    for (std::size_t i = 0; i < rotations; ++i)
        channel.m_rot.get()[i * 4 + 3] = 1;
    channel.m_scale = Array<float>(3, 1.0F);
    return channel;
}

tinyxml2::XMLElement* Append(tinyxml2::XMLNode* parent, const char* name, const Attributes& attributes)
{
    tinyxml2::XMLElement* element = parent->GetDocument()->NewElement(name);
    for (const auto& [key, value] : attributes)
        element->SetAttribute(key, value);
    parent->InsertEndChild(element);
    return element;
}

tinyxml2::XMLElement* BuildDocuments(GimData& model, const std::vector<Surface>& surfaces, const char* event,
                                     const char* volume)
{
    tinyxml2::XMLElement* manifest = Append(&model.m_gimXml.Document(), "Vela");
    tinyxml2::XMLElement* submeshes = Append(manifest, "SubMesh");
    tinyxml2::XMLElement* materials = Append(Append(&model.m_mtgXml.Document(), "Vela"), "MaterialGroup");
    int index = 0;
    for (const auto& [submesh, material, parameters] : surfaces) {
        const std::string element = "Mesh" + std::to_string(index);
        Append(submeshes, element.c_str(), {{"Name", submesh}})->SetAttribute("MtlIdx", index++);
        tinyxml2::XMLElement* table = Append(Append(Append(materials, material), "Material"), "ParamTable");
        for (const auto& [key, value] : parameters)
            Append(table, key, {{"Value", value}});
    }
    Append(Append(&model.m_musicXml.Document(), "Vela"), "Event", {{"Name", event}, {"Volume", volume}});
    return manifest;
}

}  // namespace vela::vlgim::tools
