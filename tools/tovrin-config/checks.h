// SPDX-License-Identifier: Apache-2.0
#pragma once

// What check looks for. Each of the functions below finds one family of things; none depends on another.

#include "check_model.h"
#include "findings.h"
#include "lint_access.h"
#include "options.h"
#include "sources.h"

#include <vector>

namespace Tovrin::Tool {

struct CheckContext {
    const CheckOptions &options;
    const Sources &sources;
    const WriteAccess &access;
    const std::vector<KnownKey> &knownKeys;
    const Model &model;
};

// "PATH:LINE", for texts that name another place than their own.
std::string placeOf(const Model::Setting &setting);

// Add a finding about a place in the line of an assignment, or of one of its items.
void addAt(const Model::Setting &setting, std::size_t column, FindingId id, std::string text, Findings &findings);
void addAt(const Model &model, const Model::Item &item, std::size_t offset, FindingId id, std::string text,
           Findings &findings);

// Files that are not read, or not in the order that a person expects.
void lintFiles(const CheckContext &context, Findings &findings);

// Files and directories that others may write.
void lintAccess(const CheckContext &context, Findings &findings);

// Lines that end the reading, and white space that does something else than it seems.
void lintLines(const CheckContext &context, Findings &findings);

// Templates that fail whatever the host says, or are not what they seem.
void lintTemplates(const CheckContext &context, Findings &findings);

// Names that are mistyped.
void checkNames(const CheckContext &context, Findings &findings);

// Assignments that undo each other, or do nothing.
void checkAssignments(const CheckContext &context, Findings &findings);

// References that lead nowhere, in circles or too far.
void checkReferences(const CheckContext &context, Findings &findings);

// Values that do not convert to the type of their key.
void checkTypes(const CheckContext &context, Findings &findings);

} // namespace Tovrin::Tool
