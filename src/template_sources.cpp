// SPDX-License-Identifier: Apache-2.0
#include "template_sources.h"

#include "text_scan.h"

#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include <array>
#include <string_view>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logDebug;
using Logging::logError;

namespace {

// One template that is being looked up.
struct Lookup {
    const std::string &name; // all that stands between "${" and "}"
    std::string argument;    // what stands behind the source and its ":"
    std::uint32_t userId;
    std::string &out;
    std::pair<std::string, std::string> &reference;
};

ResolveResult failToRead(const std::string &what, const std::string &where, const Lookup &lookup)
{
    logDebug(lConfigParser) << "Failed to read '" << what << "' from " << where << " for template '" << lookup.name
                            << "'";
    return ResolveFailed;
}

ResolveResult textUnlessEmpty(const std::string &text, const char *where, Lookup &lookup)
{
    if (text.empty())
        return failToRead(lookup.argument, where, lookup);
    lookup.out = text;
    return ResolvedToText;
}

// Group and key are exactly two parts between slashes; one slash at the very end is let pass.
ResolveResult resolveConfig(Lookup &lookup)
{
    std::string_view rest = lookup.argument;
    const auto group = takeUntil(rest, '/');
    const auto key = takeUntil(rest, '/');
    if (group.empty() || key.empty() || !rest.empty()) {
        logError(lConfigParser) << "Invalid format '" << lookup.argument << "' for conf template '" << lookup.name
                                << "'";
        return ResolveFailed;
    }
    lookup.reference.first = group;
    lookup.reference.second = key;
    lookup.out.clear();
    return ResolvedToReference;
}

ResolveResult resolveEnv(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getenv2(lookup.argument.c_str(), ""), "environment variables", lookup);
}

// The path ends at the first ":"; the variable name keeps any further one.
ResolveResult resolveEnvFile(Lookup &lookup)
{
    const auto separator = lookup.argument.find(':');
    if (separator == std::string::npos) {
        logError(lConfigParser) << "Invalid envfile definition '" << lookup.name << "'";
        return ResolveFailed;
    }
    const auto path = lookup.argument.substr(0, separator);
    const auto variable = lookup.argument.substr(separator + 1);
    const auto value = Helpers::readEnvFile(path, variable, false);
    if (!value)
        return failToRead(variable, "environment file '" + path + "'", lookup);
    lookup.out = *value;
    return ResolvedToText;
}

ResolveResult failToResolve(const char *what, const Lookup &lookup)
{
    logDebug(lConfigParser) << "Failed to resolve '" << lookup.argument << "' " << what << " for template '"
                            << lookup.name << "'";
    return ResolveFailed;
}

ResolveResult resolveRealpath(Lookup &lookup)
{
    lookup.out = Helpers::realpath2(lookup.argument);
    return lookup.out.empty() ? failToResolve("path", lookup) : ResolvedToText;
}

ResolveResult resolveDconf(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getDconfValue(lookup.argument, lookup.userId), "dconf", lookup);
}

ResolveResult resolveProp(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getprop(lookup.argument), "properties", lookup);
}

// A command that succeeds silently gives an empty text.
ResolveResult resolveSystem(Lookup &lookup)
{
    int status = 0;
    lookup.out = Helpers::trim(Helpers::capture(lookup.argument, {}, &status));
    if (status == 0)
        return ResolvedToText;
    lookup.out.clear();
    return failToResolve("from system", lookup);
}

struct Source {
    std::string_view name;
    ResolveResult (*resolve)(Lookup &);
};

constexpr std::array Sources{
    Source{"config", resolveConfig},     Source{"env", resolveEnv},     Source{"envfile", resolveEnvFile},
    Source{"realpath", resolveRealpath}, Source{"dconf", resolveDconf}, Source{"prop", resolveProp},
    Source{"system", resolveSystem},
};

} // namespace

int Substitutor::resolve(const std::string &name, std::string &out,
                         std::pair<std::string, std::string> &reference) const
{
    const auto separator = name.find(':');
    if (separator == std::string::npos) {
        const auto found = templates_.find(name);
        if (found == templates_.end()) {
            logError(lConfigParser) << "No such template '" << name << "'";
            return ResolveFailed;
        }
        out = found->second;
        return ResolvedToText;
    }
    for (const Source &source : Sources) {
        if (name.compare(0, separator, source.name) == 0) {
            Lookup lookup{name, name.substr(separator + 1), userId_, out, reference};
            return source.resolve(lookup);
        }
    }
    logError(lConfigParser) << "Invalid template '" << name << "'";
    return ResolveFailed;
}

} // namespace Tovrin::Parser
