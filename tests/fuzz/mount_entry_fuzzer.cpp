// SPDX-License-Identifier: Apache-2.0

// Mount entries: the first rule that is broken decides.
//
// Input: the entry.

#include "harness.h"
#include "reference.h"
#include "stand_ins.h"

#include <tovrin/parser/helpers.h>

namespace {

using namespace Tovrin::Fuzz;

// The complaint about the entry, "" for a good one.
std::string complaint(const std::string &entry)
{
    const auto fields = Reference::split(entry, ' ');
    if (fields.size() != 6)
        return "Not enough parts in mount entry: " + entry;
    if (fields[0].rfind('/', 0) != 0 && fields[0] != "tmpfs" && fields[0] != "none")
        return "Mount entry must begin with '/' or be 'tmpfs' or 'none': " + entry;
    if (fields[2] != "none" && fields[2] != "tmpfs" && fields[2] != "devpts")
        return "File system type must be 'none' or 'tmpfs' instead of '" + fields[2] + "' in mount entry: " + entry;
    if (fields[4] != "0")
        return "Dump value must be '0' instead of '" + fields[4] + "' in mount entry: " + entry;
    if (fields[5] != "0")
        return "Backup value must be '0' instead of '" + fields[5] + "' in mount entry: " + entry;
    return "";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    StandIns standIns;
    const std::string entry = Input(data, size).rest();
    const auto reason = complaint(entry);
    Records expected;
    if (!reason.empty())
        Reference::report(expected, Reference::Error, reason);
    expectEqual("valid", Tovrin::Parser::Helpers::validMountEntry(entry), reason.empty());
    expectEqual("records", standIns.takeRecords(), expected);
    return 0;
}
