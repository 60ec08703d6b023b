// SPDX-License-Identifier: Apache-2.0
#include "check.h"

#include "checks.h"
#include "problems.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Tovrin::Tool {

namespace {

constexpr std::array Checks{lintFiles,  lintAccess,       lintLines,       lintTemplates,
                            checkNames, checkAssignments, checkReferences, checkTypes};

bool areErrors(const Findings &findings, bool strict)
{
    return findings.count(Severity::Error) > 0 || (strict && findings.count(Severity::Warning) > 0);
}

} // namespace

Findings findingsIn(const CheckOptions &options, const std::vector<KnownKey> &knownKeys)
{
    const auto sources = readSources(options.paths, Naming::Exact);
    const WriteAccess access(sources);
    const Model model(sources, knownKeys, options.templates);
    Findings findings;
    for (const auto &run : Checks)
        run({options, sources, access, knownKeys, model}, findings);
    findings.sort();
    return findings;
}

ExitCode check(const CheckOptions &options)
{
    Problems problems(options);
    std::vector<KnownKey> knownKeys;
    if (!options.keysFile.empty()) {
        auto known = readKeysFile(options.keysFile, problems);
        if (!known)
            return Misuse;
        knownKeys = std::move(*known);
    }
    const auto findings = findingsIn(options, knownKeys);
    const auto answer = options.format == Format::Json ? findings.json() : findings.text(options.color);
    if (std::fwrite(answer.data(), 1, answer.size(), stdout) != answer.size() || std::fflush(stdout) != 0)
        problems.report("cannot write to standard output: " + std::string(std::strerror(errno)));
    problems.noteCommandsNotRun(findings.count(FindingId::RunsCommand) + findings.count(FindingId::UnsafeCommand));
    return areErrors(findings, options.strict) || problems.count() > 0 ? Failure : Success;
}

} // namespace Tovrin::Tool
