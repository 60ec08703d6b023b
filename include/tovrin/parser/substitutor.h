// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace Tovrin::Parser {

class ConfigValue;

// Fills in the templates of a text.
//
//     $$                      a dollar sign
//     ${NAME}                 the text registered under NAME with ConfigParser::addTemplate
//     ${config:GROUP/KEY}     the value of another configuration entry, looked up when the value is read
//     ${env:NAME}             an environment variable; unset and empty ones fail
//     ${envfile:PATH:NAME}    a variable of an environment file
//     ${realpath:PATH}        the canonical path of an existing file
//     ${dconf:KEY}            a dconf setting of the user
//     ${prop:NAME}            an Android property
//     ${system:COMMAND}       what a shell command prints, trimmed; it must exit with status 0
//
// A template ends at the first "}": there is no nesting and no escape inside one. Source names are case-sensitive.
//
// Malformed templates are logged as errors through Logging::lConfigParser, look-ups that merely find nothing as debug
// records. For one thread at a time.
class TOVRIN_EXPORT Substitutor {
public:
    // Without any registered template; per-user sources read the settings of the user.
    explicit Substitutor(std::uint32_t userId);

    // Takes the user id alone: the copy knows no template. That is deliberate.
    Substitutor(const Substitutor &other);

    // True if a template is registered under this name.
    bool contains(const std::string &name) const;

    // Fills in all templates of the text, and stores the result in `value`, white space at its ends removed. Templates
    // of the source "config" are recorded in `value` as references, at the position where their value belongs.
    //
    // Returns false, with a logged reason, at a syntax error or a look-up that fails. The text of `value` is untouched
    // then, but references met before the failure stay in it: clear it.
    bool substituted(const std::string &text, ConfigValue &value) const;

    // Looks up the contents of one template, what stands between "${" and "}"; `out` is another string than `name`.
    //
    // Returns 0 with the text in `out`; 2 for another configuration entry, with its group and key in `reference` and
    // `out` empty; or 1 for a failure that has been logged, with nothing promised about `out`.
    int resolve(const std::string &name, std::string &out, std::pair<std::string, std::string> &reference) const;

private:
    friend class ConfigParserPrivate; // registers templates
    friend class TemplateFiller;

    // resolve() without copies: the names of a reference are parts of `name`.
    [[gnu::visibility("hidden")]] int resolveView(std::string_view name, std::string &out,
                                                  std::pair<std::string_view, std::string_view> &reference) const;

    std::map<std::string, std::string> templates_;
    std::uint32_t userId_;
};

} // namespace Tovrin::Parser
