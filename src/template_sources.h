// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tovrin::Parser {

// What Substitutor::resolve returns.
enum ResolveResult : int {
    ResolvedToText = 0,
    ResolveFailed = 1, // and has been logged
    ResolvedToReference = 2,
};

} // namespace Tovrin::Parser
