// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Tovrin::Parser {
class ConfigParser;
}

namespace Tovrin::Tool {

class Problems;

// Reads key files, and directories as ConfigDirParser reads them, on top of each other in the order given. Reports
// each file that cannot be read, and goes on with the next. Never waits for ever: what a reader would not return from,
// such as a file without a newline at its end, is reported instead of read.
void readAll(const std::vector<std::string> &paths, Parser::ConfigParser &config, Problems &problems);

} // namespace Tovrin::Tool
