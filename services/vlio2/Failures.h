#pragma once

#include <vlgim/Error.h>

#include <string>
#include <vector>

// Failures of files as values, and the log messages that the documented operations make of them.
namespace vlio {

/// Makes an error without block and offset.
/// text  empty: what the system says about `code`, an errno value
vela::vlgim::Error Failure(vela::vlgim::ErrorKind kind, int code, const char* file, std::string text = {});

/// Returns place and text only, for messages that name the file themselves.
std::string WithoutFile(vela::vlgim::Error error);

/// Logs why a file was not saved. Returns whether there was an error.
/// what  the kind of file, as in "mesh file"; null for a document, whose failures have one message
bool LogFailure(const vela::vlgim::Error& error, const char* what);

/// Logs the warnings of a save: files that were written in place, and warnings of a file of the kind `what`, which is
/// null for those that name no file. Log them before a failure of the same save.
void LogWarnings(const std::vector<vela::vlgim::Error>& warnings, const char* what);

}  // namespace vlio
