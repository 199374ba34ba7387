#pragma once

#include <vlgim/Error.h>

#include <string>
#include <vector>

// Failures of files as values, and the messages that the documented operations make of them.
namespace vlio {

vela::vlgim::Error Failure(vela::vlgim::ErrorKind kind, int code, const char* file, std::string text);

/// Place and text alone: for messages that name the file themselves.
std::string WithoutFile(vela::vlgim::Error error);

/// Logs why a file was not saved. Returns whether there was an error.
/// what  the kind of file, as in "mesh file"; null for a document, whose failures have one message
bool LogFailure(const vela::vlgim::Error& error, const char* what);

/// Logs what a save that went well has to say of files of the kind `what`.
void LogWarnings(const std::vector<vela::vlgim::Error>& warnings, const char* what);

}  // namespace vlio
