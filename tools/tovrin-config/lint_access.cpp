// SPDX-License-Identifier: Apache-2.0
#include "lint_access.h"

#include "checks.h"

#include <tovrin/parser/helpers.h>

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

namespace Tovrin::Tool {

namespace {

bool othersMayWrite(mode_t mode, uid_t owner, gid_t group)
{
    const bool groupIsOthers = group != 0 && group != owner;
    return (mode & S_IWOTH) != 0 || ((mode & S_IWGRP) != 0 && groupIsOthers);
}

// A user whose commands neither root nor who asks should run.
bool isForeign(uid_t owner)
{
    return owner != 0 && owner != geteuid();
}

WriteAccess::Directory accessOf(const std::string &path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return {path, false, false, false};
    const bool addable = othersMayWrite(status.st_mode, status.st_uid, status.st_gid);
    const bool isSticky = (status.st_mode & S_ISVTX) != 0; // one may remove only what one owns
    return {path, addable, addable && !isSticky, isForeign(status.st_uid)};
}

} // namespace

WriteAccess::WriteAccess(const Sources &sources) : decided_(sources.files.size())
{
    for (const auto &path : sources.paths) {
        const auto number = directoryNumber(path.isDirectory ? path.path : Parser::Helpers::dirpath(path.path));
        for (std::size_t i = 0; i < path.fileCount; ++i) {
            const auto file = path.firstFile + i;
            decided_[file] = directories_[number].replaceable || directories_[number].isForeign ||
                             othersMayWrite(sources.files[file]) || isForeign(sources.files[file].owner);
        }
    }
}

bool WriteAccess::othersMayWrite(const SourceFile &file)
{
    return Tool::othersMayWrite(file.mode, file.owner, file.owningGroup);
}

std::size_t WriteAccess::directoryNumber(const std::string &path)
{
    // From the back: the files named by a pattern of the shell are in one directory.
    const auto found = std::find_if(directories_.rbegin(), directories_.rend(),
                                    [&path](const Directory &known) { return known.path == path; });
    if (found != directories_.rend())
        return static_cast<std::size_t>(directories_.rend() - found) - 1;
    directories_.push_back(accessOf(path));
    return directories_.size() - 1;
}

void lintAccess(const CheckContext &context, Findings &findings)
{
    for (const auto &directory : context.access.directories()) {
        if (directory.addable)
            findings.add(FindingId::WritableDirectory, directory.path,
                         std::string("others may put files into this directory") +
                             (directory.replaceable ? ", and replace those that are there" : ""));
    }
    for (const auto &file : context.sources.files) {
        if (file.state == SourceFile::State::Read && WriteAccess::othersMayWrite(file))
            findings.add(FindingId::WritableFile, file.path, "others may write this file");
    }
}

} // namespace Tovrin::Tool
