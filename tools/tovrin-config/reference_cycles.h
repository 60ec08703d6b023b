// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"

#include <vector>

namespace Tovrin::Tool {

// For each entry number the cycle of references that it is part of, by any number but 0; 0 stands for none. Entries on
// cycles that touch each other have the same number. Only last values count, as they do when a program follows a
// reference.
std::vector<std::uint32_t> cyclesOf(const Evaluation &evaluation);

} // namespace Tovrin::Tool
