// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <ios>
#include <string>

namespace Tovrin::Parser {

// std::getline(), but a line that memory runs out for throws std::bad_alloc. A stream takes that for a read error,
// after which the text would merely seem to end. A read error still ends the text, and sets badbit.
inline bool getLine(std::ifstream &file, std::string &line)
{
    file.exceptions(std::ios::badbit);
    try {
        std::getline(file, line);
    } catch (const std::ios_base::failure &) { // which the state tells
    }
    return !file.fail();
}

} // namespace Tovrin::Parser
