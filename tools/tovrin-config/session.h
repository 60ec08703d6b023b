// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "evaluation.h"
#include "host_templates.h"
#include "problems.h"
#include "resolution.h"
#include "sources.h"

#include <optional>

namespace Tovrin::Tool {

// One run of a command that evaluates a configuration: everything read, and what goes to standard error.
class Session {
public:
    // The options must outlive the session.
    Session(const CommonOptions &common, const HostOptions &host);

    // False if the file of --keys is wrong, which has been reported; there is nothing to show then.
    bool ready() const { return evaluation_.has_value(); }

    const Sources &sources() const { return sources_; }
    const Evaluation &evaluation() const { return *evaluation_; }
    Resolution resolution() { return {*evaluation_, problems_}; }
    Problems &problems() { return problems_; }

    // Writes the answer to standard output, says how many commands were not run, and returns the exit code.
    ExitCode finish(std::string_view answer);

private:
    Problems problems_;
    HostTemplates templates_;
    std::vector<KnownKey> knownKeys_;
    Sources sources_;
    std::optional<Evaluation> evaluation_;
};

} // namespace Tovrin::Tool
