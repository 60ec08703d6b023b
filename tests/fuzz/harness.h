// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the fuzz targets share: how an input is taken apart, files that need no disk, and expectations that stop the
// process when they fail, which is what a fuzzer notices.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Tovrin::Fuzz {

// Stands between the texts of an input that consists of several.
inline constexpr char FieldEnd = '\x1f';

// Takes an input apart from its front. Behind its end every choice is 0 and every text empty.
class Input {
public:
    Input(const std::uint8_t *data, std::size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

    bool empty() const { return rest_.empty(); }

    std::uint8_t byte()
    {
        if (rest_.empty())
            return 0;
        const auto first = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }

    // One byte's worth of a choice: below `count`.
    unsigned choice(unsigned count) { return byte() % count; }

    // The text up to the next FieldEnd, which is taken too.
    std::string field()
    {
        const auto end = rest_.find(FieldEnd);
        std::string text(rest_.substr(0, end));
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return text;
    }

    std::string rest()
    {
        std::string text(rest_);
        rest_ = {};
        return text;
    }

private:
    std::string_view rest_;
};

// The text with each byte 1 made a long run of "x", for the first few of them: buffers of tens of kilobytes have ends
// that a short input must reach too.
inline std::string expanded(std::string_view text)
{
    constexpr std::size_t RunLength = 20'011;
    int runsLeft = 8;
    std::string out;
    for (const char c : text) {
        if (c == '\x01' && runsLeft-- > 0)
            out.append(RunLength, 'x');
        else
            out += c;
    }
    return out;
}

inline std::string terminated(std::string text)
{
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    return text;
}

// A file in memory, under a path that is the same in every run. Texts are written from the start, again and again.
class MemoryFile {
public:
    explicit MemoryFile(int descriptor) : descriptor_(descriptor), path_("/proc/self/fd/" + std::to_string(descriptor))
    {
        const int created = memfd_create("fuzz", MFD_CLOEXEC);
        if (created < 0 || dup2(created, descriptor) < 0)
            throw std::runtime_error("no file in memory");
        close(created);
    }

    const std::string &path() const { return path_; }

    void write(std::string_view text) const
    {
        if (ftruncate(descriptor_, 0) != 0)
            throw std::runtime_error("cannot empty the file");
        for (std::size_t done = 0; done < text.size();) {
            const auto count = pwrite(descriptor_, text.data() + done, text.size() - done, static_cast<off_t>(done));
            if (count <= 0)
                throw std::runtime_error("cannot write the file");
            done += static_cast<std::size_t>(count);
        }
    }

    std::string read() const
    {
        std::string text(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
        const auto count = pread(descriptor_, text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(count));
        return text;
    }

private:
    int descriptor_;
    std::string path_;
};

inline constexpr int FirstDescriptor = 900; // of the files in memory, below the usual limit

// ---- Expectations ---------------------------------------------------------------------------------------------------

template <typename A, typename B> std::string describe(const std::pair<A, B> &pair);
template <typename T> std::string describe(const std::optional<T> &value);
template <typename T> std::string describe(const std::vector<T> &list);
template <typename K, typename T> std::string describe(const std::map<K, T> &map);

inline std::string describe(const std::string &text)
{
    constexpr std::size_t Shown = 400;
    std::string out = "\"";
    char escape[5];
    for (const char c : text.substr(0, Shown)) {
        std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(c));
        out += c >= ' ' && c <= '~' && c != '"' && c != '\\' ? std::string(1, c) : escape;
    }
    return out + (text.size() > Shown ? "... of " + std::to_string(text.size()) + '"' : "\"");
}

template <typename T>
requires std::is_arithmetic_v<T> || std::is_enum_v<T> std::string describe(T value)
{
    std::ostringstream stream;
    stream.precision(17);
    if constexpr (std::is_enum_v<T>)
        stream << static_cast<long long>(value);
    else
        stream << +value;
    return stream.str();
}

template <typename List> std::string describeAll(const List &list)
{
    std::string out = "{";
    for (const auto &value : list)
        out += (out.size() > 1 ? ", " : "") + describe(value);
    return out + "}";
}

template <typename A, typename B> std::string describe(const std::pair<A, B> &pair)
{
    return "(" + describe(pair.first) + ", " + describe(pair.second) + ")";
}

template <typename T> std::string describe(const std::optional<T> &value)
{
    return value ? describe(*value) : "nothing";
}

inline std::string describe(const std::vector<bool> &list)
{
    std::string out;
    for (const bool value : list)
        out += value ? '1' : '0';
    return out;
}

template <typename T> std::string describe(const std::vector<T> &list)
{
    return describeAll(list);
}

template <typename K, typename T> std::string describe(const std::map<K, T> &map)
{
    return describeAll(map);
}

[[noreturn]] inline void fail(const std::string &what)
{
    std::fprintf(stderr, "\nExpectation failed: %s\n", what.c_str());
    std::abort();
}

inline void expect(bool holds, const std::string &what)
{
    if (!holds)
        fail(what);
}

template <typename T> void expectEqual(const char *what, const T &actual, const T &expected)
{
    if (!(actual == expected))
        fail(std::string(what) + "\n   library: " + describe(actual) + "\n reference: " + describe(expected));
}

} // namespace Tovrin::Fuzz
