#include <platform/Interrupt.h>

#include <atomic>
#include <csignal>
#include <iterator>

namespace vela::platform {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
struct sigaction before[std::size(kSignals)];

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
        ::sigaction(kSignals[i], nullptr, &before[i]);
        if (before[i].sa_handler != SIG_IGN)
            ::sigaction(kSignals[i], &note, nullptr);
    }
}

Interruptible::~Interruptible()
{
    for (std::size_t i = 0; i < std::size(kSignals); ++i)
        ::sigaction(kSignals[i], &before[i], nullptr);
}

bool IsInterrupted()
{
    return first != 0;
}

bool IsReaderGone()
{
    return first == SIGPIPE;
}

void EndInterrupted()
{
    ::signal(first, SIG_DFL);
    ::raise(first);
}

void ShieldThread()
{
    sigset_t all;
    ::sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        ::sigdelset(&all, fault);
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

}  // namespace vela::platform
