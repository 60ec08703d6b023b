// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check_model.h"
#include "hash_index.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

std::string withoutCapitals(std::string text);

// Whether names differ at most in what people overlook: white space, and capitals in the place of small letters.
bool lookSame(std::string_view a, std::string_view b);

// Equal for a group and a key that look the same as another group and key.
class LooksHash {
public:
    std::uint32_t operator()(std::string_view group, std::string_view key);

private:
    std::string group_; // buffers
    std::string key_;
};

// "GROUP/KEY", as a reference names it.
std::string nameOf(const Model::Entry &entry);

// Knows which entry may have been meant by a name that is none.
class Guesser {
public:
    // The candidates are entries of the model, which has to outlive them.
    Guesser(const Model &model, std::vector<Model::Number> candidates);

    // The candidate whose name differs in case and white space alone, or null.
    const Model::Entry *sameButForLooks(std::string_view group, std::string_view key);

    // The nearest candidate, or null: the above, else a mistyped key of the group, else the key of another group.
    const Model::Entry *nearest(std::string_view group, std::string_view key);

private:
    const Model::Entry *nearestOfGroup(std::string_view group, std::string_view key);
    const Model::Entry *sameKeyElsewhere(std::string_view key) const;

    const Model &model_;
    std::vector<Model::Number> candidates_;
    LooksHash hashOfLooks_;
    Parser::HashIndex looks_;
    Parser::HashIndex keys_; // of the keys alone
    std::map<std::string_view, std::vector<std::string_view>> keysOfGroups_;
    std::size_t effortLeft_ = 50'000'000; // a configuration of mistyped names alone must not take for ever
};

} // namespace Tovrin::Tool
