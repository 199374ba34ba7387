#include <vlio2/Failures.h>

#include <corecommon/Log.h>
#include <vlio2/FileWriter.h>

#include <cerrno>
#include <utility>

namespace vlio {

using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

Error Failure(ErrorKind kind, int code, const char* file, std::string text)
{
    Error error;
    error.kind = kind;
    error.code = code;
    error.file = file;
    error.text = std::move(text);
    return error;
}

void LogFailure(const Error& error, Saved what)
{
    const bool isNotCreated = error.kind == ErrorKind::NotCreated;
    if (isNotCreated && error.code == EEXIST)  // no path was refused, the set has it twice
        vela::LogError("%s %s", error.file.c_str(), error.text.c_str());
    else if (isNotCreated && what == Saved::Data)
        vela::LogError("unable to open %s", error.file.c_str());
    else
        vela::LogError("failed to write %s: %s", error.file.c_str(), error.text.c_str());
}

bool Finish(FileWriter& set, Error error, Saved what)
{
    if (!error)
        error = set.Commit();
    for (const Error& warning : set.Warnings())
        vela::LogWarning("%s %s", warning.file.c_str(), warning.text.c_str());
    if (error)
        LogFailure(error, what);
    return !error;
}

}  // namespace vlio
