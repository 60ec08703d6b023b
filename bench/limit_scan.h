// SPDX-License-Identifier: Apache-2.0
#pragma once

// The lower limit: a file read and its lines and "=" found. Nothing is checked and nothing is stored.

#include "line_pieces.h"

namespace Bench {

class LimitScan {
public:
    bool readFile(const char *path)
    {
        return readPieces(path, buffer_, [this](const char *line, const char *end) {
            while (line != end) {
                const char *lineEnd = findChar(line, end, '\n');
                found_ += findChar(line, lineEnd, '=') != lineEnd;
                line = lineEnd + 1;
            }
            return true;
        });
    }

    std::size_t found() const { return found_; }

private:
    std::vector<char> buffer_;
    std::size_t found_ = 0;
};

} // namespace Bench
