// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

namespace Tovrin::Tool {

// Prints the values of one entry on standard output, each by itself, as a script wants them; nothing at all if the
// entry is absent, or a value does not resolve or convert.
ExitCode get(const GetOptions &options);

} // namespace Tovrin::Tool
