#pragma once

#include <vlgim/Error.h>

#include <string>

// Failures of files as values, and the log messages that the documented operations make of them.
namespace vlio {

class FileWriter;

/// Makes an error without block and offset.
vela::vlgim::Error Failure(vela::vlgim::ErrorKind kind, int code, const char* file, std::string text);

/// The message for a file that could not be created.
enum class Saved {
    Data,      ///< "unable to open %s"
    Document,  ///< "failed to write %s: %s", as for any other failure
};

/// Logs why a file could not be created or written.
void LogFailure(const vela::vlgim::Error& error, Saved what = Saved::Data);

/// Ends a save: commits the set unless there is an error, and logs the warnings of the set and the error. Returns true
/// if all files are in place.
bool Finish(FileWriter& set, vela::vlgim::Error error, Saved what = Saved::Data);

}  // namespace vlio
