// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tovrin::Parser {

// One stored value: a literal text, and the other configuration entries whose values belong into it.
//
// A plain value is its text. A value with references is a template that was taken apart: the text without the
// references, plus each reference (group, key) with the byte offset at which its resolved value is to be put back.
// The references are looked up only when the value is read, so a value may name entries that are set later.
//
// Copies are deep. A value is for one thread at a time.
class TOVRIN_EXPORT ConfigValue {
public:
    // Whether there are references; the numbers are fixed.
    enum Type : std::int32_t {
        Plain = 0,
        WithReferences = 1,
    };

    // An empty plain value.
    ConfigValue();

    // A plain value that holds the text verbatim, white space included. Throws std::logic_error for a null pointer.
    ConfigValue(const std::string &text);
    ConfigValue(const char *text);

    // Copies text, references and positions.
    ConfigValue(const ConfigValue &other);
    ConfigValue &operator=(const ConfigValue &other);
    ~ConfigValue();

    // Makes this an empty plain value.
    void clear();

    // Sets the text without its leading and trailing white space. References and their positions stay as they are.
    void setString(const std::string &text);

    // Records that the resolved value of the entry (group, key) belongs at this byte offset of the text. Call it in
    // the order of the positions.
    void addReference(const std::string &group, const std::string &key, std::uint32_t position);

    // WithReferences from the first addReference on, until the value is cleared or assigned from a plain one.
    Type type() const;

    // The stored text; references are not filled in. Valid until the value changes.
    const std::string &data() const;
    const char *c_str() const;

    // The references (group, key), in the order in which they were added; empty for a plain value.
    const std::vector<std::pair<std::string, std::string>> &references() const;

    // True if there is neither text nor reference. A template that is a single reference is not empty.
    bool empty() const;

    // True if texts, references and positions are equal.
    bool operator==(const ConfigValue &other) const;

    // Returns the text with resolved[i] inserted at the place of references()[i].
    //
    // When the counts differ the text comes back without any insertion, and a warning is logged in which the two counts
    // are deliberately one raw byte each, not digits. Throws std::out_of_range for a position beyond the text, which no
    // value built by a Substitutor has.
    std::string resolve(const std::vector<std::string> &resolved) const;

    // Appends the other value: its text, and its references moved by the length of the text before it.
    ConfigValue &operator+=(const ConfigValue &other);
    ConfigValue operator+(const ConfigValue &other) const;

private:
    friend class Substitutor;
    struct ReferenceBlock;

    [[gnu::visibility("hidden")]] ReferenceBlock &ensureReferences();
    [[gnu::visibility("hidden")]] void setSubstituted(std::string_view text, std::size_t firstReference);

    std::unique_ptr<ReferenceBlock> references_; // only while there are references, which keeps plain values small
    std::string text_;
    Type type_ = Plain;
};

// Writes data() alone: no reference is resolved.
TOVRIN_EXPORT std::ostream &operator<<(std::ostream &stream, const ConfigValue &value);

} // namespace Tovrin::Parser
