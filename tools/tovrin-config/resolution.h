// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"

#include <optional>
#include <string>
#include <vector>

namespace Tovrin::Tool {

class Problems;

// Puts the values of references back into values, as ConfigParser does when it is asked for one. The texts are template
// texts.
class Resolution {
public:
    Resolution(const Evaluation &evaluation, Problems &problems) : evaluation_(evaluation), problems_(problems) {}

    // The text of one value. Nothing, with the reason reported, if that takes too many visits; a program gets "" then.
    std::optional<std::string> resolve(const Evaluation::Value &value) const;

    // The same, but says nothing.
    std::optional<std::string> resolveQuietly(const Evaluation::Value &value) const;

    // Calls use(text, value) with the values that a list getter returns. One with references that resolves to nothing
    // is left out. Returns false if one takes too many visits, which leaves it out too.
    template <typename Use> bool forEachResolved(const Evaluation::Entry &entry, Use &&use) const
    {
        bool allResolved = true;
        evaluation_.forEachValue(entry, [&](const Evaluation::Value &value) {
            if (value.isPlain()) {
                use(value.text, value);
                return;
            }
            const auto text = resolve(value);
            allResolved = allResolved && text.has_value();
            if (text && !text->empty())
                use(std::string_view(*text), value);
        });
        return allResolved;
    }

private:
    // `problems` is told of references to keys that are not registered, unless it is null.
    bool append(const Evaluation::Value &value, std::string &out, std::uint32_t &visits, Problems *problems) const;

    const Evaluation &evaluation_;
    Problems &problems_;
};

// The value with its references written as templates again.
std::string rawText(const Evaluation &evaluation, const Evaluation::Value &value);

} // namespace Tovrin::Tool
