// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config_parser_private.h"

#include <tovrin/parser/config_parser.h>

namespace Tovrin::Parser {

// Where a walk over the present entries of a store stands. At the end both positions are null.
class ConfigParserIteratorPrivate {
public:
    ConfigParserIteratorPrivate(const ConfigParserPrivate *store, bool atEnd);

    bool operator==(const ConfigParserIteratorPrivate &) const = default;

    // Goes to the next present entry; stays at the end.
    void next();

    // The entry with its values resolved; all empty at the end.
    ConfigParserIterator::value_type current() const;

private:
    void enterGroup(const ValueStore::Group *group);
    void skipToPresent();

    const ConfigParserPrivate *store_;
    const ValueStore::Group *group_ = nullptr;
    const ValueStore::Entry *entry_ = nullptr;
};

} // namespace Tovrin::Parser
