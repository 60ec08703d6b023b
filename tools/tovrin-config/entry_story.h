// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"
#include "resolution.h"

#include <optional>
#include <string>
#include <vector>

namespace Tovrin::Tool {

class Session;

// A file of which a program does not see everything that it says about the entry.
struct Unread {
    const SourceFile *file;
    std::string reason;
    std::size_t count;                           // of the assignments that are not read
    std::vector<const Assignment *> assignments; // those to the entry
};

// One reference, and those of the value that it stands for.
struct Contribution {
    const Evaluation::Entry *target;
    const Evaluation::Value *value;  // null if the target is absent
    std::optional<std::string> text; // nothing if it takes too many visits
    bool circular;                   // the value is being resolved already
    std::vector<Contribution> references;
};

// One value that is left.
struct Result {
    std::optional<std::string> text; // nothing if it takes too many visits
    const Evaluation::Value *value;
    std::vector<Contribution> references;
};

// All there is to tell about one entry.
class EntryStory {
public:
    // The names and the session must outlive the story. Reports the values that cannot be resolved.
    EntryStory(const std::string &entryGroup, const std::string &entryKey, Session &session);

    // True if any file assigns to the entry, read or not.
    bool isAssigned() const;

    // The template text that the event stored; empty if it stored none.
    std::string_view stored(const Evaluation::Event &event) const { return evaluation_.value(event.value).text; }

    bool anyKnown() const { return evaluation_.anyKnown(); }

    const std::string &group;
    const std::string &key;
    const Evaluation::Entry *entry; // null if nothing names it
    std::vector<const Evaluation::Event *> events;
    std::vector<Unread> unread;
    std::vector<Result> results;

private:
    using Path = std::vector<const Evaluation::Value *>; // that are being resolved

    bool isAboutEntry(const Assignment &assignment) const;
    void addUnread(const SourceFile &file);
    void addUnread(const SourceFile &file, const std::string &reason, const std::vector<Assignment> &assignments);
    void addResult(const Evaluation::Value &value);
    std::vector<Contribution> contributions(const Evaluation::Value &value, Path &path, std::uint32_t &visits);

    const Evaluation &evaluation_;
    Resolution resolution_;
};

// The story for people to read; coloured, if that is wanted, for standard output.
std::string textOf(const EntryStory &story, Color color);

// The story for programs.
std::string jsonOf(const EntryStory &story);

} // namespace Tovrin::Tool
