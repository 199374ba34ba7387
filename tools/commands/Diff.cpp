#include "commands/Commands.h"
#include "report/Json.h"
#include "report/Load.h"
#include "report/Print.h"

#include <vlgim/Differences.h>

#include <charconv>
#include <cstdio>
#include <exception>

namespace vela::vlgim::tools {

namespace {

struct DiffSettings {
    std::string a, b;
    LoadOptions load;
    CompareOptions compare;
    bool isJson = false;
};

// Empty for a number of 0 or more.
std::string WhyNoTolerance(const std::string& text)
{
    double tolerance = -1;
    const char* const end = text.data() + text.size();
    const bool isNumber = std::from_chars(text.data(), end, tolerance).ptr == end;
    return isNumber && tolerance >= 0 ? "" : "must be a number of 0 or more, not " + text;
}

// Of two that both have the field, an empty one would look as if it were forgotten.
std::string ValueText(const std::string& value)
{
    return value.empty() ? "''" : Shown(value);
}

void PrintOnlyIn(const Difference& difference)
{
    const std::string& value = difference.a ? *difference.a : *difference.b;
    std::printf("only in %s%s%s\n", difference.a ? "A" : "B", value.empty() ? "" : ": ",
                Shown(value).c_str());
}

void PrintDifference(const Difference& difference)
{
    const std::string where = Shown(difference.where);
    std::printf("%s", Shown(difference.field).c_str());
    if (difference.count > 1)
        std::printf(": %s differ, %s", Grouped(difference.count).c_str(),
                    difference.largest ? "the most" : "the first");
    std::printf("%s%s: ", where.empty() ? "" : " at ", where.c_str());
    if (!difference.a || !difference.b)
        return PrintOnlyIn(difference);
    std::printf("%s and %s", ValueText(*difference.a).c_str(), ValueText(*difference.b).c_str());
    if (difference.largest && !where.empty())
        std::printf(", by %g", *difference.largest);
    std::printf("\n");
}

Json DifferenceLine(const Difference& difference)
{
    const auto shown = [](const std::optional<std::string>& value) {
        return value ? Json(Shown(*value)) : Json();
    };
    return Line("difference", {{"field", Shown(difference.field)},
                               {"where", Shown(difference.where)},
                               {"largest", difference.largest ? Json(*difference.largest) : Json()},
                               {"count", difference.count},
                               {"a", shown(difference.a)},
                               {"b", shown(difference.b)}});
}

std::vector<Difference> Compare(const MeshFile& a, const MeshFile& b, const CompareOptions& options)
{
    return vlgim::Compare(a.mesh, b.mesh, options);
}

// Files that differ in kind have nothing to compare.
std::optional<std::vector<Difference>> Differences(const LoadedFile& a, const LoadedFile& b,
                                                   const CompareOptions& options)
{
    if (a.index() != b.index())
        return std::nullopt;
    return std::visit(
        [&](const auto& x) { return Compare(x, std::get<std::decay_t<decltype(x)>>(b), options); }, a);
}

int PrintDifferences(const DiffSettings& options)
try {
    const std::optional<LoadedFile> a = LoadFile(options.a, options.load);
    const std::optional<LoadedFile> b = LoadFile(options.b, options.load);
    if (!a || !b)
        return kTrouble;
    const auto differences = Differences(*a, *b, options.compare);
    if (!differences) {
        std::fprintf(stderr, "%s and %s are files of different kinds\n", Shown(options.a).c_str(),
                     Shown(options.b).c_str());
        return kTrouble;
    }
    for (const Difference& difference : *differences)
        options.isJson ? PrintLine(DifferenceLine(difference)) : PrintDifference(difference);
    // What could not be told is no result.
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        return kTrouble;
    return differences->empty() ? kClean : kFindings;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vlgim: %s\n", error.what());
    return kTrouble;
}

}  // namespace

void AddDiff(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<DiffSettings>();
    CLI::App* diff =
        app.add_subcommand("diff", "Compare two models, meshes, animations or tracks field by field");
    diff->add_option("A", options->a, "A .gim, .mesh, .gis or track file")->required();
    diff->add_option("B", options->b, "Another file of the same kind")->required();
    diff->add_option("--tolerance", options->compare.tolerance,
                     "Largest difference, component by component, at which floats count as equal")
        ->check(WhyNoTolerance)
        ->capture_default_str();
    diff->add_flag(
        "--json", options->isJson,
        "Print one JSON object per difference, one per line; share/vlgim/vlgim.schema.json describes it");
    AddLoadOptions(*diff, options->load);
    diff->footer(R"(Exit codes: 0 the files are the same; 1 they differ; 2 wrong usage, or a
file can't be read.

Examples:
  vlgim diff old/hero.gim new/hero.gim              compare mesh, materials, names: the whole model
  vlgim diff --tolerance 1e-5 a.gis b.gis           ignore rounding from a new export
  vlgim diff --json a.gis b.gis | jq -r .field)");
    diff->callback([options, &run] { run = [options] { return PrintDifferences(*options); }; });
}

}  // namespace vela::vlgim::tools
