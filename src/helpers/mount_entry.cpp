// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logError;

namespace {

enum Field { Source, MountPoint, Type, Options, Dump, Pass, FieldCount };

bool validSource(const std::string &source)
{
    return source.starts_with('/') || source == "tmpfs" || source == "none";
}

bool validType(const std::string &type)
{
    return type == "none" || type == "tmpfs" || type == "devpts";
}

bool reject(const std::string &reason, const std::string &entry)
{
    logError(lConfigParser) << reason << " in mount entry: " << entry;
    return false;
}

} // namespace

// The texts are part of the interface as they stand: too many parts count as not enough, and "devpts" is accepted
// without being offered.
bool validMountEntry(const std::string &entry)
{
    const auto fields = split(entry, ' ');
    if (fields.size() != FieldCount)
        return reject("Not enough parts", entry);
    if (!validSource(fields[Source])) {
        logError(lConfigParser) << "Mount entry must begin with '/' or be 'tmpfs' or 'none': " << entry;
        return false;
    }
    if (!validType(fields[Type]))
        return reject("File system type must be 'none' or 'tmpfs' instead of '" + fields[Type] + "'", entry);
    if (fields[Dump] != "0")
        return reject("Dump value must be '0' instead of '" + fields[Dump] + "'", entry);
    if (fields[Pass] != "0")
        return reject("Backup value must be '0' instead of '" + fields[Pass] + "'", entry);
    return true;
}

} // namespace Tovrin::Parser::Helpers
