// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Tovrin::Parser {

// A ConfigParser that reads directories of key files: every "*.conf" in them, in byte-wise order of the paths, so that
// "10-a.conf" comes before "9-b.conf" and capitals before small letters. Later files override or extend earlier ones.
//
// The two operations differ on purpose: readDirectory() reports an empty directory and goes on after a bad file,
// readDirectories() is silent about empty directories and stops at the first bad file.
class TOVRIN_EXPORT ConfigDirParser : public ConfigParser {
public:
    // See ConfigParser::ConfigParser(std::uint32_t).
    explicit ConfigDirParser(std::uint32_t uid);

    // Reads every "*.conf" of the directory. A bad file does not stop the others.
    // Returns true if all of them loaded; false, with a logged reason, if one did not or there was none.
    bool readDirectory(const std::string &directory);

    // Reads the directories in the order given, each as a layer on top of those before it.
    // Returns 1 if files were read and all of them loaded, or if no directory was given; 0 if none of the directories
    // has a "*.conf"; 2 at the first file that does not load, with what was read before it kept.
    int readDirectories(const std::vector<std::string> &directories);
};

} // namespace Tovrin::Parser
