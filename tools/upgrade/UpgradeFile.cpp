#include "upgrade/Upgrade.h"

#include "report/FindingLines.h"
#include "report/Print.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <tuple>

namespace vela::vlgim::tools {

namespace {

auto FormOf(const vlMeshData& mesh)
{
    return std::tuple(mesh.m_version, mesh.m_packMode);
}

auto FormOf(const vlTrackData& track)
{
    return std::tuple(track.m_version);
}

auto CountsOf(const vlMeshData& mesh)
{
    return std::tuple(mesh.m_vertexData->m_vertexCount, mesh.m_vertexData->m_triangleCount,
                      mesh.m_vertexData->m_frameCount, mesh.m_boneCount, mesh.m_originalData.size());
}

auto CountsOf(const vlTrackData& track)
{
    return std::tuple(track.GetKeyCount(), track.m_channelCount);
}

template <class Data>
bool IsCurrent(const Data& data)
{
    return FormOf(data) == FormOf(Data());
}

bool IsSaveChange(const FindingCode& code)
{
    return std::string_view(code.name).starts_with("save-");
}

// The upgrade of one file.
class Upgrade {
public:
    Upgrade(const Target& target, const UpgradeOptions& options) : m_target(target), m_options(options) {}

    UpgradeResult Run()
    {
        if (!m_target.failure.empty())
            Stop(UpgradeStatus::Failed, m_target.failure);
        else if (m_target.kind == FileKind::Track)
            RunTrack();
        else
            RunMesh();
        return std::move(m_result);
    }

private:
    const char* Path() const { return m_target.real.c_str(); }

    void Stop(UpgradeStatus status, const std::string& reason)
    {
        m_result.status = status;
        m_result.reasons = {{nullptr, reason}};
    }

    void RunMesh()
    {
        vlio::Bytes image;
        if (const Error error = vlio::ReadFile(Path(), image))
            return Stop(UpgradeStatus::Failed, error.text);
        m_result.bytes = image.size();
        // The header alone, so that a mesh that is current already costs no more. That read is refused where the header
        // ends, and the version and pack mode are set by then.
        constexpr std::size_t headerSize = 10;
        vlMeshData header;
        static_cast<void>(Load(header, std::span(image).first(std::min(image.size(), headerSize))));
        if (!Begin(header, image.size() >= headerSize))
            return;
        LoadOptions options;
        options.submeshCount = FindSubmeshes(image);
        if (!options.submeshCount || !ShouldSave(options.submeshCount))
            return;
        vlMeshData mesh;
        std::vector<Error> warnings;
        if (const Error error = Load(mesh, image, options, &warnings))
            return Stop(UpgradeStatus::Failed, error.Message());
        vlio::Bytes().swap(image);  // so that two images are never in memory
        SaveAndCompare(mesh, options, warnings);
    }

    void RunTrack()
    {
        vlTrackData track;
        if (const Error error = Load(track, Path()))
            Stop(UpgradeStatus::Failed, error.Message());
        else if (Begin(track, true) && ShouldSave(std::nullopt))
            SaveAndCompare(track, {}, {});
    }

    // Whether the file is old, and may be touched.
    template <class Data>
    bool Begin(const Data& data, bool hasHeader)
    {
        if (hasHeader) {
            m_result.from = Hex(data.m_version);
            m_result.to = Hex(Data().m_version);
        }
        if (hasHeader && IsCurrent(data))
            return false;
        if (!m_target.trouble.empty())
            Stop(UpgradeStatus::Skipped, m_target.trouble);
        return m_target.trouble.empty();
    }

    // As many as the manifest says, if there is one. Where only other counts let every block end at the next one, the mesh
    // is not the one that the manifest means, and a save would spoil it. None: the result stands.
    std::optional<std::uint32_t> FindSubmeshes(const vlio::Bytes& image)
    {
        SubmeshCount found{m_target.submeshes.value_or(0), ""};
        const Error error =
            m_target.submeshes ? Error() : FindSubmeshCount(m_target.path, image, m_options.load, found);
        const auto fitting = vlMeshData::FittingSubmeshCounts(image.data(), image.size());
        if (error)
            Stop(UpgradeStatus::Skipped, error.Message());
        else if (fitting.empty() || std::find(fitting.begin(), fitting.end(), found.count) != fitting.end())
            return found.count;
        else
            Stop(UpgradeStatus::Skipped, "it should have " + Counted(found.count, "submesh", "submeshes") +
                                             ", but the file itself fits " + std::to_string(fitting[0]));
        return std::nullopt;
    }

    // Leaves in the result what is against a save, or else what a save changes.
    bool ShouldSave(std::optional<std::uint32_t> submeshes)
    {
        CheckOptions options;
        options.submeshCount = submeshes;
        const CheckResult check = CheckFile(Path(), options);
        m_result.bytes += check.bytes;
        AddReasons(check, [this](const FindingCode& code) { return IsAgainst(code); });
        const bool mayBeSaved = m_result.reasons.empty();
        if (mayBeSaved)
            AddReasons(check, IsSaveChange);
        m_result.status = mayBeSaved ? UpgradeStatus::WouldUpgrade : UpgradeStatus::Skipped;
        return mayBeSaved && !m_options.isDryRun;
    }

    bool IsAgainst(const FindingCode& code) const
    {
        const auto& drop = m_options.drop;
        return code.severity == Severity::Error || code.name == std::string_view("save-refused") ||
               (code.isDrop && std::find(drop.begin(), drop.end(), code.name) == drop.end());
    }

    template <class IsWanted>
    void AddReasons(const CheckResult& check, const IsWanted& isWanted)
    {
        for (const Finding& finding : check.findings) {
            const auto known = std::ranges::find(m_result.reasons, finding.code, &Reason::code);
            const std::string place = PlaceIn(finding);
            if (!isWanted(*finding.code))
                continue;
            if (known != m_result.reasons.end())
                ++known->count;
            else
                m_result.reasons.push_back(
                    {finding.code, finding.text + (place.empty() ? "" : " (" + place + ')')});
        }
    }

    // What is read again has to be in the newest form and as large as what was saved.
    template <class Data>
    void SaveAndCompare(Data& data, const LoadOptions& options, std::vector<Error> warnings)
    {
        if (const Error error = Save(data, Path(), &warnings))
            return Stop(UpgradeStatus::Failed, error.Message());
        Data saved;
        const Error error = Load(saved, Path(), options);
        if (error)
            return Stop(UpgradeStatus::Failed, "it was saved, but can't be read back: " + error.Message());
        if (!IsCurrent(saved) || CountsOf(saved) != CountsOf(data))
            return Stop(UpgradeStatus::Failed,
                        "it was saved, but reads back with another version or other counts");
        m_result.status = UpgradeStatus::Upgraded;
        for (const Error& warning : warnings)
            m_result.reasons.push_back({nullptr, warning.Message()});
    }

    const Target& m_target;
    const UpgradeOptions& m_options;
    UpgradeResult m_result;
};

}  // namespace

const char* NameOf(UpgradeStatus status)
{
    constexpr const char* names[] = {"current", "upgraded", "would-upgrade", "skipped", "failed"};
    return names[static_cast<std::size_t>(status)];
}

UpgradeResult UpgradeFile(const Target& target, const UpgradeOptions& options)
try {
    return Upgrade(target, options).Run();
} catch (const std::exception& error) {
    return {"", "", UpgradeStatus::Failed, {{nullptr, error.what()}}};
}

}  // namespace vela::vlgim::tools
