#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// A line on stderr that tells how far a command is, if stderr is a terminal; it is written over in place, ten times a
/// second at the most. Belongs to one thread.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Erase(); }

    /// Files were found so far, and more are looked for.
    void Found(std::size_t files);

    /// From here on: so many pieces of work are to be done.
    void Begin(std::size_t pieces);

    /// One more piece is done, for which so many bytes were read.
    void Add(std::uint64_t bytes);

    /// Shows how far it is, if it is time to.
    void Show();

    /// Ahead of all other output.
    void Erase();

private:
    using Clock = std::chrono::steady_clock;

    bool IsDue();
    void Write(const std::string& text);

    bool m_isTerminal;
    bool m_isShown = false;
    std::size_t m_pieces = 0, m_done = 0;
    std::uint64_t m_bytes = 0;
    Clock::time_point m_begin, m_next;
};

}  // namespace vela::vlgim::tools
