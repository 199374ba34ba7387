#pragma once

#include <vlgim/Error.h>
#include <vlio2/FileWriter.h>

#include <vector>

// The documented operations log an Error with the messages that callers know.
namespace vela::vlgim::io {

/// Appends to a list, which may be null.
inline void Append(std::vector<Error>* list, const std::vector<Error>& more)
{
    if (list)
        list->insert(list->end(), more.begin(), more.end());
}

/// Writes one file, as a whole or not at all (see vlio::FileWriter). write(sink) writes its bytes, or returns an error
/// that ends the save.
template <class Write>
Error SaveFile(const char* path, std::vector<Error>* warnings, Write write)
{
    vlio::FileWriter file;
    vlio::Sink* sink = nullptr;
    Error error = file.Open(path, sink);
    if (!error)
        error = write(*sink);
    if (!error)
        error = file.Commit();
    Append(warnings, file.Warnings());
    return error;
}

/// Logs why a file was not saved. Returns true if there was an error.
/// what  kind of the file, such as "mesh file"; null for a document, whose failures all have the same message
bool LogFailure(const Error& error, const char* what);

/// Logs the warnings of a save: files that were written in place, and warnings of a file of the kind `what`.
void LogWarnings(const std::vector<Error>& warnings, const char* what);

/// Returns place and text only, for messages that name the file themselves.
std::string WithoutFile(Error error);

}  // namespace vela::vlgim::io
