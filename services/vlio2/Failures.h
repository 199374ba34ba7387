#pragma once

#include <vlgim/Error.h>

#include <string>

// Failures of files as values, and the messages that the documented operations make of them.
namespace vlio {

class FileWriter;

vela::vlgim::Error Failure(vela::vlgim::ErrorKind kind, int code, const char* file, std::string text);

/// How a message says that a file could not be created.
enum class Saved {
    Data,      ///< "unable to open %s"
    Document,  ///< "failed to write %s: %s", as any other failure
};

/// Logs why a file could not be created or written.
void LogFailure(const vela::vlgim::Error& error, Saved what = Saved::Data);

/// Ends a save: commits the set, unless an error kept it from being whole, and logs its warnings and what went wrong.
/// True: all files are in place.
bool Finish(FileWriter& set, vela::vlgim::Error error, Saved what = Saved::Data);

}  // namespace vlio
