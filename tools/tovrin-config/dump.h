// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

namespace Tovrin::Tool {

// Prints every (group, key) with its values on standard output: a key file, groups and keys sorted by byte value. Read
// again it gives the same values, but for those that a key file cannot hold: a comment above the key tells which.
ExitCode dump(const DumpOptions &options);

} // namespace Tovrin::Tool
