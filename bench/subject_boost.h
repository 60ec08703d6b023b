// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "directory.h"
#include "templates_by_hand.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <numeric>
#include <string>
#include <vector>

namespace Bench {

// Boost.PropertyTree. It does less: no check of names, no templates, no registered keys, lists stay one text; more: it
// keeps the order of entries and refuses repeated keys and groups. Files of a directory are read one by one and merged.
class BoostPropertyTree {
public:
    static constexpr const char *Name = "Boost.PropertyTree";
    static constexpr bool KeepsRawText = true;

    using Tree = boost::property_tree::ptree;
    using Query = Tree::path_type; // "Group.Key", parsed ahead
    static Query query(const std::string &group, const std::string &key) { return {group + "." + key}; }
    static const char *cannotLoad(const std::string &corpus)
    {
        return corpus == "appended" ? "a repeated key is an error to it" : nullptr;
    }

    bool loadFile(const std::string &path)
    {
        boost::property_tree::read_ini(path, tree_);
        return true;
    }

    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) {
            Tree layer;
            boost::property_tree::read_ini(file, layer);
            for (const auto &[group, entries] : layer)
                for (const auto &[key, value] : entries)
                    tree_.put(query(group, key), value.data());
            return true;
        });
    }

    void fillInTemplates()
    {
        for (auto &[group, entries] : tree_)
            for (auto &[key, value] : entries)
                if (hasTemplates(value.data()))
                    value.data() =
                        filledIn(value.data(), [this](const std::string &otherGroup, const std::string &otherKey) {
                            return tree_.find(otherGroup)->second.find(otherKey)->second.data();
                        });
    }

    std::size_t text(const Query &query) { return tree_.get<std::string>(query).size(); }
    int integer(const Query &query) { return tree_.get<int>(query); }
    double number(const Query &query) { return tree_.get<double>(query); }
    bool truth(const Query &query) { return tree_.get<bool>(query); }
    std::size_t strings(const Query &query) { return split(tree_.get<std::string>(query)).size(); }

    int integers(const Query &query)
    {
        std::vector<int> values;
        for (const std::string &part : split(tree_.get<std::string>(query)))
            values.push_back(std::stoi(part));
        return std::accumulate(values.begin(), values.end(), 0);
    }

    std::string copy(const Query &query) { return tree_.get<std::string>(query, "(absent)"); }

private:
    static std::vector<std::string> split(const std::string &text)
    {
        std::vector<std::string> parts;
        for (std::size_t start = 0, end = 0; end != text.npos; start = end + 1) {
            end = text.find(';', start);
            parts.push_back(text.substr(start, end - start));
        }
        return parts;
    }

    Tree tree_;
};

} // namespace Bench
