#include "SaveFile.h"

#include <corecommon/Log.h>

#include <system_error>

namespace vela::vlgim::io {

std::string WithoutFile(Error error)
{
    error.file.clear();
    return error.Message();
}

bool LogFailure(const Error& error, const char* what)
{
    const char* const file = error.file.c_str();
    if (!error)
        return false;
    if (error.code == static_cast<int>(std::errc::file_exists))
        LogError("%s %s", file, error.text.c_str());
    else if (error.kind == ErrorKind::NotWritten || !what)
        LogError("failed to write %s: %s", file, error.text.c_str());
    else if (error.kind == ErrorKind::NotCreated)
        LogError("unable to open %s", file);
    else
        LogError("%s %s can't be written: %s", what, file, WithoutFile(error).c_str());
    return true;
}

void LogWarnings(const std::vector<Error>& warnings, const char* what)
{
    for (const Error& warning : warnings) {
        const char *const file = warning.file.c_str(), *const text = warning.text.c_str();
        if (warning.kind == ErrorKind::NotCreated)
            LogWarning("%s is written in place: its folder takes no new file: %s", file, text);
        else if (warning.file.empty())
            LogWarning("%s", text);
        else
            LogWarning("%s %s %s", what, file, text);
    }
}

}  // namespace vela::vlgim::io
