#pragma once

#include "BlockWriter.h"

#include <corecommon/Log.h>
#include <vlgim/Error.h>
#include <vlio2/Failures.h>
#include <vlio2/FileWriter.h>

#include <cstdio>
#include <vector>

// What the documented operations do with an Error: they log it, in the words that callers know.
namespace vela::vlgim::io {

/// Appends to a list that may be null.
inline void Append(std::vector<Error>* list, const std::vector<Error>& more)
{
    if (list)
        list->insert(list->end(), more.begin(), more.end());
}

/// Writes one file, whole or not at all: write(sink) puts out its bytes, or gives an error that ends the save.
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

/// What the documented stream forms do: write(out) puts out an object, unless `why` says that it can't be written, which is
/// logged behind the message. Failures of the stream are left to its owner.
template <class Write>
void WriteStream(std::FILE* stream, const char* message, const Error& why, Write write)
{
    if (why) {
        LogError("%s: %s", message, why.Message().c_str());
        return;
    }
    vlio::StreamSink sink(stream);
    BlockWriter out(sink);
    write(out);
}

}  // namespace vela::vlgim::io
