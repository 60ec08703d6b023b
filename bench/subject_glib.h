// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "directory.h"
#include "templates_by_hand.h"

#include <glib.h>

#include <string>

namespace Bench {

// GKeyFile. It does less: values keep their text, lists are split and numbers converted when they are asked for, no
// templates, no registered keys; a repeated key keeps the last value. It does more: it keeps the order of entries and
// checks for UTF-8. It has no directories: each file is loaded by itself and its entries are set in the first one, as
// its users layer files.
class GKeyFile {
public:
    static constexpr const char *Name = "GKeyFile";
    static constexpr bool KeepsRawText = true;

    struct Query {
        std::string group, key;
    };
    static Query query(const std::string &group, const std::string &key) { return {group, key}; }
    static const char *cannotLoad(const std::string &) { return nullptr; }

    GKeyFile() = default;
    GKeyFile(const GKeyFile &) = delete;
    GKeyFile &operator=(const GKeyFile &) = delete;
    ~GKeyFile() { g_key_file_free(file_); }

    bool loadFile(const std::string &path) { return loadInto(file_, path); }

    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) {
            ::GKeyFile *layer = g_key_file_new();
            const bool loaded = loadInto(layer, file);
            forEachEntry(layer, [this](const char *group, const char *key, const char *value) {
                g_key_file_set_value(file_, group, key, value);
            });
            g_key_file_free(layer);
            return loaded;
        });
    }

    void fillInTemplates()
    {
        forEachEntry(file_, [this](const char *group, const char *key, const char *value) {
            if (!hasTemplates(value))
                return;
            const std::string text =
                filledIn(value, [this](const std::string &otherGroup, const std::string &otherKey) {
                    return copy({otherGroup, otherKey});
                });
            g_key_file_set_value(file_, group, key, text.c_str());
        });
    }

    std::size_t text(const Query &query)
    {
        char *value = g_key_file_get_string(file_, query.group.c_str(), query.key.c_str(), nullptr);
        const std::size_t size = std::char_traits<char>::length(value);
        g_free(value);
        return size;
    }

    int integer(const Query &query)
    {
        return g_key_file_get_integer(file_, query.group.c_str(), query.key.c_str(), nullptr);
    }

    double number(const Query &query)
    {
        return g_key_file_get_double(file_, query.group.c_str(), query.key.c_str(), nullptr);
    }

    bool truth(const Query &query)
    {
        return g_key_file_get_boolean(file_, query.group.c_str(), query.key.c_str(), nullptr);
    }

    std::size_t strings(const Query &query)
    {
        gsize count = 0;
        g_strfreev(g_key_file_get_string_list(file_, query.group.c_str(), query.key.c_str(), &count, nullptr));
        return count;
    }

    int integers(const Query &query)
    {
        gsize count = 0;
        int *values = g_key_file_get_integer_list(file_, query.group.c_str(), query.key.c_str(), &count, nullptr);
        int sum = 0;
        for (gsize i = 0; i < count; ++i)
            sum += values[i];
        g_free(values);
        return sum;
    }

    std::string copy(const Query &query)
    {
        char *value = g_key_file_get_value(file_, query.group.c_str(), query.key.c_str(), nullptr);
        const std::string result = value ? value : "(absent)";
        g_free(value);
        return result;
    }

private:
    static bool loadInto(::GKeyFile *file, const std::string &path)
    {
        return g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
    }

    template <typename Visitor> static void forEachEntry(::GKeyFile *file, Visitor visit)
    {
        char **groups = g_key_file_get_groups(file, nullptr);
        for (char **group = groups; *group; ++group) {
            char **keys = g_key_file_get_keys(file, *group, nullptr, nullptr);
            for (char **key = keys; *key; ++key) {
                char *value = g_key_file_get_value(file, *group, *key, nullptr);
                visit(*group, *key, value);
                g_free(value);
            }
            g_strfreev(keys);
        }
        g_strfreev(groups);
    }

    ::GKeyFile *file_ = g_key_file_new();
};

} // namespace Bench
