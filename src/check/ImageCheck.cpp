#include "ImageCheck.h"

#include "SavedImage.h"

#include <io/SaveFile.h>

#include <algorithm>

namespace vela::vlgim::check {

bool Change::Changes(Block field) const
{
    const std::size_t old = file.FindIn(run.place, field), now = saved.FindIn(savedRun.place, field);
    if (old == Places::kNone || now == Places::kNone)
        return old != now;
    return !AreSame(file.Bytes(old), saved.Bytes(now));
}

// held  bytes in memory; the object takes m_spent more
Error ImageCheck::ReadTraced(const vlio::Bytes& image, std::uint64_t held, io::BlockMap& map)
{
    io::BlockReader in(image);
    in.Trace(map);
    in.LimitMemory(m_input.session.Left(held));
    Error error = Read(in, image);
    m_spent = in.Spent();
    m_input.session.Step(m_input.report);
    return error;
}

bool ImageCheck::Run()
{
    io::BlockMap map;
    const Error error = ReadTraced(m_input.image, m_held, map);
    const File file(m_input.report, m_input.image, map);
    if (error) {
        ReportRefusal(file, error);
        return false;
    }
    CheckValues(file);
    m_input.session.Step(m_input.report);
    if (IsWritable())
        CheckSaved(file);
    return true;
}

bool ImageCheck::Allows(const Error& whyUnwritable)
{
    if (whyUnwritable)
        m_input.report.Add("save-refused", {}, vlio::WithoutFile(whyUnwritable));
    return !whyUnwritable;
}

void ImageCheck::CheckSaved(const File& file)
{
    const std::size_t patched = file.Find(Block::TableOffset);
    SavedImage saved(m_input.image, std::max<std::uint64_t>(m_input.image.size(), WrittenSize()),
                     m_input.session.Left(m_held + m_spent),
                     patched != Places::kNone ? file.Offset(patched) : SavedImage::kNowhere);
    Write(saved);
    Drop();
    m_input.session.Step(m_input.report);
    if (saved.IsSame())
        return;
    if (saved.IsCut())
        m_input.report.Add("memory-limit", {}, "the saved file would exceed the memory limit");
    else
        CheckWritten(file, saved.Whole());
}

void ImageCheck::CheckWritten(const File& file, const vlio::Bytes& written)
{
    io::BlockMap map;
    const Error error = ReadTraced(written, m_held + written.size(), map);
    if (error.kind == ErrorKind::MemoryLimit)
        return m_input.report.Add("memory-limit", {},
                                  "reading the saved file again would exceed the memory limit");
    if (error)
        return m_input.report.Add("save-refused", {}, "the saved file could not be read again");
    ReportChanges(file, {written, map});
    // All blocks of a mesh are the same, and have another order or no longer lie on one another.
    if (const std::size_t table = file.Find(Block::ShareTable);
        table != Places::kNone && !m_input.report.TellsOfSave())
        file.Add("save-table", table, "a save writes the blocks one behind the other");
}

// Reports each run whose bytes are others in a second image of the file that has the same block. Both images were read
// whole.
void ImageCheck::ReportChanges(const File& file, const Places& saved)
{
    // Blocks come in the same order; each image may have some that the other lacks, in a row no longer than this.
    constexpr std::ptrdiff_t kMostExtra = 16;
    const std::vector<Places::Run> oldRuns = file.Runs(), newRuns = saved.Runs();
    auto next = newRuns.begin();
    for (const Places::Run& run : oldRuns) {
        const auto last = next + std::min(kMostExtra, newRuns.end() - next);
        const auto match = std::find_if(next, last, [&](const Places::Run& candidate) {
            return file[run.place].step == saved[candidate.place].step;
        });
        if (match == last)
            continue;
        if (!AreSame(file.Bytes(run), saved.Bytes(*match)))
            ReportChange({file, saved, run, *match});
        next = match + 1;
    }
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
