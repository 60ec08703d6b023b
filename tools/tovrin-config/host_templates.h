// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

#include <tovrin/parser/substitutor.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace Tovrin::Tool {

class Problems;

// Fills in templates as a program does, as far as the options allow.
class HostTemplates {
public:
    enum class Result {
        Text,
        Reference, // another entry
        Kept,      // not run, or not looked up
        Failed,    // and has been reported, if only with -v
    };

    HostTemplates(const CommonOptions &common, const HostOptions &host, Problems &problems);

    // Looks up what stands between "${" and "}". The names of a reference are parts of it.
    Result lookUp(std::string_view contents);

    const std::string &text() const { return text_; }
    std::pair<std::string_view, std::string_view> reference() const { return reference_; }

    // How many `system` templates were met, but not run.
    std::size_t notRun() const { return notRun_; }

private:
    Result run(std::string_view command);
    Result askLibrary(std::string_view contents);

    const CommonOptions &common_;
    const HostOptions &host_;
    Problems &problems_;
    Parser::Substitutor substitutor_;
    std::string text_;
    std::pair<std::string_view, std::string_view> reference_;
    std::size_t notRun_ = 0;
};

} // namespace Tovrin::Tool
