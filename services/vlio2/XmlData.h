#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace vlio {

class FileWriter;

/// One XML document.
class VLGIM_API XmlData {
public:
    XmlData();
    XmlData(const XmlData&) = delete;
    XmlData& operator=(const XmlData&) = delete;
    ~XmlData();

    int Load(const char* path);
    int Parse(const char* text, std::size_t size);
    int Save(const char* path);
    int Save(const char* path, FileWriter& set);
    bool IsEmpty() const;
    tinyxml2::XMLElement* GetElement(const char* name, const tinyxml2::XMLElement* parent) const;
    tinyxml2::XMLElement* FindElement(const char* path, const tinyxml2::XMLElement* parent) const;
    void GetChildElementList(std::vector<tinyxml2::XMLElement*>& list, const tinyxml2::XMLElement* parent,
                             const char* name) const;
    tinyxml2::XMLDocument& Document();
};

}  // namespace vlio
