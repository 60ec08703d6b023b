// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "findings.h"
#include "keys_file.h"
#include "options.h"

#include <vector>

namespace Tovrin::Tool {

// What is wrong with the files, from what stands in them alone: nothing is run, looked up or written, and no other file
// is opened. Sorted.
Findings findingsIn(const CheckOptions &options, const std::vector<KnownKey> &knownKeys);

// Prints it.
ExitCode check(const CheckOptions &options);

} // namespace Tovrin::Tool
