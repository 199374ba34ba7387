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

tinyxml2::XMLElement* BuildManifest(GimData& model, std::initializer_list<const char*> submeshes)
{
    tinyxml2::XMLElement* manifest = Append(&model.m_gimXml.Document(), "Vela");
    tinyxml2::XMLElement* list = Append(manifest, "SubMesh");
    int index = 0;
    for (const char* name : submeshes) {
        const std::string element = "Mesh" + std::to_string(index);
        Append(list, element.c_str(), {{"Name", name}})->SetAttribute("MtlIdx", index);
        ++index;
    }
    return manifest;
}

void AppendMaterial(GimData& model, const char* name, const Attributes& parameters)
{
    tinyxml2::XMLDocument& document = model.m_mtgXml.Document();
    if (model.m_mtgXml.IsEmpty())
        Append(Append(&document, "Vela"), "MaterialGroup");
    tinyxml2::XMLElement* material = Append(document.RootElement()->FirstChildElement(), name);
    tinyxml2::XMLElement* table = Append(Append(material, "Material"), "ParamTable");
    for (const auto& [key, value] : parameters)
        Append(table, key, {{"Value", value}});
}

void BuildMusic(GimData& model, const char* event, const char* volume)
{
    Append(Append(&model.m_musicXml.Document(), "Vela"), "Event", {{"Name", event}, {"Volume", volume}});
}

}  // namespace vela::vlgim::tools
