// SPDX-License-Identifier: Apache-2.0
#pragma once

// Template texts: see evaluation.h.

#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

// Appends characters that stand for themselves.
void appendAsText(std::string &templateText, std::string_view characters);

// The characters; a kept template stands for itself.
std::string charactersOf(std::string_view templateText);

// The templates that were kept, with "${" and "}", in their order. References, in a text that has them, are none.
std::vector<std::string_view> keptTemplates(std::string_view templateText);

// Whether a kept template is a command.
bool isCommand(std::string_view keptTemplate);

} // namespace Tovrin::Tool
