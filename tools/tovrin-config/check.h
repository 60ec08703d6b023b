// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

namespace Tovrin::Tool {

// Prints what is wrong with the files, from what stands in them alone: nothing is run, looked up or written, and no
// other file is opened.
ExitCode check(const CheckOptions &options);

} // namespace Tovrin::Tool
