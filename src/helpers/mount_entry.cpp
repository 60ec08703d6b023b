// SPDX-License-Identifier: Apache-2.0
#include "mount_entry_problem.h"

#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logError;

bool validMountEntry(const std::string &entry)
{
    const auto problem = mountEntryProblem(entry);
    if (problem.empty())
        return true;
    logError(lConfigParser) << problem << entry;
    return false;
}

} // namespace Tovrin::Parser::Helpers
