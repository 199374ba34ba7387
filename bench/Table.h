#pragma once

#include "Timing.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vela::vlgim::bench {

/// One line of the table: a work, and what it can't be faster than.
struct Row {
    std::string work;
    const char* floor;
    std::optional<double> goal;     ///< most that work may take, in floors; none: reported alone
    std::function<Pair()> prepare;  ///< makes the inputs; called in a process of the row's own
};

using Rows = std::vector<Row>;

void AddMeshRows(Rows& rows);
void AddKeyRows(Rows& rows);
void AddAnimRows(Rows& rows);
void AddWriteRows(Rows& rows);
void AddLimitRows(Rows& rows);
void AddLinearRows(Rows& rows);

/// Measures all rows and prints each as soon as it is known: as a table, or as JSON, one object a line, with
/// what was found out about the machine as the first. Returns false where a row could not be measured.
bool PrintTable(const Rows& rows, bool json);

}  // namespace vela::vlgim::bench
