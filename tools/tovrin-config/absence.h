// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"

#include <string>

namespace Tovrin::Tool {

// Says that the entry is absent, and which one may have been meant.
std::string absence(const Evaluation &evaluation, const std::string &group, const std::string &key);

} // namespace Tovrin::Tool
