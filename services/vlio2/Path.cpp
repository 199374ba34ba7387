#include <vlio2/Path.h>

#include <algorithm>
#include <string_view>

namespace vlio {

std::string ReplaceFileExtension(const char* path, const char* extension)
{
    const std::string_view whole = path;
    const std::size_t dot = whole.find_last_of("./\\");
    const bool hasExtension = dot != std::string_view::npos && whole[dot] == '.';
    return std::string(hasExtension ? whole.substr(0, dot) : whole) + extension;
}

std::string FormatPath(const char* path)
{
    std::string rest = path;
    std::replace(rest.begin(), rest.end(), '\\', '/');

    std::string normal(std::min<std::size_t>(2, std::min(rest.find_first_not_of('/'), rest.size())), '/');
    for (std::size_t at = 0, next = 0; at < rest.size(); at = next) {
        next = std::min(rest.find('/', at), rest.size() - 1) + 1;
        const std::string_view component = std::string_view(rest).substr(at, next - at);  // with its slash
        if (component != "/" && component != "./" && component != ".")
            normal += component;
    }
    return normal;
}

bool IsRelativePath(const char* path)
{
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const bool hasRoot = path[0] == '/' || path[0] == '\\';
    const bool hasDrive = isLetter(path[0]) && path[1] == ':';
    return !hasRoot && !hasDrive;
}

}  // namespace vlio
