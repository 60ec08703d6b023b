// SPDX-License-Identifier: Apache-2.0
#pragma once

// The whole state of a parser, and what is done with it: registering, reading, resolving, converting.

#include "value_store.h"

#include <tovrin/parser/substitutor.h>

#include <array>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Parser {

class ConfigParserPrivate {
public:
    explicit ConfigParserPrivate(std::uint32_t uid);
    ConfigParserPrivate(const ConfigParserPrivate &other);

    void addKey(const std::string &group, const std::string &key, std::int32_t behaviour);
    void addTemplate(const std::string &name, const std::string &value);

    void checkKey(const std::string &group, const std::string &key) const;
    bool contains(const std::string &group) const;
    bool contains(const std::string &group, const std::string &key) const;

    bool readConfig(const std::string &path);

    // Stores the resolved text of a value; an empty one, with a logged error, if that takes too many visits. For
    // std::string and std::pmr::string.
    template <typename Text> void resolveValue(const ValueStore::Value &value, Text &out) const;

    // The text of one value; nothing is stored if there is none.
    void resolvedText(const std::string &group, const std::string &key, std::string &out) const;

    // One value: converter(text, ok) turns the text into the result.
    template <typename T, typename Converter>
    void resolvedValue(const std::string &group, const std::string &key, T &out, Converter converter, bool *ok) const
    {
        const auto *value = findLastValue(group, key);
        if (ok)
            *ok = value != nullptr;
        if (!value)
            return;
        if (value->isPlain())
            out = converter(value->text(), ok);
        else
            withResolved(*value, [&](std::string_view text) { out = converter(text, ok); });
    }

    // The texts of all values of a key, appended to the list.
    void resolvedTexts(const std::string &group, const std::string &key, std::vector<std::string> &out);

    // All values of a key, appended to the list. Asking for the list of an absent key makes it present, hence not
    // const.
    template <typename T, typename Converter>
    void resolvedValue(const std::string &group, const std::string &key, std::vector<T> &out, Converter converter,
                       bool *ok)
    {
        bool allConverted = true;
        const auto append = [&](std::string_view text) {
            bool converted = true;
            out.push_back(converter(text, &converted));
            allConverted = allConverted && converted;
        };
        const auto &entry = listEntry(group, key);
        out.reserve(out.size() + store_.valueCount(entry));
        forEachResolved(entry, append);
        if (ok)
            *ok = allConverted;
    }

    // Calls use(text) with each value of the entry, in order. One with references that resolves to nothing is left out.
    template <typename Use> void forEachResolved(const ValueStore::Entry &entry, Use &&use) const
    {
        store_.forEachValue(entry, [&](const ValueStore::Value &value) {
            if (value.isPlain()) {
                use(value.text());
                return;
            }
            withResolved(value, [&](std::string_view text) {
                if (!text.empty())
                    use(text);
            });
        });
    }

    const ValueStore &store() const { return store_; }

private:
    class FileReading;

    // Calls use(text) with the resolved text of a value. Kept out of line: its room would cost plain values time.
    template <typename Use> [[gnu::noinline]] void withResolved(const ValueStore::Value &value, Use &&use) const
    {
        std::array<char, 512> room; // only an unusually long text takes memory from the heap
        std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
        std::pmr::string text(&memory);
        text.reserve(room.size() - 1);
        resolveValue(value, text);
        use(std::string_view(text));
    }

    const ValueStore::Entry *find(const std::string &group, const std::string &key) const;
    ValueStore::Entry &listEntry(const std::string &group, const std::string &key);
    const ValueStore::Value *findLastValue(const std::string &group, const std::string &key) const;

    ValueStore::Behaviour getReplacementBehaviour(const ValueStore::Entry *entry) const;
    void warnUnlessRegistered(const ValueStore::Entry *entry, std::string_view group, std::string_view key) const;
    template <typename Text>
    void resolveValueDepth(const ValueStore::Value &value, Text &out, std::int32_t &counter) const;

    ValueStore store_;
    Substitutor substitutor_;
};

} // namespace Tovrin::Parser
