// SPDX-License-Identifier: Apache-2.0
#include "dump.h"

#include "input_files.h"
#include "problems.h"

#include <tovrin/parser/config_parser.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>

namespace Tovrin::Tool {

namespace {

using Values = std::vector<std::string>;
using Groups = std::map<std::string, std::map<std::string, Values>>;

Groups sorted(const Parser::ConfigParser &config, Problems &problems)
{
    Groups groups;
    for (auto position = config.begin(); position != config.end(); ++position) {
        const auto before = problems.count();
        const auto entry = *position; // resolves the values
        if (problems.count() != before)
            problems.report("not all values of [" + entry.group() + "] " + entry.key() + " could be resolved");
        groups[entry.group()].emplace(entry.key(), entry.value());
    }
    return groups;
}

// Why a key file cannot hold the value, as what follows "value 1 "; "" if it can.
std::string obstacle(const std::string &value)
{
    if (value.find('\n') != std::string::npos)
        return "holds a line break, shown as \"\\n\"";
    if (value.find(';') != std::string::npos)
        return "holds \";\"";
    return "";
}

std::string obstacles(const Values &values)
{
    if (values.empty())
        return "no value is left";
    std::string result;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (const auto reason = obstacle(values[i]); !reason.empty())
            result += (result.empty() ? "value " : ", value ") + std::to_string(i + 1) + ' ' + reason;
    }
    return result;
}

std::string escaped(const std::string &value)
{
    std::string result;
    for (const char c : value) {
        if (c == '$')
            result += "$$";
        else if (c == '\n')
            result += "\\n";
        else
            result += c;
    }
    return result;
}

void printKey(const std::string &key, const Values &values)
{
    if (const auto reasons = obstacles(values); !reasons.empty())
        std::cout << "# Reads back differently: " << reasons << ".\n";
    std::cout << key << '=';
    for (std::size_t i = 0; i < values.size(); ++i)
        std::cout << (i == 0 ? "" : ";") << escaped(values[i]);
    std::cout << '\n';
}

void print(const Groups &groups)
{
    bool first = true;
    for (const auto &[group, keys] : groups) {
        if (!first)
            std::cout << '\n';
        first = false;
        if (!group.empty()) // the group "" sorts first, and needs no header there
            std::cout << '[' << group << "]\n";
        for (const auto &[key, values] : keys)
            printKey(key, values);
    }
}

} // namespace

ExitCode dump(const DumpOptions &options)
{
    Problems problems(options.verbose);
    Parser::ConfigParser config(Parser::ConfigParser::BadUid);
    readAll(options.paths, config, problems);
    print(sorted(config, problems));
    if (!std::cout.flush())
        problems.report("cannot write to standard output: " + std::string(std::strerror(errno)));
    return problems.count() > 0 ? NotRead : Success;
}

} // namespace Tovrin::Tool
