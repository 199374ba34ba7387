#include "Documents.h"

#include <tinyxml2.h>

namespace vela::vlgim {

namespace diff {

namespace {

using Element = tinyxml2::XMLElement;

// A first difference: where it is, from an element on, and what stands there; null where one side has nothing.
struct Place {
    std::string path;
    std::optional<std::string> a, b;
};

std::optional<std::string> Optional(const char* text)
{
    return text ? std::optional<std::string>(text) : std::nullopt;
}

// With its number among those of its name, from 1, where it is not the first.
std::string StepTo(const Element* element)
{
    std::size_t number = 1;
    for (const Element* e = element; (e = e->PreviousSiblingElement(element->Name())) != nullptr;)
        ++number;
    return element->Name() + (number > 1 ? "[" + std::to_string(number) + "]" : std::string());
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

std::optional<Place> CompareAttributes(const Comparer& out, const Element& a, const Element& b)
{
    for (const auto* attribute = a.FirstAttribute(); attribute; attribute = attribute->Next()) {
        const char* other = b.Attribute(attribute->Name());
        if (!other || !out.SameValue(attribute->Value(), other))
            return Place{std::string("@") + attribute->Name(), attribute->Value(), Optional(other)};
    }
    for (const auto* attribute = b.FirstAttribute(); attribute; attribute = attribute->Next())
        if (!a.Attribute(attribute->Name()))
            return Place{std::string("@") + attribute->Name(), {}, attribute->Value()};
    return std::nullopt;
}

// Of two lists of siblings, which begin with a and b. Paths are made on the way back: to count an element's siblings
// takes time, and only one path is needed.
std::optional<Place> CompareSiblings(const Comparer& out, const Element* a, const Element* b)
{
    for (; a || b; a = a->NextSiblingElement(), b = b->NextSiblingElement()) {
        if (!a || !b || std::string_view(a->Name()) != b->Name())
            return Place{StepTo(a ? a : b), Optional(a ? a->Name() : nullptr),
                         Optional(b ? b->Name() : nullptr)};
        std::optional<Place> place = CompareAttributes(out, *a, *b);
        if (!place && !out.SameValue(TextOf(*a), TextOf(*b)))
            place = Place{"", TextOf(*a), TextOf(*b)};
        if (!place && (place = CompareSiblings(out, a->FirstChildElement(), b->FirstChildElement())))
            place->path.insert(0, "/");
        if (place) {
            place->path.insert(0, StepTo(a));
            return place;
        }
    }
    return std::nullopt;
}

}  // namespace

void CompareDocuments(Comparer& out, std::string_view field, const vlio::XmlData& a, const vlio::XmlData& b)
{
    if (!out.Both(field, !a.IsEmpty(), !b.IsEmpty()))
        return;
    if (const auto place =
            CompareSiblings(out, a.GetElement(nullptr, nullptr), b.GetElement(nullptr, nullptr)))
        out.Value(field, place->path, place->a, place->b);
}

}  // namespace diff

std::vector<Difference> Compare(const vlio::XmlData& a, const vlio::XmlData& b, const CompareOptions& options)
{
    diff::Comparer out(options);
    diff::CompareDocuments(out, "document", a, b);
    return out.Take();
}

}  // namespace vela::vlgim
