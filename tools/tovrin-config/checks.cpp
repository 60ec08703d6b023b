// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

namespace Tovrin::Tool {

std::string placeOf(const Model::Setting &setting)
{
    return setting.file->path + ":" + std::to_string(setting.assignment->line);
}

void addAt(const Model::Setting &setting, std::size_t column, FindingId id, std::string text, Findings &findings)
{
    findings.add(id, setting.file->path, setting.assignment->line, column, std::move(text));
}

void addAt(const Model &model, const Model::Item &item, std::size_t offset, FindingId id, std::string text,
           Findings &findings)
{
    addAt(model.setting(item.setting), model.columnOf(item, offset), id, std::move(text), findings);
}

} // namespace Tovrin::Tool
