// SPDX-License-Identifier: Apache-2.0
#pragma once

// A parser done again with maps of maps of lists; see reference.h.

#include "reference.h"

#include <algorithm>

namespace Tovrin::Fuzz::Reference {

class Store {
public:
    using Values = std::vector<Pieces>;

    explicit Store(std::string envFile) : envFile_(std::move(envFile)) {}

    void addKey(const Name &name, int behaviour) { registry_.emplace(name, behaviour); }
    void addTemplate(const std::string &name, const std::string &text) { templates_.emplace(name, text); }

    bool readConfig(const std::string &text, const std::string &path)
    {
        KeyFileIterator iterator(text, path, records_);
        for (; !iterator.isAtEnd() && !iterator.error(); iterator.seekNext())
            apply(iterator.entry());
        if (iterator.error())
            report(records_, Error, "Failed to load config from '" + path + "'");
        return !iterator.error();
    }

    void checkKey(const Name &name)
    {
        if (!registry_.empty() && !registry_.count(name))
            report(records_, Warning, name.first + "/" + name.second + " has not been added to the parser");
    }

    bool contains(const std::string &group) const { return values_.count(group) != 0; }

    bool contains(const Name &name)
    {
        checkKey(name);
        return find(name) != nullptr;
    }

    // Null if the key is not in the store.
    const Values *find(const Name &name) const
    {
        const auto group = values_.find(name.first);
        if (group == values_.end())
            return nullptr;
        const auto key = group->second.find(name.second);
        return key == group->second.end() ? nullptr : &key->second;
    }

    // What a list getter sees; makes the key.
    std::vector<std::string> list(const Name &name)
    {
        std::vector<std::string> texts;
        for (const auto &value : values_[name.first][name.second]) {
            const auto text = resolved(value);
            if (referencesOf(value).empty() || !text.empty())
                texts.push_back(text);
        }
        return texts;
    }

    // What a single getter sees.
    std::optional<std::string> single(const Name &name)
    {
        const auto *values = find(name);
        if (!values || values->empty())
            return std::nullopt;
        return resolved(values->back());
    }

    // All that an iteration shows.
    std::map<Name, std::vector<std::string>> all()
    {
        std::map<Name, std::vector<std::string>> texts;
        for (const auto &[group, keys] : values_) {
            for (const auto &[key, values] : keys)
                texts[{group, key}] = list({group, key});
        }
        return texts;
    }

    // All that anything names, present or not.
    std::vector<Name> names() const
    {
        std::vector<Name> names;
        for (const auto &[group, keys] : values_) {
            for (const auto &[key, values] : keys) {
                names.emplace_back(group, key);
                for (const auto &value : values) {
                    const auto references = referencesOf(value);
                    names.insert(names.end(), references.begin(), references.end());
                }
            }
        }
        for (const auto &[name, behaviour] : registry_)
            names.push_back(name);
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return names;
    }

    Records takeRecords() { return std::exchange(records_, {}); }

private:
    void apply(const Entry &entry)
    {
        const Name name(entry.group, entry.key);
        const auto registered = registry_.find(name);
        const int behaviour = registry_.empty() ? 1 : registered == registry_.end() ? -1 : registered->second;
        if (behaviour == -1)
            return;
        const auto parts = split(entry.value, ';');
        if (parts.empty() && values_.count(entry.group))
            values_[entry.group].erase(entry.key);
        for (const auto &part : parts) {
            if (!part.empty())
                store(name, part, behaviour);
        }
    }

    void store(const Name &name, const std::string &part, int behaviour)
    {
        Pieces value;
        if (!Substitution(templates_, envFile_, records_).substitute(part, value))
            return;
        value = trimmed(value);
        const bool isEmpty = literalText(value).empty() && referencesOf(value).empty();
        if (behaviour == 0)
            values_[name.first][name.second] = {value};
        else if (behaviour == 1 && !isEmpty)
            values_[name.first][name.second].push_back(value);
    }

    std::string resolved(const Pieces &value)
    {
        std::string text;
        int visits = 0;
        if (visit(value, text, visits))
            return text;
        report(records_, Error, "Max depth reached, possibly circular reference.");
        return "";
    }

    bool visit(const Pieces &value, std::string &out, int &visits)
    {
        if (visits > 32)
            return false;
        ++visits;
        std::vector<std::string> texts;
        for (const auto &reference : referencesOf(value)) {
            std::string text;
            const auto *values = contains(reference) ? find(reference) : nullptr;
            if (values && !values->empty() && !visit(values->back(), text, visits))
                return false;
            texts.push_back(text);
        }
        out = filled(value, texts);
        return true;
    }

    std::string envFile_;
    std::map<std::string, std::string> templates_;
    std::map<Name, int> registry_;
    std::map<std::string, std::map<std::string, Values>> values_;
    Records records_;
};

} // namespace Tovrin::Fuzz::Reference
