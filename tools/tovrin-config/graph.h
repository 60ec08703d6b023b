// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

namespace Tovrin::Tool {

// Prints the references between entries on standard output: the entries that have any or are named by one.
ExitCode graph(const GraphOptions &options);

} // namespace Tovrin::Tool
