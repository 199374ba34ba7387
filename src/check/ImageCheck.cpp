#include "ImageCheck.h"

#include "SavedImage.h"

#include <io/SaveFile.h>

#include <algorithm>

namespace vela::vlgim::check {

namespace {

// Calls visit(old, now) for each run whose bytes are others in a second image of the file that has the same block. Both
// images were read whole.
template <class Visit>
void ForEachChange(const Places& old, const Places& now, Visit visit)
{
    // Blocks come in the same order; each image may have some that the other lacks, in a row no longer than this.
    constexpr std::ptrdiff_t kMostExtra = 16;
    const std::vector<Places::Run> oldRuns = old.Runs(), newRuns = now.Runs();
    auto next = newRuns.begin();
    for (const Places::Run& run : oldRuns) {
        const auto last = next + std::min(kMostExtra, newRuns.end() - next);
        const auto match = std::find_if(next, last, [&](const Places::Run& candidate) {
            return old[run.place].step == now[candidate.place].step;
        });
        if (match == last)
            continue;
        if (!AreSame(old.Bytes(run), now.Bytes(*match)))
            visit(run, *match);
        next = match + 1;
    }
}

}  // namespace

bool Change::Changes(Block field) const
{
    const std::size_t old = file.FindIn(run.place, field), now = saved.FindIn(savedRun.place, field);
    if (old == Places::kNone || now == Places::kNone)
        return old != now;
    return !AreSame(file.Bytes(old), saved.Bytes(now));
}

bool ImageCheck::Run()
{
    io::BlockReader in(m_image);
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(m_session.Left(m_held));
    const Error error = Read(in, m_image);
    m_session.Step(m_report);
    const File file(m_report, m_image, map);
    if (error) {
        ReportRefusal(file, error);
        return false;
    }
    m_spent = in.Spent();
    CheckValues(file);
    m_session.Step(m_report);
    if (IsWritable())
        CheckSaved(file);
    return true;
}

bool ImageCheck::Allows(const Error& whyUnwritable)
{
    if (whyUnwritable)
        m_report.Add("save-refused", {}, vlio::WithoutFile(whyUnwritable));
    return !whyUnwritable;
}

void ImageCheck::CheckSaved(const File& file)
{
    const std::size_t patched = file.Find(Block::TableOffset);
    SavedImage saved(m_image, std::max<std::uint64_t>(m_image.size(), WrittenSize()),
                     m_session.Left(m_held + m_spent),
                     patched != Places::kNone ? file.Offset(patched) : SavedImage::kNowhere);
    const Error error = Write(saved);
    Drop();
    m_session.Step(m_report);
    if (!Allows(error) || saved.IsSame())
        return;
    if (saved.IsCut())
        m_report.Add("memory-limit", {}, "the saved file would exceed the memory limit");
    else
        CheckWritten(file, saved.Whole());
}

void ImageCheck::CheckWritten(const File& file, const vlio::Bytes& written)
{
    io::BlockReader in(written);
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(m_session.Left(m_held + written.size()));
    const Error error = Read(in, written);
    m_session.Step(m_report);
    if (error.kind == ErrorKind::MemoryLimit)
        return m_report.Add("memory-limit", {}, "reading the saved file again would exceed the memory limit");
    if (error)
        return m_report.Add("save-refused", {}, "the saved file could not be read again");
    const Places saved(written, map);
    ForEachChange(file, saved, [&](const Places::Run& old, const Places::Run& now) {
        ReportChange({file, saved, old, now});
    });
    if (!m_report.TellsOfSave())
        ReportOtherChange(file);
}

void ReportUnread(const File& file, std::uint64_t size, const std::vector<std::uint32_t>& known)
{
    std::vector<Places::Run> runs = file.Runs();
    std::stable_sort(runs.begin(), runs.end(),
                     [](const auto& a, const auto& b) { return a.offset < b.offset; });
    runs.push_back({Places::kNone, size, size});
    std::uint64_t covered = 0;
    for (const Places::Run& run : runs) {
        if (run.offset < covered && run.Size() != 0) {
            const std::string name = io::NameOf(file.BlockAt(run.place));
            file.report.Add("blocks-overlap", {name, run.offset},
                            "the block " + name + " begins inside another one, which ends at byte " +
                                std::to_string(covered));
        }
        if (run.offset > covered && std::find(known.begin(), known.end(), covered) == known.end())
            file.report.Add("save-drops-bytes", {"", covered},
                            std::to_string(run.offset - covered) + " bytes from here on belong to no block" +
                                (run.offset == size ? ", up to the end of the file" : ""));
        covered = std::max(covered, run.end);
    }
}

}  // namespace vela::vlgim::check
