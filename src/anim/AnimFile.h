#pragma once

#include <io/BlockReader.h>
#include <vlgim/Error.h>
#include <vlgim/vlAnimData.h>
#include <vlio2/FileWriter.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// The parts of an animation file, and its side files.
namespace vela::vlgim::anim {

/// Reads a whole file of `fileSize` bytes into an animation that has its m_path alone. With side files their clips are
/// read too; else these have their base info only. After an error it is half read, but for m_version: that has no branch
/// number once the header is accepted.
Error ReadFile(io::BlockReader& in, std::size_t fileSize, vlAnimData& anim, bool withSideFiles);

/// Gives each clip channels of its own where several show the same ones: conversion and writing change them, for each
/// clip in its own way.
void SeparateChannels(vlAnimData& anim);

/// Writes the file, but not its side files, of an animation that WhyUnwritable has nothing against.
void WriteFile(vlio::Sink& sink, vlAnimData& anim);

/// Whether the clips of an animation have side files. Below version 6.1 no record names them.
bool HasSideFiles(const vlAnimData& anim);

/// Where the document beside the animation lies.
std::string AgsPath(const char* path);

/// Gives the folder of the side files of the animation at `path`. An error for a path without a dot.
Error FindSideFolder(const std::string& path, std::string& folder);

/// Gives the path of a clip's side file. An error of this kind if the clip's name has a component "..", by either
/// slash, and so leads out of the folder.
Error FindSideFile(const std::string& folder, const vlClipData& clip, ErrorKind kind, std::string& path);

/// Names of clips, to find those that are named alike, and so have one side file.
class ClipNames {
public:
    /// The number of the first clip of this name: `number`, if there was none before.
    std::size_t Add(const vlClipData& clip, std::size_t number)
    {
        return m_first.emplace(clip.m_name.View(), number).first->second;
    }

private:
    std::map<std::string, std::size_t, std::less<>> m_first;
};

/// Gives the paths of the side files, clip by clip; none for an animation that has its clips itself. An error where a
/// clip can't have a side file of its own.
Error FindSideFiles(const vlAnimData& anim, std::vector<std::string>& paths);

/// Adds the file and its side files to a set, for the caller to commit: first to open, the .gis is renamed last. After an
/// error the caller drops the set.
Error AddTo(vlio::FileWriter& set, vlAnimData& anim, const char* path, std::vector<Error>* warnings);

/// Logs why an animation was not read, or what is wrong with one that was, in the documented words. Returns whether it
/// was read.
bool LogRead(const Error& error, const vlAnimData& anim, const std::vector<Error>& warnings);

/// Logs why an animation was not saved; returns the documented result.
int LogSave(const Error& error);

}  // namespace vela::vlgim::anim
