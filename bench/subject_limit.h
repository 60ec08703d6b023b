// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "directory.h"
#include "limit_reader.h"
#include "limit_scan.h"

#include <charconv>
#include <numeric>
#include <string>
#include <vector>

namespace Bench {

// The hand-written reader. Numbers are converted by from_chars, without the leading space, "+" and "0x" that the
// library accepts.
class Limit {
public:
    static constexpr const char *Name = "limit";
    static constexpr bool KeepsRawText = false;

    struct Query {
        std::string group, key;
    };
    static Query query(const std::string &group, const std::string &key) { return {group, key}; }
    static const char *cannotLoad(const std::string &) { return nullptr; }

    void accept(const std::string &group, const std::string &key) { reader_.accept(group, key); }
    bool loadFile(const std::string &path) { return reader_.readFile(path.c_str()); }
    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) { return loadFile(file); });
    }

    std::size_t text(const Query &query)
    {
        text_.clear();
        if (const auto *value = reader_.valueAt(reader_.find(query.group, query.key).last)) {
            int visits = 0;
            reader_.resolve(*value, text_, visits);
        }
        return text_.size();
    }

    int integer(const Query &query) { return converted<int>(last(query)); }
    double number(const Query &query) { return converted<double>(last(query)); }
    bool truth(const Query &query) { return last(query) == "true"; }

    std::size_t strings(const Query &query)
    {
        return listOf<std::string>(query, [](auto &out, std::string_view text) { out.emplace_back(text); }).size();
    }

    int integers(const Query &query)
    {
        const auto values =
            listOf<int>(query, [](auto &out, std::string_view text) { out.push_back(converted<int>(text)); });
        return std::accumulate(values.begin(), values.end(), 0);
    }

    std::string copy(const Query &query) { return text(query) ? text_ : "(absent)"; }

private:
    template <typename T> static T converted(std::string_view text)
    {
        T value{};
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    }

    std::string_view last(const Query &query) const
    {
        const auto *value = reader_.valueAt(reader_.find(query.group, query.key).last);
        return value ? value->text() : std::string_view();
    }

    template <typename T, typename Append> std::vector<T> listOf(const Query &query, Append append) const
    {
        const auto *const first = reader_.valueAt(reader_.find(query.group, query.key).first);
        std::size_t count = 0;
        for (const auto *value = first; value; value = reader_.valueAt(value->next))
            ++count;
        std::vector<T> values;
        values.reserve(count);
        for (const auto *value = first; value; value = reader_.valueAt(value->next))
            append(values, value->text());
        return values;
    }

    LimitReader reader_;
    std::string text_;
};

// Only loads.
class Scan {
public:
    static constexpr const char *Name = "scan";

    static const char *cannotLoad(const std::string &) { return nullptr; }
    bool loadFile(const std::string &path) { return scan_.readFile(path.c_str()); }
    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) { return loadFile(file); });
    }
    std::size_t found() const { return scan_.found(); }

private:
    LimitScan scan_;
};

} // namespace Bench
