#include "report/CodeNames.h"

#include "report/Print.h"

#include <vlgim/Findings.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>

namespace vela::vlgim::tools {

namespace {

// Letters to add, take away or replace on the way from one to the other (Wagner and Fischer 1974).
std::size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (letter == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

bool IsAlike(std::string_view wrong, std::string_view name)
{
    return Distance(wrong, name) <= std::max<std::size_t>(2, name.size() / 3) ||
           (wrong.size() > 2 && name.find(wrong) != std::string_view::npos);
}

// Empty if there is a code of this name; else what to tell who asked for it.
std::string WhyUnknown(const std::string& name)
{
    if (FindFindingCode(name))
        return {};
    std::string alike;
    for (const FindingCode& code : FindingCodes())
        if (IsAlike(name, code.name))
            alike += (alike.empty() ? "; is it " : " or ") + std::string(code.name);
    return "there is no code '" + Shown(name) + "'" +
           (alike.empty() ? "; `vlgim codes` lists them" : alike + "?");
}

}  // namespace

CLI::Option* AddCodeOption(CLI::App& command, const std::string& option, std::vector<std::string>& codes,
                           const std::string& description)
{
    return command.add_option(option, codes, description)
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("CODE")
        ->check(CLI::Validator(WhyUnknown, ""));
}

}  // namespace vela::vlgim::tools
