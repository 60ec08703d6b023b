// SPDX-License-Identifier: Apache-2.0

// For test programs of another machine. The kernel cannot start those; all that they start anew by execv() is
// themselves, for death tests, and that goes through the emulator.

#include <unistd.h>

#include <vector>

// Found before the one of the system, because it belongs to the program itself.
extern "C" __attribute__((visibility("default"))) int execv(const char *path, char *const arguments[]) noexcept
{
    std::vector<const char *> words = {TOVRIN_EMULATOR, path};
    for (auto argument = arguments; *argument && *++argument;)
        words.push_back(*argument);
    words.push_back(nullptr);
    return execvp(words.front(), const_cast<char *const *>(words.data()));
}
