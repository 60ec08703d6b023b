// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include "logging/logger_config_private.h"
#include "logging/registry.h"

#include <cassert>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Tovrin::Parser::Logging {

namespace {

bool identIsValid(const std::string &ident)
{
    static const std::string allowed = "-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    static const std::string required = ".";
    return Helpers::validateString(ident, allowed, required);
}

} // namespace

FileDescriptor::~FileDescriptor()
{
    if (isOpen())
        ::close(descriptor_);
}

FileDescriptor FileDescriptor::open(const std::string &path)
{
    // O_APPEND, because several configurations, or processes, may have the same file. O_NOCTTY, because a terminal that
    // a daemon logs to must not become the one that controls it.
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY;
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return FileDescriptor(descriptor);
}

bool FileDescriptor::write(std::string_view text) const
{
    while (!text.empty()) {
        const auto written = ::write(descriptor_, text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return false;
    }
    return true;
}

void LoggerConfigPrivate::setTarget(LoggerConfig::Target target, FileDescriptor file)
{
    const std::lock_guard lock(mutex_);
    file_ = std::move(file);
    fileFailed_ = false;
    generation_.fetch_add(1, std::memory_order_relaxed);
    target_.store(target, std::memory_order_release); // last: whoever sees this target sees its generation
}

void LoggerConfigPrivate::writeToFile(std::uint32_t generation, std::string_view line)
{
    const std::lock_guard lock(mutex_);
    if (file_.isOpen() && !fileFailed_ && generation == this->generation())
        fileFailed_ = !file_.write(line);
}

LoggerConfig::LoggerConfig(Ident ident, Level level) : d_(std::make_shared<LoggerConfigPrivate>(ident, level))
{
}

LoggerConfig::~LoggerConfig()
{
    d_->setTarget(d_->target(), {}); // closes the file, although records that were begun for it may still hold d_
}

std::shared_ptr<LoggerConfig> LoggerConfig::create(Ident ident, Level level)
{
    const std::string identity(ident); // throws for a null pointer
    assert(identIsValid(ident));
    // Found and added under two separate locks, on purpose: the warning in between is written without any.
    auto found = instance(ident);
    if (!found)
        return Registry::global().add(ident, level);
    logWarning(found) << "Reusing logger for identity: " << identity;
    found->setLevel(level);
    return found;
}

std::shared_ptr<LoggerConfig> LoggerConfig::instance(Ident ident)
{
    return Registry::global().find(ident);
}

LoggerConfig::Ident LoggerConfig::ident() const
{
    return d_->ident().c_str();
}

bool LoggerConfig::enabled(Level level) const
{
    return d_->enabled(level);
}

LoggerConfig::Target LoggerConfig::target() const
{
    return d_->target();
}

bool LoggerConfig::setLevel(Level level)
{
    d_->setLevel(level);
    return true;
}

std::shared_ptr<LoggerConfig> lConfigParser =
    LoggerConfig::create("com.quenby.tovrin.lib.ConfigParser", LoggerConfig::LogWarning);

} // namespace Tovrin::Parser::Logging
