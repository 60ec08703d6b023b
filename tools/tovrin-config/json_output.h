// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Tovrin::Tool {

// Keeps the members in the order in which they are added.
using Json = nlohmann::ordered_json;

// Indented, with a newline at the end. Bytes that are no UTF-8, which JSON cannot hold, become U+FFFD.
std::string jsonText(const Json &json);

// {"path", "line"}
Json originOf(const Evaluation::Value &value);

// {"group", "key"}
Json nameOf(std::string_view group, std::string_view key);

// Adds "notRun" and "notLookedUp", each a list of the templates that the text keeps, unless they are empty.
void addKeptTemplates(Json &json, std::string_view templateText);

} // namespace Tovrin::Tool
