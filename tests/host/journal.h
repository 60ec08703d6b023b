// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Testing {

// The fields of one record in the journal, by name.
using JournalEntry = std::map<std::string, std::string>;

// What arrives at the journal of a private host: at journald, or without it at a socket in its place.
class Journal {
public:
    Journal();
    ~Journal();
    Journal(const Journal &) = delete;
    Journal &operator=(const Journal &) = delete;

    // The records that this process has sent since the last call, or the start. Journald adds fields of its own to
    // them, with names that begin with "_"; these are left out.
    std::vector<JournalEntry> newEntries();

private:
    int socket_ = -1; // stands in for journald
    std::size_t seen_ = 0;
};

// The journal with everything that it is told taken away, while in scope.
class MissingJournal {
public:
    MissingJournal();
    ~MissingJournal();
    MissingJournal(const MissingJournal &) = delete;
    MissingJournal &operator=(const MissingJournal &) = delete;
};

} // namespace Tovrin::Testing
