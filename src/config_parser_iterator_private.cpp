// SPDX-License-Identifier: Apache-2.0
#include "config_parser_iterator_private.h"

namespace Tovrin::Parser {

ConfigParserIteratorPrivate::ConfigParserIteratorPrivate(const ConfigParserPrivate *store, bool atEnd) : store_(store)
{
    if (atEnd)
        return;
    enterGroup(store->store().firstGroup());
    skipToPresent();
}

void ConfigParserIteratorPrivate::next()
{
    if (!group_)
        return;
    entry_ = store_->store().entryAfter(*entry_);
    skipToPresent();
}

void ConfigParserIteratorPrivate::enterGroup(const ValueStore::Group *group)
{
    group_ = group;
    entry_ = group ? store_->store().firstEntry(*group) : nullptr;
}

// Entries that were only registered, referred to or dropped are not part of the walk.
void ConfigParserIteratorPrivate::skipToPresent()
{
    while (group_ && !(entry_ && entry_->present())) {
        if (entry_)
            entry_ = store_->store().entryAfter(*entry_);
        else
            enterGroup(store_->store().groupAfter(*group_));
    }
}

ConfigParserIterator::value_type ConfigParserIteratorPrivate::current() const
{
    std::vector<std::string> values;
    if (!group_)
        return {"", "", values};
    store_->forEachResolved(*entry_, [&values](std::string_view text) { values.emplace_back(text); });
    return {std::string(group_->name()), std::string(entry_->key()), values};
}

ConfigParserIterator::value_type::value_type(const std::string &group, const std::string &key, const std::string &value)
    : value_{value}, key_(key), group_(group)
{
}

ConfigParserIterator::value_type::value_type(const std::string &group, const std::string &key,
                                             const std::vector<std::string> &values)
    : value_(values), key_(key), group_(group)
{
}

ConfigParserIterator::value_type::value_type(const value_type &other) = default;
ConfigParserIterator::value_type &ConfigParserIterator::value_type::operator=(const value_type &other) = default;
ConfigParserIterator::value_type::~value_type() = default;

std::string ConfigParserIterator::value_type::group() const
{
    return group_;
}

std::string ConfigParserIterator::value_type::key() const
{
    return key_;
}

std::vector<std::string> ConfigParserIterator::value_type::value() const
{
    return value_;
}

bool ConfigParserIterator::value_type::operator==(const value_type &other)
{
    return group_ == other.group_ && key_ == other.key_ && value_ == other.value_;
}

bool ConfigParserIterator::value_type::operator!=(const value_type &other)
{
    return !(*this == other);
}

ConfigParserIterator::ConfigParserIterator(const ConfigParserPrivate *store, bool atEnd)
    : d_(std::make_unique<ConfigParserIteratorPrivate>(store, atEnd))
{
}

ConfigParserIterator::ConfigParserIterator(const ConfigParserIterator &other)
    : d_(std::make_unique<ConfigParserIteratorPrivate>(*other.d_))
{
}

// NOLINTNEXTLINE(cert-oop54-cpp): two pointers and a position may be copied onto themselves
ConfigParserIterator &ConfigParserIterator::operator=(const ConfigParserIterator &other)
{
    *d_ = *other.d_;
    return *this;
}

ConfigParserIterator::~ConfigParserIterator() = default;

ConfigParserIterator &ConfigParserIterator::operator++()
{
    d_->next();
    return *this;
}

ConfigParserIterator ConfigParserIterator::operator++(int)
{
    ConfigParserIterator before(*this);
    d_->next();
    return before;
}

bool ConfigParserIterator::operator==(const ConfigParserIterator &other) const
{
    return *d_ == *other.d_;
}

bool ConfigParserIterator::operator!=(const ConfigParserIterator &other) const
{
    return !(*this == other);
}

ConfigParserIterator::value_type ConfigParserIterator::operator*() const
{
    return d_->current();
}

} // namespace Tovrin::Parser
