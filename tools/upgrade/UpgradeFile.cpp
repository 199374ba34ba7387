#include "upgrade/UpgradeFile.h"

#include "report/FindingLines.h"
#include "report/Print.h"
#include "upgrade/Messages.h"

#include <algorithm>
#include <exception>
#include <string_view>

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

// Whether two meshes have as many of everything.
bool HaveSameCounts(const vlMeshData& a, const vlMeshData& b)
{
    const auto counts = [](const vlMeshData& mesh) {
        return std::tuple(mesh.m_vertexData->m_vertexCount, mesh.m_vertexData->m_triangleCount,
                          mesh.m_vertexData->m_frameCount, mesh.m_boneCount, mesh.m_originalData.size());
    };
    return counts(a) == counts(b);
}

// One file on its way; each step gives false where the result stands and no other is needed.
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
        if (!vlio::FileStream::ReadAllBinary(m_target.real.c_str(), image, vlio::FILE_SYSTEM_MODEL))
            return Stop(UpgradeStatus::Failed, "the file can't be read");
        m_result.bytes = image.size();
        vlMeshData mesh;
        Messages messages;
        constexpr std::size_t headerSize = 10;
        mesh.ReadMeshFile(image.data(), std::min(image.size(), headerSize));
        if (!Begin(mesh, image.size() >= headerSize))
            return;
        const std::optional<std::uint32_t> submeshes = FindSubmeshes(image);
        if (!submeshes || !MayBeSaved(submeshes))
            return;
        if (m_options.isDryRun)
            return;
        mesh.m_submeshCount = *submeshes;
        Messages saving;
        if (!mesh.ReadMeshFile(image.data(), image.size()) || mesh.WriteMeshFile(m_target.real.c_str()) != 0)
            return Stop(UpgradeStatus::Failed, saving.Text());
        vlMeshData again;
        again.m_submeshCount = *submeshes;
        const bool isThere =
            vlio::FileStream::ReadAllBinary(m_target.real.c_str(), image, vlio::FILE_SYSTEM_MODEL) &&
            again.ReadMeshFile(image.data(), image.size()) && IsCurrent(again) && HaveSameCounts(mesh, again);
        Finish(isThere, saving);
    }

    void RunTrack()
    {
        vlTrackData track;
        Messages messages;
        const bool isRead = track.Load(m_target.real.c_str());
        if (!isRead)
            return Stop(UpgradeStatus::Failed, messages.Text());
        if (!Begin(track, true) || !MayBeSaved(std::nullopt) || m_options.isDryRun)
            return;
        Messages saving;
        track.Save(m_target.real.c_str());
        if (saving.HasErrors())
            return Stop(UpgradeStatus::Failed, saving.Text());
        vlTrackData again;
        Finish(again.Load(m_target.real.c_str()) && IsCurrent(again) &&
                   again.GetKeyCount() == track.GetKeyCount() && again.m_channelCount == track.m_channelCount,
               saving);
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

    // As many as the manifest says, if there is one. A file in which every block ends where the next begins with another
    // number alone is not the one that the manifest means, and would be saved as rubbish.
    std::optional<std::uint32_t> FindSubmeshes(const vlio::Bytes& image)
    {
        std::optional<std::uint32_t> count = m_target.submeshes;
        if (!count) {
            const Messages messages;
            const std::optional<SubmeshCount> found = FindSubmeshCount(m_target.path, image, m_options.load);
            if (!found) {
                Stop(UpgradeStatus::Skipped, messages.Text());
                return std::nullopt;
            }
            count = found->count;
        }
        const std::vector<std::uint32_t> fitting =
            vlMeshData::FittingSubmeshCounts(image.data(), image.size());
        if (fitting.empty() || std::find(fitting.begin(), fitting.end(), *count) != fitting.end())
            return count;
        Stop(UpgradeStatus::Skipped, "it should have " + Counted(*count, "submesh", "submeshes") +
                                         ", and the file itself fits " + std::to_string(fitting[0]));
        return std::nullopt;
    }

    bool MayBeSaved(std::optional<std::uint32_t> submeshes)
    {
        CheckOptions options;
        options.submeshCount = submeshes;
        const CheckResult check = CheckFile(m_target.real.c_str(), options);
        m_result.bytes += check.bytes;
        for (const Finding& finding : check.findings)
            if (IsAgainst(*finding.code))
                AddReason(finding);
        if (!m_result.reasons.empty()) {
            m_result.status = UpgradeStatus::Skipped;
            return false;
        }
        for (const Finding& finding : check.findings)
            if (std::string_view(finding.code->name).starts_with("save-"))
                AddReason(finding);
        m_result.status = UpgradeStatus::WouldUpgrade;
        return true;
    }

    bool IsAgainst(const FindingCode& code) const
    {
        const auto& drop = m_options.drop;
        return code.severity == Severity::Error || code.name == std::string_view("save-refused") ||
               (code.isDrop && std::find(drop.begin(), drop.end(), code.name) == drop.end());
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

    void Finish(bool isThere, const Messages& messages)
    {
        if (!isThere)
            return Stop(UpgradeStatus::Failed, "it was saved, and can't be read back: " + messages.Text());
        m_result.status = UpgradeStatus::Upgraded;
        if (!messages.Text().empty())
            m_result.reasons.push_back({nullptr, messages.Text()});
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
