// SPDX-License-Identifier: Apache-2.0
#pragma once

// One item of a value, taken apart as TemplateFiller does it, but without looking anything up.

#include "template_contents.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

using RegisteredTemplates = std::map<std::string, std::string>;

// Why a template fails whatever the host says.
enum class TemplateFault { None, UnknownSource, UnknownTemplate, ConfigForm, EnvfileForm };

TemplateFault faultOf(const Parser::TemplateContents &contents, const RegisteredTemplates &registered);

struct FilledItem {
    struct Reference {
        std::string_view group;
        std::string_view key;
        std::size_t offset;   // of its "${" in the item
        std::size_t position; // in the output
    };

    enum class Outcome {
        Stored,
        Depends, // on a look-up: the item is stored if that finds something
        Fails,
    };

    Outcome outcome = Outcome::Stored;
    std::string output; // not trimmed yet; with one "?" for all that a look-up would insert
    std::vector<Reference> references;

    // Neither a text nor a reference.
    bool blank() const;
};

// Fills one item after the other; what it returned last is valid until the next one.
class ItemFiller {
public:
    explicit ItemFiller(const RegisteredTemplates &registered) : registered_(registered) {}

    const FilledItem &fill(std::string_view item);

private:
    void addTemplate(std::string_view contents, std::size_t offset);

    const RegisteredTemplates &registered_;
    FilledItem filled_;
};

// Where in the item white space beside a reference gets lost, since trimming comes before the references are filled
// in; npos if it does not.
std::size_t referenceBesideLostSpace(const FilledItem &item);

} // namespace Tovrin::Tool
