// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/substitutor.h>

#include "template_filler.h"

#include <tovrin/parser/config_value.h>

namespace Tovrin::Parser {

Substitutor::Substitutor(std::uint32_t userId) : userId_(userId)
{
}

Substitutor::Substitutor(const Substitutor &other) : userId_(other.userId_)
{
    // No templates: whoever copies a substitutor registers those of the copy.
}

bool Substitutor::contains(const std::string &name) const
{
    return templates_.count(name) != 0;
}

bool Substitutor::substituted(const std::string &text, ConfigValue &value) const
{
    const auto firstReference = value.references().size();
    TemplateFiller filler(*this);
    const bool filled =
        filler.fill(text, [&value](std::string_view group, std::string_view key, std::uint32_t position) {
            value.addReference(std::string(group), std::string(key), position);
        });
    if (filled)
        value.setSubstituted(filler.output(), firstReference);
    return filled;
}

} // namespace Tovrin::Parser
