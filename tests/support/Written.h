#pragma once

#include <cstdio>
#include <vector>

namespace vela::vlgim::test {

/// What write(stream) leaves in an empty file.
template <class Write>
std::vector<unsigned char> Written(Write write)
{
    std::FILE* stream = std::tmpfile();
    write(stream);
    std::fseek(stream, 0, SEEK_END);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::ftell(stream)));
    std::rewind(stream);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
    std::fclose(stream);
    return bytes;
}

}  // namespace vela::vlgim::test
