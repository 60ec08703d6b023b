// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "directory.h"
#include "templates_by_hand.h"

#include <ini.h>

#include <cstdlib>
#include <numeric>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Bench {

// inih, whose handler stores into two levels of hash maps. The reader itself does less than the library: no check of
// names, no templates; more: it strips spaces around names and values. Lists stay one text until they are asked for,
// and are then split by hand; a repeated key is joined to such a text. The handler notes which values have templates.
class Inih {
public:
    static constexpr const char *Name = "inih";
    static constexpr bool KeepsRawText = true;

    struct Query {
        std::string group, key;
    };
    static Query query(const std::string &group, const std::string &key) { return {group, key}; }
    static const char *cannotLoad(const std::string &) { return nullptr; }

    Inih()
    {
        ini_allow_inline_comments = false; // ";" belongs to values here; this also spares it the search
    }

    // What a user with 64 KB values has to set; the buffer then comes from the heap.
    static void allowLongLines()
    {
        ini_use_stack = false;
        ini_allow_realloc = true;
        ini_max_line = 1 << 20;
    }

    void accept(const std::string &group, const std::string &key) { accepted_[group].insert(key); }

    bool loadFile(const std::string &path) { return ini_parse(path.c_str(), handle, this) == 0; }
    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) { return loadFile(file); });
    }

    void fillInTemplates()
    {
        for (std::string *text : templates_)
            *text = filledIn(*text, [this](const std::string &group, const std::string &key) -> const std::string & {
                return find({group, key});
            });
    }

    std::size_t text(const Query &query)
    {
        text_ = find(query);
        return text_.size();
    }

    int integer(const Query &query) { return static_cast<int>(std::strtol(find(query).c_str(), nullptr, 10)); }
    double number(const Query &query) { return std::strtod(find(query).c_str(), nullptr); }
    bool truth(const Query &query) { return find(query) == "true"; }

    std::size_t strings(const Query &query) { return split(find(query)).size(); }

    int integers(const Query &query)
    {
        std::vector<int> values;
        for (const std::string &part : split(find(query)))
            values.push_back(static_cast<int>(std::strtol(part.c_str(), nullptr, 10)));
        return std::accumulate(values.begin(), values.end(), 0);
    }

    std::string copy(const Query &query) { return find(query); }

private:
    static int handle(void *user, const char *section, const char *name, const char *value)
    {
        Inih &self = *static_cast<Inih *>(user);
        if (!self.accepted_.empty()) {
            const auto group = self.accepted_.find(section);
            if (group == self.accepted_.end() || !group->second.contains(name))
                return 1;
        }
        std::string &text = self.values_[section][name];
        if (text.empty())
            text = value;
        else
            text.append(";").append(value);
        if (hasTemplates(value))
            self.templates_.push_back(&text);
        return 1;
    }

    const std::string &find(const Query &query) const
    {
        static const std::string absent = "(absent)";
        const auto group = values_.find(query.group);
        if (group == values_.end())
            return absent;
        const auto key = group->second.find(query.key);
        return key == group->second.end() ? absent : key->second;
    }

    static std::vector<std::string> split(const std::string &text)
    {
        std::vector<std::string> parts;
        for (std::size_t start = 0, end = 0; end != text.npos; start = end + 1) {
            end = text.find(';', start);
            parts.push_back(text.substr(start, end - start));
        }
        return parts;
    }

    std::unordered_map<std::string, std::unordered_map<std::string, std::string>> values_;
    std::unordered_map<std::string, std::unordered_set<std::string>> accepted_;
    std::vector<std::string *> templates_;
    std::string text_;
};

} // namespace Bench
