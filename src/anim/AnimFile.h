#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlAnimData.h>
#include <vlio2/FileWriter.h>

#include <functional>
#include <string>
#include <vector>

// The parts of an animation file, and its side files.
namespace vela::vlgim::anim {

/// Asks what a file begins with, in place of what a load would read: sets m_version, and gives an error where it is not
/// read here. From then on m_version has no branch number.
Error ReadHeader(const unsigned char* data, std::size_t length, vlAnimData& anim);

/// Everything from the header up to the clips, of which there are as many as they are counted, all null.
void ReadHead(io::BlockReader& in, vlAnimData& anim);

/// The clips of a file that has them itself.
void ReadClips(io::BlockReader& in, vlAnimData& anim);

/// The base info of all clips of a file that has them in side files.
void ReadBaseInfo(io::BlockReader& in, vlAnimData& anim);

/// Gives the sink of a clip's side file, for the path that it would have. The sink stays the callable's own, and is
/// written to up to the next call.
using ClipOpener = std::function<Error(const std::string& path, vlio::Sink*& sink)>;

/// Writes the file, and with m_async its side files, of an animation that WhyUnwritable has nothing against.
Error WriteFile(vlio::Sink& sink, vlAnimData& anim, const ClipOpener& openClip);

/// Everything of the file that is no clip's own: the base info of clips in side files included.
void WriteHead(io::BlockWriter& out, const vlAnimData& anim);

/// Adds the file and its side files to a set, for the caller to commit: first to open, the .gis is renamed last. After an
/// error the caller drops the set.
Error AddTo(vlio::FileWriter& set, vlAnimData& anim, const char* path, std::vector<Error>* warnings);

/// Logs why an animation was not read, or what is wrong with one that was, in the documented words. Returns whether it
/// was read.
bool LogRead(const Error& error, const vlAnimData& anim, const std::vector<Error>& warnings);

/// Logs why an animation was not saved; returns the documented result.
int LogSave(const Error& error);

}  // namespace vela::vlgim::anim
