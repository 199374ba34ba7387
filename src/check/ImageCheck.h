#pragma once

#include "Places.h"
#include "Report.h"

#include <io/BlockReader.h>
#include <vlgim/Error.h>
#include <vlio2/Sink.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vela::vlgim::check {

/// A file that was read, and its findings.
struct File : Places {
    FileReport& report;

    File(FileReport& of, const vlio::Bytes& image, const io::BlockMap& map) : Places(image, map), report(of)
    {
    }

    /// The first byte of a block or field, or one behind it.
    Where At(std::size_t place, std::uint64_t behind = 0) const
    {
        return {Path(place), Offset(place) + behind};
    }

    void Add(Code code, std::size_t place, std::uint64_t behind, const std::string& text) const
    {
        report.Add(code, At(place, behind), text);
    }
    void Add(Code code, std::size_t place, const std::string& text) const { Add(code, place, 0, text); }
};

/// A run of bytes that a save writes otherwise.
struct Change {
    const File& file;
    const Places& saved;
    const Places::Run &run, &savedRun;

    Block Of() const { return file.BlockAt(run.place); }
    ByteSpan Old() const { return file.Bytes(run); }
    ByteSpan New() const { return saved.Bytes(savedRun); }

    /// Whether a save changes a field of the block.
    bool Changes(Block field) const;

    void Add(Code code, const char* text) const
    {
        file.report.Add(code, {file.Path(run.place), run.offset}, text);
    }
};

/// The check of one file that is read into an object and written from it.
class ImageCheck {
public:
    /// held  bytes in memory beside the image
    explicit ImageCheck(const Input& input, std::uint64_t held = 0)
        : m_input(input), m_held(held + input.image.size())
    {
    }
    ImageCheck(const ImageCheck&) = delete;
    ImageCheck& operator=(const ImageCheck&) = delete;
    virtual ~ImageCheck() = default;

    /// Reads the image, holds the object against the rules, writes it in memory and reads that again if it is not the
    /// same. False: the image could not be read, and a finding says why.
    bool Run();

protected:
    /// False, with a finding, for an error.
    bool Allows(const Error& whyUnwritable);

    const Input& m_input;
    const std::uint64_t m_held;  // in memory, with the image
    std::uint64_t m_spent = 0;   // by the object

private:
    /// Reads an image into the object, which is as new.
    virtual Error Read(io::BlockReader& in, const vlio::Bytes& image) = 0;

    virtual void ReportRefusal(const File& file, const Error& error) { file.report.Add(error); }
    virtual void CheckValues(const File& file) = 0;

    /// Whether the object can be saved; else a finding says why not.
    virtual bool IsWritable() { return true; }

    /// Bytes that a save writes, more or less.
    virtual std::uint64_t WrittenSize() const { return m_input.image.size(); }

    virtual void Write(vlio::Sink& sink) = 0;

    /// Makes the object as new.
    virtual void Drop() = 0;

    virtual void ReportChange(const Change& change) = 0;

    Error ReadTraced(const vlio::Bytes& image, std::uint64_t held, io::BlockMap& map);
    void CheckSaved(const File& file);
    void CheckWritten(const File& file, const vlio::Bytes& written);
    void ReportChanges(const File& file, const Places& saved);
};

/// Bytes that the reader had no block for, and those that it had several for. `known` are offsets of unread blocks that
/// were told of already.
void ReportUnread(const File& file, std::uint64_t size, const std::vector<std::uint32_t>& known = {});

}  // namespace vela::vlgim::check
