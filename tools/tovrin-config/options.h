// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/constants.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace Tovrin::Tool {

// The exit codes of every command; written in --help too.
enum ExitCode : int {
    Success = 0,
    Failure = 1, // something could not be read, found or resolved, or is an error in the configuration
    Misuse = 2,  // the command line, or the file of --keys, is wrong
};

enum class Format { Text, Json };
enum class Color { Auto, Always, Never };

// What every command understands.
struct CommonOptions {
    std::vector<std::string> paths; // never empty: the default directory stands for none
    std::string keysFile;           // "": every key is accepted and amended
    std::map<std::string, std::string> templates;
    std::uint32_t uid = Parser::Constants::BadUid;
    Format format = Format::Text;
    Color color = Color::Auto;
    bool verbose = false; // the library's debug records too
};

// What the commands that evaluate a configuration may ask of the host.
struct HostOptions {
    bool offline = false; // look nothing up
    bool runCommands = false;
    std::chrono::milliseconds timeout{5000}; // of one command
};

struct DumpOptions : CommonOptions {
    HostOptions host;
    bool raw = false;
    bool origin = false;
};

// The types that a key can be asked for, and registered with in a file of --keys.
enum class ValueType { String, Bool, Int, Int64, Double, Mount };

struct GetOptions : CommonOptions {
    HostOptions host;
    std::string group;
    std::string key;
    ValueType type = ValueType::String;
    bool list = false;
    bool origin = false;
    bool endWithNul = false;
};

struct ExplainOptions : CommonOptions {
    HostOptions host;
    std::string group;
    std::string key;
};

struct GraphOptions : CommonOptions {
    HostOptions host;
};

struct CheckOptions : CommonOptions {
    bool strict = false; // warnings count as errors
};

using Request = std::variant<DumpOptions, GetOptions, ExplainOptions, GraphOptions, CheckOptions>;

// What the command line asks for; or the code to exit with, when it was answered (--help) or rejected here.
std::variant<Request, ExitCode> parseCommandLine(int argc, const char *const *argv);

} // namespace Tovrin::Tool
