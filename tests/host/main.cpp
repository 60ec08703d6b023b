// SPDX-License-Identifier: Apache-2.0

// Test programs that need a host of their own start themselves anew in one.

#include <gmock/gmock.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

// Returns only if that failed. The script is run by this machine, also if the program is one of another.
void startOnAPrivateHost(const std::vector<char *> &arguments)
{
    std::vector<const char *> words = {TOVRIN_PRIVATE_HOST};
#ifdef TOVRIN_EMULATOR
    words.insert(words.end(), {TOVRIN_EMULATOR});
#endif
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.push_back(nullptr);
    execvp(words.front(), const_cast<char *const *>(words.data()));
    std::perror(TOVRIN_PRIVATE_HOST);
}

} // namespace

int main(int count, char **arguments)
{
    if (!std::getenv("TOVRIN_HOST")) {
        startOnAPrivateHost({arguments, arguments + count});
        return 1;
    }
    testing::InitGoogleMock(&count, arguments);
    return RUN_ALL_TESTS();
}
