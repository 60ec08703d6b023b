// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tovrin::Parser::Logging {

// Sends one message to the systemd journal, at a syslog priority. A failure is ignored.
void printToJournal(int priority, const char *text);

} // namespace Tovrin::Parser::Logging
