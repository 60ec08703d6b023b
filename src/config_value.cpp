// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_value.h>

#include "text_scan.h"

#include <tovrin/parser/logging.h>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <stdexcept>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logWarning;

// The lists have equal lengths, and their elements belong together by index.
struct ConfigValue::ReferenceBlock {
    std::vector<std::pair<std::string, std::string>> references;
    std::vector<std::uint32_t> positions;

    bool operator==(const ReferenceBlock &) const = default;

    void append(const std::string &group, const std::string &key, std::uint32_t position)
    {
        appendOrNothing([&] {
            positions.push_back(position);
            references.emplace_back(group, key);
        });
    }

    void append(const ReferenceBlock &added, std::uint32_t offset)
    {
        appendOrNothing([&] {
            std::transform(added.positions.begin(), added.positions.end(), std::back_inserter(positions),
                           [offset](std::uint32_t position) { return position + offset; });
            // One by one: an insert() that memory runs out for has moved the present ones away.
            std::copy(added.references.begin(), added.references.end(), std::back_inserter(references));
        });
    }

private:
    // Where memory runs out, neither list grows.
    template <typename Append> void appendOrNothing(Append &&append)
    {
        const auto size = positions.size();
        try {
            append();
        } catch (...) {
            positions.resize(size);
            references.resize(size);
            throw;
        }
    }
};

namespace {

const std::vector<std::pair<std::string, std::string>> NoReferences;

// The rule, and what it means for positions that decrease: each insertion moves all later ones.
std::string insertOneByOne(std::string text, const std::vector<std::uint32_t> &positions,
                           const std::vector<std::string> &inserted)
{
    std::size_t shift = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        text.insert(shift + positions[i], inserted[i]);
        shift += inserted[i].size();
    }
    return text;
}

// The same for positions in order, in linear time however many there are.
std::string mergeInOrder(const std::string &text, const std::vector<std::uint32_t> &positions,
                         const std::vector<std::string> &inserted)
{
    std::string merged;
    std::size_t copied = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (positions[i] > text.size())
            throw std::out_of_range("ConfigValue::resolve: position beyond the text");
        merged.append(text, copied, positions[i] - copied).append(inserted[i]);
        copied = positions[i];
    }
    return merged.append(text, copied);
}

} // namespace

ConfigValue::ConfigValue() = default;

ConfigValue::ConfigValue(const std::string &text) : text_(text)
{
}

ConfigValue::ConfigValue(const char *text)
{
    if (!text)
        throw std::logic_error("ConfigValue: null text"); // by hand, since not every compiler's string rejects it
    text_ = text;
}

ConfigValue::ConfigValue(const ConfigValue &other)
    : references_(other.references_ ? new ReferenceBlock(*other.references_) : nullptr), text_(other.text_),
      type_(other.type_)
{
}

ConfigValue &ConfigValue::operator=(const ConfigValue &other)
{
    if (this == &other)
        return *this;
    ConfigValue copy(other); // so that running out of memory leaves this value whole
    std::swap(references_, copy.references_);
    std::swap(text_, copy.text_);
    std::swap(type_, copy.type_);
    return *this;
}

ConfigValue::~ConfigValue() = default;

void ConfigValue::clear()
{
    text_.clear();
    type_ = Plain;
    references_.reset();
}

void ConfigValue::setString(const std::string &text)
{
    text_ = trimmed(text);
}

void ConfigValue::addReference(const std::string &group, const std::string &key, std::uint32_t position)
{
    ensureReferences().append(group, key, position);
    type_ = WithReferences;
}

ConfigValue::Type ConfigValue::type() const
{
    return type_;
}

const std::string &ConfigValue::data() const
{
    return text_;
}

const char *ConfigValue::c_str() const
{
    return text_.c_str();
}

const std::vector<std::pair<std::string, std::string>> &ConfigValue::references() const
{
    return references_ ? references_->references : NoReferences;
}

bool ConfigValue::empty() const
{
    return text_.empty() && references().empty();
}

bool ConfigValue::operator==(const ConfigValue &other) const
{
    const bool sameReferences = references_ && other.references_ ? *references_ == *other.references_
                                                                 : references().empty() && other.references().empty();
    return sameReferences && text_ == other.text_;
}

std::string ConfigValue::resolve(const std::vector<std::string> &resolved) const
{
    if (!references_)
        return text_;
    const auto &positions = references_->positions;
    if (positions.size() != resolved.size()) {
        // Both counts are one raw byte on purpose: the bytes of a record are part of the interface.
        logWarning(lConfigParser) << "ConfigValue references size " << static_cast<char>(positions.size())
                                  << " mismatch with resolve list size " << static_cast<char>(resolved.size());
        return text_;
    }
    return std::is_sorted(positions.begin(), positions.end()) ? mergeInOrder(text_, positions, resolved)
                                                              : insertOneByOne(text_, positions, resolved);
}

ConfigValue &ConfigValue::operator+=(const ConfigValue &other)
{
    if (this == &other)
        return *this += ConfigValue(other);
    const auto offset = text_.size();
    text_ += other.text_;
    try {
        if (other.references_)
            ensureReferences().append(*other.references_, static_cast<std::uint32_t>(offset));
    } catch (...) { // where memory runs out, nothing is added
        text_.resize(offset);
        throw;
    }
    if (other.type_ == WithReferences)
        type_ = WithReferences;
    return *this;
}

ConfigValue ConfigValue::operator+(const ConfigValue &other) const
{
    ConfigValue sum(*this);
    sum += other;
    return sum;
}

ConfigValue::ReferenceBlock &ConfigValue::ensureReferences()
{
    if (!references_)
        references_ = std::make_unique<ReferenceBlock>();
    return *references_;
}

// Stores a finished text trimmed, and moves the positions from one reference on accordingly.
void ConfigValue::setSubstituted(std::string_view text, std::size_t firstReference)
{
    const auto kept = trimmed(text);
    text_ = kept;
    if (!references_)
        return;
    for (auto i = firstReference; i < references_->positions.size(); ++i) {
        auto &position = references_->positions[i];
        position = static_cast<std::uint32_t>(offsetAfterTrim(position, text, kept));
    }
}

std::ostream &operator<<(std::ostream &stream, const ConfigValue &value)
{
    return stream << value.data();
}

} // namespace Tovrin::Parser
