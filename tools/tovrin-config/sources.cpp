// SPDX-License-Identifier: Apache-2.0
#include "sources.h"

#include "text_scan.h"

#include <tovrin/parser/helpers.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tovrin::Tool {

namespace {

namespace fs = std::filesystem;

// Far beyond any configuration; a sparse file of some terabytes must not take the machine's memory.
constexpr std::size_t LargestFile = 64UL * 1024 * 1024;
constexpr const char *TooLong = "longer than 64 MiB";

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor()
    {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return descriptor_; }

private:
    int descriptor_;
};

// A text of unknown length, read piece by piece.
class GrowingText {
public:
    explicit GrowingText(std::size_t expected) : capacity_(expected + 1), buffer_(newBuffer(capacity_)) {}

    // Reads to the end of the file; returns why that failed, "" if it did not.
    std::string readAll(int descriptor)
    {
        for (;;) {
            if (size_ == capacity_)
                grow();
            const auto count = read(descriptor, buffer_.get() + size_, capacity_ - size_);
            if (count == 0)
                return "";
            if (count > 0)
                size_ += static_cast<std::size_t>(count);
            else if (errno != EINTR)
                return std::strerror(errno);
            if (size_ > LargestFile)
                return TooLong;
        }
    }

    void moveInto(SourceFile &file)
    {
        file.buffer = std::move(buffer_);
        file.text = {file.buffer.get(), size_};
    }

private:
    static std::unique_ptr<char[]> newBuffer(std::size_t size) { return std::make_unique_for_overwrite<char[]>(size); }

    void grow()
    {
        constexpr std::size_t Step = 4096; // files of the kernel have the size 0
        auto larger = newBuffer(capacity_ * 2 + Step);
        std::memcpy(larger.get(), buffer_.get(), size_);
        buffer_ = std::move(larger);
        capacity_ = capacity_ * 2 + Step;
    }

    std::size_t capacity_;
    std::unique_ptr<char[]> buffer_;
    std::size_t size_ = 0;
};

void fail(SourceFile &file, SourceFile::State state, const std::string &reason)
{
    file.state = state;
    file.reason = reason;
}

void noteStatus(SourceFile &file, const struct stat &status)
{
    file.device = status.st_dev;
    file.inode = status.st_ino;
    file.mode = status.st_mode & 07777;
    file.owner = status.st_uid;
    file.owningGroup = status.st_gid;
}

// Looks before opening: to open a device may do something.
bool isFile(SourceFile &file)
{
    struct stat status;
    if (stat(file.path.c_str(), &status) != 0) {
        fail(file, SourceFile::State::NotFound, std::strerror(errno));
        return false;
    }
    noteStatus(file, status);
    if (S_ISREG(status.st_mode))
        return true;
    fail(file, SourceFile::State::NotAFile, "not a regular file");
    return false;
}

void readText(SourceFile &file)
{
    // Not blocking, should a pipe have taken the place of the file, and for files of the kernel that wait for news.
    const Descriptor descriptor(open(file.path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (descriptor.get() < 0 || fstat(descriptor.get(), &status) != 0)
        return fail(file, SourceFile::State::NotReadable, std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        return fail(file, SourceFile::State::NotAFile, "not a regular file");
    noteStatus(file, status);
    if (status.st_size > static_cast<off_t>(LargestFile))
        return fail(file, SourceFile::State::NotReadable, TooLong);
    GrowingText text(static_cast<std::size_t>(status.st_size));
    if (const auto reason = text.readAll(descriptor.get()); !reason.empty())
        return fail(file, SourceFile::State::NotReadable, reason);
    text.moveInto(file);
}

// Takes the text of a file for what KeyFileCursor takes it.
class LineSorter {
public:
    explicit LineSorter(SourceFile &file) : file_(file) {}

    void run()
    {
        constexpr std::ptrdiff_t Usual = 64; // lines; a file of others grows as it goes
        const auto lines = std::count(file_.text.begin(), file_.text.end(), '\n') + 1;
        file_.assignments.reserve(static_cast<std::size_t>(std::min(lines, Usual)));
        for (auto rest = file_.text; !rest.empty(); ++line_)
            sort(Parser::takeUntil(rest, '\n'));
        file_.endsWithNewline = file_.text.empty() || file_.text.back() == '\n';
    }

private:
    void sort(std::string_view text)
    {
        switch (text.empty() ? Parser::LineKind::Skipped : Parser::kindOfLine(static_cast<unsigned char>(text[0]))) {
        case Parser::LineKind::End:
        case Parser::LineKind::Skipped:
            break;
        case Parser::LineKind::Group:
            addHeader(text);
            break;
        case Parser::LineKind::Key:
            addAssignment(text);
            break;
        case Parser::LineKind::Other:
            addBadLine(Parser::LineProblem::Unexpected, text);
            break;
        }
    }

    void addHeader(std::string_view text)
    {
        const auto parsed = Parser::parseGroupLine(text);
        if (parsed.problem != Parser::LineProblem::None)
            return addBadLine(parsed.problem, text);
        group_ = parsed.name;
        headerLine_ = line_;
        file_.headers.push_back({parsed.name, line_});
    }

    void addAssignment(std::string_view text)
    {
        const auto parsed = Parser::parseKeyLine(text);
        if (parsed.problem != Parser::LineProblem::None)
            return addBadLine(parsed.problem, text);
        auto &list = file_.badLines.empty() ? file_.assignments : file_.notApplied;
        list.push_back({group_, parsed.key, parsed.value, line_, headerLine_});
    }

    void addBadLine(Parser::LineProblem problem, std::string_view text)
    {
        file_.badLines.push_back({problem, text, line_});
    }

    SourceFile &file_;
    std::string_view group_;
    std::uint32_t headerLine_ = 0;
    std::uint32_t line_ = 1;
};

// Whether glob2() takes the name for a pattern.
bool isPattern(std::string_view name)
{
    const auto bracket = name.find('[');
    return name.find_first_of("*?\\") != std::string_view::npos ||
           (bracket != std::string_view::npos && name.find(']', bracket) != std::string_view::npos);
}

// The pattern that matches the name alone.
std::string patternOf(std::string_view name)
{
    std::string pattern;
    for (const char c : name) {
        if (std::string_view("*?[\\").find(c) != std::string_view::npos)
            pattern += '\\';
        pattern += c;
    }
    return pattern;
}

std::vector<std::string> filesOf(const std::string &directory)
{
    auto files = Parser::Helpers::glob2(directory + (directory.ends_with('/') ? "" : "/") + "*.conf");
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

SourceFile readSourceFile(const std::string &path)
{
    SourceFile file;
    file.path = path;
    if (isFile(file))
        readText(file);
    LineSorter(file).run();
    return file;
}

Sources readSources(const std::vector<std::string> &paths, Naming naming)
{
    Sources sources;
    for (const auto &path : paths) {
        SourcePath named;
        named.path = path;
        named.firstFile = sources.files.size();
        std::error_code error;
        named.isDirectory = fs::is_directory(path, error);
        if (!named.isDirectory)
            sources.files.push_back(readSourceFile(path));
        else if (fs::directory_iterator(path, error); error)
            named.reason = error.message();
        else
            for (const auto &file : filesOf(naming == Naming::Exact ? patternOf(path) : path))
                sources.files.push_back(readSourceFile(file));
        named.isPattern = named.isDirectory && isPattern(path);
        named.fileCount = sources.files.size() - named.firstFile;
        sources.paths.push_back(std::move(named));
    }
    return sources;
}

} // namespace Tovrin::Tool
