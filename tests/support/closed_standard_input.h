// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace Tovrin::Testing {

// The process has no standard input for a scope: what is opened next gets descriptor 0, which is one like others.
class ClosedStandardInput {
public:
    ClosedStandardInput() : former_(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
    ~ClosedStandardInput()
    {
        dup2(former_, STDIN_FILENO);
        close(former_);
    }
    ClosedStandardInput(const ClosedStandardInput &) = delete;
    ClosedStandardInput &operator=(const ClosedStandardInput &) = delete;

    // Whether something has descriptor 0 instead.
    bool isTaken() const { return fcntl(STDIN_FILENO, F_GETFD) != -1; }

private:
    int former_;
};

} // namespace Tovrin::Testing
