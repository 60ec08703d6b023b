// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"

#include <string>

namespace Tovrin::Tool {

// Says why the entry is absent, and which one may have been meant. The file of keys is the one of --keys.
std::string absence(const Evaluation &evaluation, const std::string &group, const std::string &key,
                    const std::string &keysFile);

} // namespace Tovrin::Tool
