#include "batch/Interrupt.h"

#include <atomic>
#include <iterator>

namespace vela::vlgim::tools {

namespace {

std::atomic<int> first{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use nothing else");

void Note(int number)
{
    int none = 0;
    first.compare_exchange_strong(none, number);
}

}  // namespace

Interruptible::Interruptible()
{
    first = 0;
    struct sigaction note = {};
    note.sa_handler = Note;
    // A write to stdout that is cut short would lose what it was about to print.
    note.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        ::sigaction(kSignals[i], nullptr, &m_old[i]);
        if (m_old[i].sa_handler != SIG_IGN)
            ::sigaction(kSignals[i], &note, nullptr);
    }
}

Interruptible::~Interruptible()
{
    for (std::size_t i = 0; i < std::size(kSignals); ++i)
        ::sigaction(kSignals[i], &m_old[i], nullptr);
}

int Interruptible::Signal()
{
    return first;
}

NoSignals::NoSignals()
{
    sigset_t all;
    ::sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        ::sigdelset(&all, fault);
    ::pthread_sigmask(SIG_SETMASK, &all, &m_old);
}

NoSignals::~NoSignals()
{
    ::pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
}

}  // namespace vela::vlgim::tools
