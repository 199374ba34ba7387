#include "upgrade/UpgradeFile.h"

#include "report/FindingLines.h"
#include "report/Print.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <tuple>

namespace vela::vlgim::tools {

namespace {

bool IsCurrent(const vlMeshData& mesh)
{
    return mesh.m_version == vlMeshData().m_version && mesh.m_packMode == vlMeshData().m_packMode;
}

bool IsCurrent(const vlTrackData& track)
{
    return track.m_version == vlTrackData().m_version;
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

// Whether what was read again is in the newest form and as large as what was saved.
template <class Data>
bool IsUpgradeOf(const Data& saved, const Data& data)
{
    return IsCurrent(saved) && CountsOf(saved) == CountsOf(data);
}

bool IsSaveChange(const FindingCode& code)
{
    return std::string_view(code.name).starts_with("save-");
}

// The upgrade of one file. A step gives false where the result is final.
class Upgrade {
public:
    Upgrade(const Target& target, const UpgradeOptions& options) : m_target(target), m_options(options)
    {
        m_result.file = target.path;
    }

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
    void Stop(UpgradeStatus status, const std::string& reason)
    {
        m_result.status = status;
        m_result.reasons = {{nullptr, reason}};
    }

    void RunMesh()
    {
        vlio::Bytes image;
        if (const Error error = ReadImage(image))
            return Stop(UpgradeStatus::Failed, error.text);
        m_result.bytes = image.size();
        if (!BeginMesh(image))
            return;
        const std::optional<std::uint32_t> submeshes = FindSubmeshes(image);
        if (submeshes && MayBeSaved(submeshes) && !m_options.isDryRun)
            SaveMesh(image, *submeshes);
    }

    void RunTrack()
    {
        vlTrackData track;
        if (const Error error = Load(track, m_target.real.c_str()))
            return Stop(UpgradeStatus::Failed, error.Message());
        if (Begin(track, true) && MayBeSaved(std::nullopt) && !m_options.isDryRun)
            SaveTrack(track);
    }

    Error ReadImage(vlio::Bytes& image) const { return vlio::ReadFile(m_target.real.c_str(), image); }

    // Reads the header alone, so that a mesh that is current already costs no more. That read is refused where the header
    // ends, and the version and pack mode are set by then.
    bool BeginMesh(const vlio::Bytes& image)
    {
        constexpr std::size_t headerSize = 10;
        vlMeshData mesh;
        static_cast<void>(Load(mesh, std::span(image).first(std::min(image.size(), headerSize))));
        return Begin(mesh, image.size() >= headerSize);
    }

    // Leaves what was saved in image, so that two images are never in memory.
    void SaveMesh(vlio::Bytes& image, std::uint32_t submeshes)
    {
        vlMeshData mesh, saved;
        mesh.m_submeshCount = saved.m_submeshCount = submeshes;
        std::vector<Error> warnings;
        Error error = Load(mesh, image, {}, &warnings);
        if (!error)
            error = Save(mesh, m_target.real.c_str(), &warnings);
        if (error)
            return Stop(UpgradeStatus::Failed, error.Message());
        error = ReadImage(image);
        if (!error)
            error = Load(saved, image);
        Finish(error, !error && IsUpgradeOf(saved, mesh), warnings);
    }

    void SaveTrack(vlTrackData& track)
    {
        std::vector<Error> warnings;
        if (const Error error = Save(track, m_target.real.c_str(), &warnings))
            return Stop(UpgradeStatus::Failed, error.Message());
        vlTrackData saved;
        const Error error = Load(saved, m_target.real.c_str());
        Finish(error, !error && IsUpgradeOf(saved, track), warnings);
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

    // As many as the manifest says, if there is one. None: the result stands.
    std::optional<std::uint32_t> FindSubmeshes(const vlio::Bytes& image)
    {
        if (m_target.submeshes)
            return IfItFits(*m_target.submeshes, image);
        SubmeshCount found;
        const Error error = FindSubmeshCount(m_target.path, image, m_options.load, found);
        if (!error)
            return IfItFits(found.count, image);
        Stop(UpgradeStatus::Skipped, error.Message());
        return std::nullopt;
    }

    // Where only other counts let every block end at the next one, the mesh is not the one that the manifest means, and
    // a save would spoil it.
    std::optional<std::uint32_t> IfItFits(std::uint32_t count, const vlio::Bytes& image)
    {
        const std::vector<std::uint32_t> fitting =
            vlMeshData::FittingSubmeshCounts(image.data(), image.size());
        if (fitting.empty() || std::find(fitting.begin(), fitting.end(), count) != fitting.end())
            return count;
        Stop(UpgradeStatus::Skipped, "it should have " + Counted(count, "submesh", "submeshes") +
                                         ", and the file itself fits " + std::to_string(fitting[0]));
        return std::nullopt;
    }

    // Leaves in the result what is against a save, or else what a save changes.
    bool MayBeSaved(std::optional<std::uint32_t> submeshes)
    {
        CheckOptions options;
        options.submeshCount = submeshes;
        const CheckResult check = CheckFile(m_target.real.c_str(), options);
        m_result.bytes += check.bytes;
        AddReasons(check, [this](const FindingCode& code) { return IsAgainst(code); });
        const bool mayBeSaved = m_result.reasons.empty();
        if (mayBeSaved)
            AddReasons(check, IsSaveChange);
        m_result.status = mayBeSaved ? UpgradeStatus::WouldUpgrade : UpgradeStatus::Skipped;
        return mayBeSaved;
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
        for (const Finding& finding : check.findings)
            if (isWanted(*finding.code))
                AddReason(finding);
    }

    void AddReason(const Finding& finding)
    {
        const auto known =
            std::find_if(m_result.reasons.begin(), m_result.reasons.end(),
                         [&finding](const Reason& reason) { return reason.code == finding.code; });
        if (known != m_result.reasons.end()) {
            ++known->count;
            return;
        }
        const std::string place = PlaceIn(finding);
        m_result.reasons.push_back({finding.code, finding.text + (place.empty() ? "" : " (" + place + ')')});
    }

    void Finish(const Error& error, bool isThere, const std::vector<Error>& warnings)
    {
        if (!isThere)
            return Stop(UpgradeStatus::Failed, "it was saved, and can't be read back: " + error.Message());
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
    return {target.path, "", "", UpgradeStatus::Failed, {{nullptr, error.what()}}};
}

}  // namespace vela::vlgim::tools
