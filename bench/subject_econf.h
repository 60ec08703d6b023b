// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libeconf.h>

#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

namespace Bench {

// libeconf. It does less: no check of names, no templates, no registered keys, lists stay one text; more: it keeps
// comments and line numbers, and reads directories as layers by itself. Entries are searched one after the other.
class Econf {
public:
    static constexpr const char *Name = "libeconf";
    static constexpr bool KeepsRawText = true;

    struct Query {
        std::string group, key;
    };
    static Query query(const std::string &group, const std::string &key) { return {group, key}; }
    static const char *cannotLoad(const std::string &corpus)
    {
        return corpus == "appended" ? "the first of a repeated key counts to it"
               : corpus == "large"  ? "it cuts long lines"
               : corpus == "many"   ? "it merges layers one by one, in quadratic time"
               : corpus == "references" || corpus == "environment" || corpus == "typical"
                   ? "no templates, and filling them in by hand searches all entries each time"
               : corpus == "comments" ? "it joins comments one by one, in quadratic time"
                                      : nullptr;
    }

    Econf() = default;
    Econf(const Econf &) = delete;
    Econf &operator=(const Econf &) = delete;
    ~Econf() { econf_freeFile(file_); }

    bool loadFile(const std::string &path) { return econf_readFile(&file_, path.c_str(), "=", "#") == ECONF_SUCCESS; }

    // "ROOT/NAME.conf.d" is what it reads for the project NAME.
    bool loadDirectory(const std::string &path)
    {
        const std::size_t slash = path.rfind('/');
        const std::string root = path.substr(0, slash);
        const std::string project = path.substr(slash + 1, path.find(".conf.d", slash) - slash - 1);
        return econf_readDirs(&file_, "", root.c_str(), project.c_str(), "conf", "=", "#") == ECONF_SUCCESS;
    }

    std::size_t text(const Query &query)
    {
        char *value = get(query);
        const std::size_t size = std::char_traits<char>::length(value);
        std::free(value);
        return size;
    }

    int integer(const Query &query)
    {
        int value = 0;
        econf_getIntValue(file_, query.group.c_str(), query.key.c_str(), &value);
        return value;
    }

    double number(const Query &query)
    {
        double value = 0;
        econf_getDoubleValue(file_, query.group.c_str(), query.key.c_str(), &value);
        return value;
    }

    bool truth(const Query &query)
    {
        bool value = false;
        econf_getBoolValue(file_, query.group.c_str(), query.key.c_str(), &value);
        return value;
    }

    std::size_t strings(const Query &query)
    {
        std::vector<std::string> parts;
        char *value = get(query);
        char *rest = nullptr;
        for (char *part = strtok_r(value, ";", &rest); part; part = strtok_r(nullptr, ";", &rest))
            parts.emplace_back(part);
        std::free(value);
        return parts.size();
    }

    int integers(const Query &query)
    {
        std::vector<int> values;
        char *value = get(query);
        char *rest = nullptr;
        for (char *part = strtok_r(value, ";", &rest); part; part = strtok_r(nullptr, ";", &rest))
            values.push_back(std::atoi(part));
        std::free(value);
        return std::accumulate(values.begin(), values.end(), 0);
    }

    std::string copy(const Query &query)
    {
        char *value = get(query);
        const std::string result = value ? value : "(absent)";
        std::free(value);
        return result;
    }

private:
    char *get(const Query &query) const
    {
        char *value = nullptr;
        econf_getStringValue(file_, query.group.c_str(), query.key.c_str(), &value);
        return value;
    }

    econf_file *file_ = nullptr;
};

} // namespace Bench
