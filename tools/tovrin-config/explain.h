// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

namespace Tovrin::Tool {

// Prints the life of one entry on standard output: every assignment and what it did, every reference and what it
// contributed, the values that are left, and what was not read because of a bad line.
ExitCode explain(const ExplainOptions &options);

} // namespace Tovrin::Tool
