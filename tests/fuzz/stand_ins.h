// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tovrin::Fuzz {

// A record that reached the journal.
struct Record {
    int priority;
    std::string text;

    bool operator==(const Record &) const = default;
};

using Records = std::vector<Record>;

std::string describe(const Record &record);

// What the shell of the stand-ins does with a command line.
struct CommandOutcome {
    bool starts;
    std::string output;
    int status; // of pclose(); -1 for one that fails
};
CommandOutcome outcomeOf(std::string_view command);

// Whether the stand-in for the file system lets a file of this name be made.
bool canBeMade(std::string_view path);

// While one of these is in scope, an input can do no harm and finds the same host everywhere: records of the journal
// are collected, no command is run (see outcomeOf), dconf holds nothing, and each file that is opened for writing is
// the one of the path given. The variable FUZZ_A is set, FUZZ_EMPTY is empty. The library's own configuration lets all
// records through.
class StandIns {
public:
    explicit StandIns(std::string pathForWriting = "/dev/null");
    ~StandIns();
    StandIns(const StandIns &) = delete;
    StandIns &operator=(const StandIns &) = delete;

    // What was collected since the last time.
    Records takeRecords();
    std::vector<std::string> takeOpened();
};

} // namespace Tovrin::Fuzz
