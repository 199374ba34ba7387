#include "batch/Progress.h"

#include "report/Print.h"

#include <cinttypes>
#include <cstdio>

namespace vela::vlgim::tools {

namespace {

// 4210 as "1:10:10".
std::string Duration(std::uint64_t seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%" PRIu64 ":%02" PRIu64 ":%02" PRIu64, seconds / 3600,
                  seconds / 60 % 60, seconds % 60);
    return text;
}

}  // namespace

Progress::Progress() : m_isTerminal(CanRewrite(stderr)), m_begin(Clock::now()), m_next(m_begin) {}

void Progress::Found(std::size_t files)
{
    if (IsDue())
        Write(Grouped(files) + " files found");
}

void Progress::Begin(std::size_t pieces)
{
    m_pieces = pieces;
    m_done = 0;
    m_bytes = 0;
    m_begin = Clock::now();
}

void Progress::Add(std::uint64_t bytes)
{
    ++m_done;
    m_bytes += bytes;
    Show();
}

void Progress::Show()
{
    if (m_pieces == 0 || !IsDue())
        return;
    const double seconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    const double rate = static_cast<double>(m_bytes) / 1e6 / seconds;
    const double left =
        seconds * static_cast<double>(m_pieces - m_done) / static_cast<double>(m_done == 0 ? 1 : m_done);
    char text[128];
    std::snprintf(text, sizeof text, "%s of %s, %.0f MB/s%s%s", Grouped(m_done).c_str(),
                  Grouped(m_pieces).c_str(), rate, m_done == 0 ? "" : ", left ",
                  m_done == 0 ? "" : Duration(static_cast<std::uint64_t>(left)).c_str());
    Write(text);
}

void Progress::Erase()
{
    if (m_isShown)
        std::fputs("\r\033[K", stderr);
    m_isShown = false;
}

bool Progress::IsDue()
{
    if (!m_isTerminal || Clock::now() < m_next)
        return false;
    m_next = Clock::now() + std::chrono::milliseconds(100);
    return true;
}

void Progress::Write(const std::string& text)
{
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    m_isShown = true;
}

}  // namespace vela::vlgim::tools
