#include "Check.h"

#include <corecommon/Log.h>
#include <platform/Files.h>

// The operations that are called.
namespace vela::vlgim {

namespace check {

namespace {

void CheckInput(const Input& input, bool withFiles)
{
    vlio::XmlData document;
    switch (KindOfFile(input.report.Path(), input.image.data(), input.image.size())) {
    case FileKind::Model:
        return CheckManifest(input, withFiles);
    case FileKind::Mesh:
        return CheckMeshAlone(input, withFiles);
    case FileKind::Animation:
        return CheckAnimation(input, withFiles);
    case FileKind::Track:
        return CheckTrack(input);
    case FileKind::Document:
        CheckDocument(input, document);
        return;
    case FileKind::Unknown:
        input.report.Add("unknown-kind", {},
                         "neither its name nor its first bytes show that it belongs to a model");
    }
}

// Runs a check on this thread, whose messages are findings here and nobody's log.
template <class Run>
CheckResult RunCheck(const CheckOptions& options, Run run)
{
    const ThreadLogSink noLog(nullptr, nullptr);
    Session session(options);
    try {
        run(session);
    } catch (const Cancelled&) {
        return session.Finish(true);
    }
    return session.Finish(false);
}

}  // namespace

}  // namespace check

CheckResult CheckFile(const char* path, const CheckOptions& options)
{
    return check::RunCheck(options, [&](check::Session& session) {
        platform::FileStatus status;
        if (platform::IsMissing(platform::GetStatus(path, status)))
            return session.BeginUnread(path).Add("unreadable", {}, "the file doesn't exist");
        if (const auto input = check::ReadFile(session, path))
            check::CheckInput(*input, true);
    });
}

CheckResult CheckBytes(const unsigned char* data, std::size_t size, const char* path,
                       const CheckOptions& options)
{
    return check::RunCheck(options, [&](check::Session& session) {
        if (size > options.memoryLimit)
            return session.BeginUnread(path).Add("memory-limit", {},
                                                 "the file is larger than the memory limit");
        check::CheckInput({session, session.Begin(path, size), vlio::Bytes(data, data + size)}, false);
    });
}

std::span<const FindingCode> FindingCodes()
{
    return check::codes::kTable;
}

const FindingCode* FindFindingCode(std::string_view name)
{
    return check::codes::Find(name);
}

}  // namespace vela::vlgim
