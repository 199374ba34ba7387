#include "Table.h"

#include "Machine.h"
#include "Scratch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace vela::vlgim::bench {

namespace {

constexpr std::chrono::seconds kTimeForRow{2};
constexpr std::size_t kFewestPairs = 11;
constexpr std::size_t kMostPairs = 1000;

struct Figures {
    double ratio = 0;         // of the medians
    double min = 0, max = 0;  // of the pairs' own ratios
    double allocations = 0;
};

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Work and floor in turn, so that a machine whose speed drifts slows both.
Figures Measure(const Pair& pair)
{
    std::vector<double> works, floors, ratios;
    pair.floor();
    double allocations = pair.work().allocations;
    const auto end = std::chrono::steady_clock::now() + kTimeForRow;
    while (ratios.size() < kFewestPairs ||
           (ratios.size() < kMostPairs && std::chrono::steady_clock::now() < end)) {
        floors.push_back(pair.floor().nanoseconds);
        const Sample work = pair.work();
        works.push_back(work.nanoseconds);
        allocations = work.allocations;
        ratios.push_back(works.back() / floors.back());
    }
    const auto [min, max] = std::ranges::minmax(ratios);
    return {Median(works) / Median(floors), min, max, allocations};
}

// In a process of the row's own, or its figures would depend on what the rows ahead of it left in the heap.
std::optional<Figures> MeasureApart(const Row& row)
{
    int ends[2];
    if (::pipe(ends) != 0)
        return {};
    const pid_t child = ::fork();
    if (child == 0) {
        const Figures figures = Measure(row.prepare());
        ::_exit(::write(ends[1], &figures, sizeof figures) == sizeof figures ? 0 : 1);
    }
    ::close(ends[1]);
    Figures figures;
    const bool whole = ::read(ends[0], &figures, sizeof figures) == sizeof figures;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    RemoveScratch(child);
    return whole ? std::optional(figures) : std::nullopt;
}

void PrintHead(bool json)
{
    const Machine& machine = ThisMachine();
    if (json) {
        std::printf("{\"page_size\": %ld, \"huge_page_size\": %ld, \"huge_pages\": \"%s\", "
                    "\"instruction_set\": \"%s\"}\n",
                    machine.pageSize, machine.hugePageSize, machine.hugePages.c_str(),
                    machine.instructionSet);
        return;
    }
    std::printf("pages of %ld bytes, huge pages of %ld bytes (%s), %s\n\n", machine.pageSize,
                machine.hugePageSize, machine.hugePages.c_str(), machine.instructionSet);
    std::printf("%-64s %-16s %5s %7s %7s %7s %12s  %s\n", "work", "floor", "goal", "ratio", "min", "max",
                "allocations", "met");
}

// Three places tell small ratios apart; of large ones the first digits matter.
std::string Short(double ratio)
{
    char text[16];
    std::snprintf(text, sizeof text, ratio < 10 ? "%.3f" : "%.1f", ratio);
    return text;
}

void PrintRow(const Row& row, const Figures& figures, bool json)
{
    char goal[16] = "";
    if (row.goal)
        std::snprintf(goal, sizeof goal, "%.2f", *row.goal);
    const bool met = row.goal && figures.ratio <= *row.goal;
    if (json)
        std::printf("{\"work\": \"%s\", \"floor\": \"%s\", \"goal\": %s, \"ratio\": %.4g, \"min\": %.4g, "
                    "\"max\": %.4g, \"allocations\": %.0f, \"met\": %s}\n",
                    row.work.c_str(), row.floor, row.goal ? goal : "null", figures.ratio, figures.min,
                    figures.max, figures.allocations, row.goal ? (met ? "true" : "false") : "null");
    else
        std::printf("%-64s %-16s %5s %7s %7s %7s %12.0f  %s\n", row.work.c_str(), row.floor, goal,
                    Short(figures.ratio).c_str(), Short(figures.min).c_str(), Short(figures.max).c_str(),
                    figures.allocations, row.goal ? (met ? "yes" : "NO") : "");
}

}  // namespace

bool PrintTable(const Rows& rows, bool json)
{
    bool all = true;
    PrintHead(json);
    for (const Row& row : rows) {
        std::fflush(stdout);  // also, or the child would print it a second time
        if (const std::optional<Figures> figures = MeasureApart(row)) {
            PrintRow(row, *figures, json);
        } else {
            std::fprintf(stderr, "%s: could not be measured\n", row.work.c_str());
            all = false;
        }
    }
    return all;
}

}  // namespace vela::vlgim::bench
