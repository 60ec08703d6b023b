// SPDX-License-Identifier: Apache-2.0
#pragma once

// What both limits stand on: a file in pieces of 64 KiB, cut at line ends, and the few scanning verbs of the format.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

namespace Bench {

inline const char *findChar(const char *text, const char *end, char wanted)
{
    const void *found = std::memchr(text, wanted, static_cast<std::size_t>(end - text));
    return found ? static_cast<const char *>(found) : end;
}

inline constexpr auto NameCharacters = [] {
    std::array<bool, 256> allowed{};
    for (const char c : std::string_view(" -.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz"))
        allowed[static_cast<unsigned char>(c)] = true;
    return allowed;
}();

inline bool isNameCharacter(char c)
{
    return NameCharacters[static_cast<unsigned char>(c)];
}

inline std::string_view trimmed(std::string_view text)
{
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

// Calls parse(begin, end) with whole lines, and keeps what follows the last newline for the next piece. False if the
// file cannot be read, parse() refuses, or the last line has no newline.
template <typename Parse> bool readPieces(const char *path, std::vector<char> &buffer, Parse parse)
{
    constexpr std::size_t PieceSize = 65536;
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    std::size_t kept = 0;
    ssize_t count = 0;
    for (bool good = true; good;) {
        if (buffer.size() < kept + PieceSize)
            buffer.resize(kept + PieceSize + kept / 2);
        count = ::read(fd, buffer.data() + kept, PieceSize);
        if (count <= 0)
            break;
        char *const text = buffer.data(), *const end = text + kept + count;
        const void *newline = ::memrchr(text + kept, '\n', static_cast<std::size_t>(count));
        const char *lines = newline ? static_cast<const char *>(newline) + 1 : text;
        good = parse(text, lines);
        kept = static_cast<std::size_t>(end - lines);
        std::memmove(text, lines, good ? kept : 0);
        count = good ? count : -1;
    }
    ::close(fd);
    return count == 0 && kept == 0;
}

} // namespace Bench
