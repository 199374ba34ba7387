#include "Parts.h"

namespace vela::vlgim {

namespace {

// What fill(comparer) finds.
template <class Fill>
std::vector<Difference> Collect(const CompareOptions& options, Fill fill)
{
    std::vector<Difference> found;
    fill(diff::Comparer(found, options));
    return found;
}

}  // namespace

std::vector<Difference> Compare(const vlMeshData& a, const vlMeshData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) { CompareMeshes(out, a, b, {}); });
}

std::vector<Difference> Compare(const vlAnimData& a, const vlAnimData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) { CompareAnimations(out, a, b); });
}

std::vector<Difference> Compare(const vlTrackData& a, const vlTrackData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) {
        out.Code("version", a.m_version, b.m_version);
        CompareTracks(out, a, b);
    });
}

std::vector<Difference> Compare(const GimData& a, const GimData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) { CompareModels(out, a, b); });
}

std::vector<Difference> Compare(const GisData& a, const GisData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) {
        CompareAnimations(out, a.m_anim, b.m_anim);
        CompareDocuments(out, "document", a.m_agsXml, b.m_agsXml);
    });
}

std::vector<Difference> Compare(const vlio::XmlData& a, const vlio::XmlData& b, const CompareOptions& options)
{
    return Collect(options, [&](const diff::Comparer& out) { CompareDocuments(out, "document", a, b); });
}

}  // namespace vela::vlgim
