// SPDX-License-Identifier: Apache-2.0
#pragma once

// Locks and threads of a configuration:
//
// - level, target and generation are atomic. Whoever begins a record or asks enabled() or target() never waits, even
//   while another thread opens a file or a full disk holds up a write.
// - mutex_ guards the file and its failed flag. It is held to change the target, so that target and file always belong
//   together, and for the one write of a record: a file is never closed under a write, and what the kernel takes in
//   several pieces still comes out as one line. Nothing is opened and nothing is logged while it is held.
// - The registry's lock is taken before mutex_, never after it.
//
// A plain mutex is enough: writes to one file wait for each other in the kernel anyway, and readers of a shared one
// could keep a setter out for as long as they log.

#include <tovrin/parser/logging.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace Tovrin::Parser::Logging {

// Owns the descriptor of a log file, or nothing.
class FileDescriptor {
public:
    FileDescriptor() = default;
    FileDescriptor(FileDescriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor &operator=(FileDescriptor other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor();

    // The file for writing at its end, created or truncated; a closed one if that fails.
    static FileDescriptor open(const std::string &path);

    bool isOpen() const { return descriptor_ >= 0; }

    // Writes the whole text, in one call unless the kernel takes less. False if some of it could not be written.
    bool write(std::string_view text) const;

private:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}

    int descriptor_ = -1;
};

// All state of a LoggerConfig. Records for a file share it, because they may outlive the configuration.
class LoggerConfigPrivate {
public:
    LoggerConfigPrivate(LoggerConfig::Ident ident, LoggerConfig::Level level) : ident_(ident), level_(level) {}

    const std::string &ident() const { return ident_; }

    bool enabled(LoggerConfig::Level level) const { return level_.load(std::memory_order_relaxed) >= level; }
    void setLevel(LoggerConfig::Level level) { level_.store(level, std::memory_order_relaxed); }

    LoggerConfig::Target target() const { return target_.load(std::memory_order_acquire); }

    // Counts the changes of the target. A record that was begun in an earlier generation than it ends in is not
    // written: its file is closed, and the one that is open now is not the one it was meant for.
    std::uint32_t generation() const { return generation_.load(std::memory_order_relaxed); }

    // The former file is closed before this returns.
    void setTarget(LoggerConfig::Target target, FileDescriptor file);

    // Writes the line to the file of that generation. The first failure silences the file for good, as it does a
    // stream.
    void writeToFile(std::uint32_t generation, std::string_view line);

private:
    const std::string ident_;
    std::atomic<LoggerConfig::Level> level_;
    std::atomic<LoggerConfig::Target> target_{LoggerConfig::Systemd};
    std::atomic<std::uint32_t> generation_{0};
    std::mutex mutex_;
    FileDescriptor file_;
    bool fileFailed_ = false;
};

} // namespace Tovrin::Parser::Logging
