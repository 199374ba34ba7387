#include "Parts.h"

#include <tinyxml2.h>

namespace vela::vlgim::diff {

namespace {

using Element = tinyxml2::XMLElement;

// Each step with its number among those of its name, from 1, where it is not the first. To count an element's siblings
// takes time, and only one path is needed.
std::string PathTo(const Element* element)
{
    std::string path;
    for (; element; element = element->Parent()->ToElement()) {
        std::size_t number = 1;
        for (const Element* e = element; (e = e->PreviousSiblingElement(element->Name())) != nullptr;)
            ++number;
        std::string step = element->Name();
        if (number > 1)
            step.append("[").append(std::to_string(number)).append("]");
        path.insert(0, step.append(path.empty() ? "" : "/"));
    }
    return path;
}

// All text of an element itself, whatever stands between its pieces.
std::string TextOf(const Element& element)
{
    std::string text;
    for (const auto* node = element.FirstChild(); node; node = node->NextSibling())
        if (node->ToText())
            text += node->Value();
    return text;
}

// Two documents up to the first difference. Each function returns whether it has told one.
struct DocumentPair {
    const Comparer& out;
    std::string_view field;

    // Null: this side has nothing there.
    bool Tell(const Element* place, const std::string& part, const char* a, const char* b) const
    {
        const auto value = [](const char* text) {
            return text ? std::optional<std::string>(text) : std::nullopt;
        };
        out.Value(field, PathTo(place) + part, value(a), value(b));
        return true;
    }

    bool TellAttributes(const Element& a, const Element& b) const
    {
        for (const auto* attribute = a.FirstAttribute(); attribute; attribute = attribute->Next()) {
            const char *name = attribute->Name(), *other = b.Attribute(name);
            if (!other || !out.SameValue(attribute->Value(), other))
                return Tell(&a, std::string("@") + name, attribute->Value(), other);
        }
        for (const auto* attribute = b.FirstAttribute(); attribute; attribute = attribute->Next())
            if (!a.Attribute(attribute->Name()))
                return Tell(&b, std::string("@") + attribute->Name(), nullptr, attribute->Value());
        return false;
    }

    // Of two lists of siblings, which begin with a and b.
    bool TellSiblings(const Element* a, const Element* b) const
    {
        for (; a || b; a = a->NextSiblingElement(), b = b->NextSiblingElement()) {
            if (!a || !b || std::string_view(a->Name()) != b->Name())
                return Tell(a ? a : b, "", a ? a->Name() : nullptr, b ? b->Name() : nullptr);
            if (TellAttributes(*a, *b))
                return true;
            const std::string textA = TextOf(*a), textB = TextOf(*b);
            if (!out.SameValue(textA, textB))
                return Tell(a, "", textA.c_str(), textB.c_str());
            if (TellSiblings(a->FirstChildElement(), b->FirstChildElement()))
                return true;
        }
        return false;
    }
};

}  // namespace

void CompareDocuments(const Comparer& out, std::string_view field, const vlio::XmlData& a,
                      const vlio::XmlData& b)
{
    if (out.Both(field, !a.IsEmpty(), !b.IsEmpty()))
        DocumentPair{out, field}.TellSiblings(a.GetElement(nullptr, nullptr), b.GetElement(nullptr, nullptr));
}

}  // namespace vela::vlgim::diff
