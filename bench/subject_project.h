// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/config_dir_parser.h>

#include <numeric>
#include <string>
#include <vector>

namespace Bench {

// The library under measurement, as its users call it, through its shared object. Without registered keys it accepts
// all and amends.
class Project {
public:
    static constexpr const char *Name = "project";
    static constexpr bool KeepsRawText = false;

    struct Query {
        std::string group, key;
    };
    static Query query(const std::string &group, const std::string &key) { return {group, key}; }
    static const char *cannotLoad(const std::string &) { return nullptr; }

    void accept(const std::string &group, const std::string &key)
    {
        parser_.addKey(group, key, Tovrin::Parser::ConfigParser::Amend);
    }

    bool loadFile(const std::string &path) { return parser_.readConfig(path); }
    bool loadDirectory(const std::string &path) { return parser_.readDirectory(path); }

    std::size_t text(const Query &query)
    {
        parser_.getValue(query.group, query.key, text_);
        return text_.size();
    }

    int integer(const Query &query) { return get<int>(query); }
    double number(const Query &query) { return get<double>(query); }
    bool truth(const Query &query) { return get<bool>(query); }
    std::size_t strings(const Query &query) { return get<std::vector<std::string>>(query).size(); }

    int integers(const Query &query)
    {
        const auto values = get<std::vector<int>>(query);
        return std::accumulate(values.begin(), values.end(), 0);
    }

    std::string copy(const Query &query)
    {
        return parser_.contains(query.group, query.key) ? get<std::string>(query) : "(absent)";
    }

private:
    template <typename T> T get(const Query &query)
    {
        T value{};
        parser_.getValue(query.group, query.key, value);
        return value;
    }

    Tovrin::Parser::ConfigDirParser parser_{Tovrin::Parser::ConfigParser::BadUid};
    std::string text_; // kept, as a caller in a loop keeps it
};

} // namespace Bench
