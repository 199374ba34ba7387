#pragma once

#include "BlockWriter.h"

#include <corecommon/Log.h>
#include <vlgim/Error.h>
#include <vlio2/Failures.h>
#include <vlio2/FileWriter.h>

#include <cstdio>
#include <vector>

// The documented operations log an Error with the messages that callers know.
namespace vela::vlgim::io {

/// Appends to a list, which may be null.
inline void Append(std::vector<Error>* list, const std::vector<Error>& more)
{
    if (list)
        list->insert(list->end(), more.begin(), more.end());
}

/// Writes a set of files, as a whole or not at all (see vlio::FileWriter). add(set) opens and writes them, or returns an
/// error that ends the save.
template <class Add>
Error SaveSet(std::vector<Error>* warnings, Add add)
{
    vlio::FileWriter set;
    Error error = add(set);
    if (!error)
        error = set.Commit();
    Append(warnings, set.Warnings());
    return error;
}

/// Does what the documented stream forms do: calls write(out), or logs the error `why` behind the message if the object
/// can't be written. Failures of the stream are left to its owner.
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
