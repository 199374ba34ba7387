#include "BlockReader.h"

namespace vela::vlgim::io {

std::string Refusal::Path() const
{
    std::string path;
    for (std::size_t i = 0; i < depth; ++i)
        AppendStep(path, steps[i]);
    return path;
}

std::string Refusal::Text() const
{
    const std::string asked = std::to_string(needed), there = std::to_string(left);
    switch (kind) {
    case ErrorKind::Bytes:
        return offset > fileSize
                   ? "an offset points here, but the file has " + std::to_string(fileSize) + " bytes"
                   : "needs " + asked + (needed == 1 ? " byte" : " bytes") + ", but the file has " + there +
                         " left";
    case ErrorKind::Reference:
        return "the share table lists no blocks";
    case ErrorKind::Limit:
        return "count " + asked + " exceeds the limit of " + there;
    default:
        return "needs " + asked + " bytes of memory, but " + there + " are allowed";
    }
}

Error Refusal::AsError(std::string file) const
{
    if (kind == ErrorKind::None)
        return {};
    return {kind, 0, std::move(file), Path(), offset, Text()};
}

void BlockReader::RefuseAt(std::uint64_t offset, ErrorKind kind, std::uint64_t needed, std::uint64_t left)
{
    if (Failed())
        return;
    m_refusal = {kind, offset, needed, left, m_size, {}, m_depth};
    std::copy_n(m_steps, m_depth, m_refusal.steps);
}

void BlockReader::NameRefused(Block block)
{
    if (block >= Block::FirstField || m_refusal.depth == Refusal::kDeepest)
        return;
    m_refusal.steps[m_refusal.depth++] = {block, Step::kOnly};
}

}  // namespace vela::vlgim::io
