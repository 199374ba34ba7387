#include <vlio2/Failures.h>

#include <corecommon/Log.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace vlio {

using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

Error Failure(ErrorKind kind, int code, const char* file, std::string text)
{
    if (text.empty())
        text = std::generic_category().message(code);
    return {kind, code, file, "", std::nullopt, std::move(text)};
}

std::string WithoutFile(Error error)
{
    error.file.clear();
    return error.Message();
}

bool LogFailure(const Error& error, const char* what)
{
    const char *const file = error.file.c_str(), *const text = error.text.c_str();
    if (!error)
        return false;
    if (error.kind == ErrorKind::NotCreated && error.code == EEXIST)  // the set has it twice
        vela::LogError("%s %s", file, text);
    else if (error.kind == ErrorKind::NotWritten || !what)
        vela::LogError("failed to write %s: %s", file, text);
    else if (error.kind == ErrorKind::NotCreated)
        vela::LogError("unable to open %s", file);
    else
        vela::LogError("%s %s can't be written: %s", what, file, WithoutFile(error).c_str());
    return true;
}

void LogWarnings(const std::vector<Error>& warnings, const char* what)
{
    for (const Error& warning : warnings) {
        const char *const file = warning.file.c_str(), *const text = warning.text.c_str();
        if (warning.kind == ErrorKind::NotCreated)  // written in place, whatever kind it is of
            vela::LogWarning("%s %s", file, text);
        else if (what)
            vela::LogWarning("%s %s %s", what, file, text);
        else
            vela::LogWarning("%s", text);
    }
}

}  // namespace vlio
