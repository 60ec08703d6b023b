// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace Tovrin::Parser {

class ConfigParserIterator;
class ConfigParserIteratorPrivate;
class ConfigParserPrivate;

// The configuration store: start here.
//
// Register the keys that the program understands with addKey(), read key files with readConfig() (or whole directories
// with ConfigDirParser), then ask typed questions with getValue().
//
// Each value of a file is split at ";" into items, templates in the items are filled in while the file is read, and
// references to other entries ("${config:GROUP/KEY}") are resolved each time a value is asked for. A key holds a list
// of values; "KEY=" with nothing behind it removes all that the key holds so far.
//
// Bad input never throws: it is logged through Logging::lConfigParser and reported by the result. A parser and its
// iterators are for one thread at a time.
class TOVRIN_EXPORT ConfigParser {
public:
    // What a later item of a key does to the earlier ones.
    enum ReplacementBehaviour : std::int32_t {
        Replace = 0, // each item replaces all that the key holds: the last item of the last file stays
        Amend = 1,   // each item is appended to the key's list
    };

    // The user id that stands for no user; the value of Constants::BadUid.
    static const std::uint32_t BadUid;

    // An empty parser. Per-user sources ("${dconf:...}") read the settings of the user uid; BadUid leaves them as they
    // are for the process.
    explicit ConfigParser(std::uint32_t uid);

    // A deep copy: values, registered keys, templates and user id.
    ConfigParser(const ConfigParser &other);

    // Takes everything over; the other parser may only be destroyed afterwards.
    ConfigParser(ConfigParser &&other) noexcept;

    ~ConfigParser();

    // Registers a key. The first registration of a pair wins, silently. A parser with no registered key accepts every
    // key and amends; with the first registration all other keys are ignored by the files read afterwards.
    void addKey(const std::string &group, const std::string &key, ReplacementBehaviour behaviour);

    // Registers the text that "${name}" inserts, verbatim: templates inside it are not expanded. The first registration
    // of a name wins, silently.
    void addTemplate(const std::string &name, const std::string &value);

    // Logs a warning if keys are registered and this one is not among them.
    void checkKey(const std::string &group, const std::string &key) const;

    // True once a value was stored in the group, or a list getter asked for a key of it; also when all its keys were
    // dropped since.
    bool contains(const std::string &group) const;

    // True if the key has an entry. Warns as checkKey() does.
    bool contains(const std::string &group, const std::string &key) const;

    // Reads one key file on top of what the parser holds.
    //
    // Returns false, with logged reasons, if the file cannot be read or holds a bad line; reading stops there and what
    // was read before stays. An item whose template cannot be filled in is left out; that alone is no failure. Entries
    // of unregistered keys are skipped without a word.
    //
    // A file must end with a newline: at an unterminated last line the reader stays for ever, and this call does not
    // return. That is deliberate, and `tovrin-config` is there to find such files before a daemon does.
    bool readConfig(const std::string &path);

    // Walks all (group, key) pairs, keys of one group together, in no particular order. Valid while the parser lives
    // and nothing is added to it or removed from it; a list getter for an absent key adds one.
    ConfigParserIterator begin() const;
    ConfigParserIterator end() const;

    // Single values: the key's last value, resolved and converted, is stored in `out`.
    //
    // Ask contains() first: for a key without values `out` is left untouched and `ok`, if given, becomes false. A bool
    // is true for exactly "true"; numbers follow Helpers::stringToNumber, and what that returns for a bad text is
    // stored too. `ok` becomes true if the text was a valid value of the type ("true" or "false" for a bool).
    //
    // Resolving visits at most 33 values, however they are nested; more, or a circle of references, logs "Max depth
    // reached, possibly circular reference." and gives an empty text.
    void getValue(const std::string &group, const std::string &key, bool &out) const;
    void getValue(const std::string &group, const std::string &key, bool &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, std::string &out) const;
    void getValue(const std::string &group, const std::string &key, int &out) const;
    void getValue(const std::string &group, const std::string &key, int &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, long long &out) const;
    void getValue(const std::string &group, const std::string &key, long long &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, double &out) const;
    void getValue(const std::string &group, const std::string &key, double &out, bool *ok) const;

    // Lists: all values of the key in order, appended to `out`, which is not cleared.
    //
    // A value with references that resolves to an empty text is skipped; a plain empty one is not. Items that do not
    // convert are appended all the same, and make `ok`, if given, false. As a side effect an absent key gets an empty
    // entry, so that contains() is true for it afterwards.
    void getValue(const std::string &group, const std::string &key, std::vector<bool> &out) const;
    void getValue(const std::string &group, const std::string &key, std::vector<bool> &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, std::vector<std::string> &out) const;
    void getValue(const std::string &group, const std::string &key, std::vector<int> &out) const;
    void getValue(const std::string &group, const std::string &key, std::vector<int> &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, std::vector<long long> &out) const;
    void getValue(const std::string &group, const std::string &key, std::vector<long long> &out, bool *ok) const;
    void getValue(const std::string &group, const std::string &key, std::vector<double> &out) const;
    void getValue(const std::string &group, const std::string &key, std::vector<double> &out, bool *ok) const;

private:
    std::unique_ptr<ConfigParserPrivate> d_; // all state; empty only after a move
};

// Where a walk over a ConfigParser stands. Dereferencing resolves the key's values afresh each time.
class TOVRIN_EXPORT ConfigParserIterator {
public:
    // One (group, key) with its resolved values; a copy, independent of the parser.
    class TOVRIN_EXPORT value_type {
    public:
        // Holds copies of the names, and one value or a list of them.
        value_type(const std::string &group, const std::string &key, const std::string &value);
        value_type(const std::string &group, const std::string &key, const std::vector<std::string> &values);
        value_type(const value_type &other);
        value_type &operator=(const value_type &other);
        ~value_type();

        // The name of the group; "" for entries before the first header of a file.
        std::string group() const;

        // The name of the key.
        std::string key() const;

        // The values, in the order in which a list getter gives them.
        std::vector<std::string> value() const;

        // Equal if group, key and all values are.
        //
        // Deliberately not const: this is how the exported interface has them. So clang warns in C++20
        // (-Wambiguous-reversed-operator), unless one side of the comparison is const.
        bool operator==(const value_type &other);
        bool operator!=(const value_type &other);

    private:
        std::vector<std::string> value_;
        std::string key_;
        std::string group_;
    };

    // An input iterator: each dereferencing makes a new value_type, so there is nothing to point to.
    using iterator_category = std::input_iterator_tag;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = value_type;

    // The first entry of the store, which must outlive the iterator, or its end. Programs call ConfigParser::begin()
    // and end(). Copies stand where the original stands, and move on their own.
    ConfigParserIterator(const ConfigParserPrivate *store, bool atEnd);
    ConfigParserIterator(const ConfigParserIterator &other);
    ConfigParserIterator &operator=(const ConfigParserIterator &other);
    ~ConfigParserIterator();

    // Goes to the next entry; the end stays where it is. The second form returns where the iterator stood before.
    ConfigParserIterator &operator++();
    ConfigParserIterator operator++(int);

    // Iterators of two parsers are never equal, not even their ends.
    bool operator==(const ConfigParserIterator &other) const;
    bool operator!=(const ConfigParserIterator &other) const;

    // At the end: empty group, key and list. A value with references that resolves to nothing leaves no element.
    value_type operator*() const;

private:
    std::unique_ptr<ConfigParserIteratorPrivate> d_;
};

} // namespace Tovrin::Parser
