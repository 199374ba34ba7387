#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

// What a read or a write can't be faster than, to be timed beside it.
namespace vela::vlgim::bench {

inline std::string ScratchFile(const char* name)
{
    return std::filesystem::temp_directory_path() / name;
}

/// Copies the bytes into memory that is fresh from the system.
template <class Bytes>
void CopyFresh(const Bytes& bytes)
{
    void* memory = std::malloc(bytes.size());
    std::memcpy(memory, bytes.data(), bytes.size());
    benchmark::DoNotOptimize(memory);
    std::free(memory);
}

/// One fwrite of the bytes to a new file.
template <class Bytes>
void WriteOnce(const std::string& path, const Bytes& bytes)
{
    std::filesystem::remove(path);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fclose(file) != 0)
        std::abort();
}

}  // namespace vela::vlgim::bench
