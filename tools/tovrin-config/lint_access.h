// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sources.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tovrin::Tool {

// Who else may change what a program reads. "Others" are neither root nor the owner, nor a group that the owner seems
// to have alone: one of the same number, as user-private groups mostly have.
class WriteAccess {
public:
    explicit WriteAccess(const Sources &sources);

    struct Directory {
        std::string path;
        bool addable;     // others may put files into it
        bool replaceable; // and may put theirs in the place of those that are there
        bool isForeign;   // its owner, who may do both, is neither root nor who asks
    };

    static bool othersMayWrite(const SourceFile &file);

    // The directories that were named, and those of the files that were.
    const std::vector<Directory> &directories() const { return directories_; }

    // Whether others may decide what stands in the file; its owner is one of them here, unless it is root or who asks.
    bool othersDecide(std::size_t file) const { return decided_[file]; }

private:
    std::size_t directoryNumber(const std::string &path);

    std::vector<Directory> directories_;
    std::vector<bool> decided_; // by the numbers of the files
};

} // namespace Tovrin::Tool
