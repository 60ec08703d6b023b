// SPDX-License-Identifier: Apache-2.0
#include "logging/journal.h"

// Otherwise the header replaces sd_journal_print by a variant that stores this file and line with every message.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

namespace Tovrin::Parser::Logging {

void printToJournal(int priority, const char *text)
{
    sd_journal_print(priority, "%s", text);
}

} // namespace Tovrin::Parser::Logging
