#include "Fresh.h"
#include "Table.h"

#include <cstdio>
#include <string_view>

using namespace vela::vlgim;

int main(int argc, char** argv)
{
    if (bench::RanAsFreshProcess(argc, argv))
        return 0;

    bool json = false;
    std::string_view filter;
    for (int i = 1; i < argc; ++i) {
        if (argv[i] == std::string_view("--json"))
            json = true;
        else
            filter = argv[i];
    }

    bench::Rows rows;
    bench::AddMeshRows(rows);
    bench::AddKeyRows(rows);
    bench::AddAnimRows(rows);
    bench::AddWriteRows(rows);
    bench::AddLimitRows(rows);
    bench::AddLinearRows(rows);
    std::erase_if(rows, [&](const bench::Row& row) { return row.work.find(filter) == std::string::npos; });
    if (rows.empty()) {
        std::fprintf(stderr, "usage: vlgim_bench [--json] [PART OF A ROW'S NAME]\n");
        return 2;
    }
    return bench::PrintTable(rows, json) ? 0 : 1;
}
