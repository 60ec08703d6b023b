// SPDX-License-Identifier: Apache-2.0
#include "json_output.h"

#include "template_text.h"

namespace Tovrin::Tool {

std::string jsonText(const Json &json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json originOf(const Evaluation::Value &value)
{
    return {{"path", value.file->path}, {"line", value.assignment->line}};
}

Json nameOf(std::string_view group, std::string_view key)
{
    return {{"group", group}, {"key", key}};
}

void addKeptTemplates(Json &json, std::string_view templateText)
{
    for (const auto kept : keptTemplates(templateText))
        json[isCommand(kept) ? "notRun" : "notLookedUp"].push_back(kept);
}

} // namespace Tovrin::Tool
