// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "text_scan.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace Tovrin::Parser {

// The first rule that a mount entry breaks, as the record of Helpers::validMountEntry() says it in front of the entry;
// "" if it breaks none. The texts are part of the interface as they stand: too many parts count as not enough, and
// "devpts" is accepted without being offered.
inline std::string mountEntryProblem(std::string_view entry)
{
    enum Field { Source, MountPoint, Type, Options, Dump, Pass, FieldCount };
    std::array<std::string_view, FieldCount> fields;
    std::size_t count = 0;
    for (auto rest = entry; !rest.empty(); ++count) {
        const auto field = takeUntil(rest, ' ');
        if (count < FieldCount)
            fields[count] = field;
    }
    const auto insteadOf = [&fields](const char *rule, Field field) {
        return rule + std::string(" instead of '").append(fields[field]) + "' in mount entry: ";
    };

    if (count != FieldCount)
        return "Not enough parts in mount entry: ";
    if (!fields[Source].starts_with('/') && fields[Source] != "tmpfs" && fields[Source] != "none")
        return "Mount entry must begin with '/' or be 'tmpfs' or 'none': ";
    if (fields[Type] != "none" && fields[Type] != "tmpfs" && fields[Type] != "devpts")
        return insteadOf("File system type must be 'none' or 'tmpfs'", Type);
    if (fields[Dump] != "0")
        return insteadOf("Dump value must be '0'", Dump);
    if (fields[Pass] != "0")
        return insteadOf("Backup value must be '0'", Pass);
    return "";
}

} // namespace Tovrin::Parser
