// SPDX-License-Identifier: Apache-2.0
#include "template_sources.h"

#include "template_contents.h"

#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logDebug;
using Logging::logError;

namespace {

// One template that is being looked up.
struct Lookup {
    std::string_view name;     // all that stands between "${" and "}"
    std::string_view argument; // what stands behind the source and its ":"
    std::uint32_t userId;
    std::string &out;
    std::pair<std::string_view, std::string_view> &reference;

    std::string nameText() const { return std::string(name); }
    std::string argumentText() const { return std::string(argument); }
};

ResolveResult failToRead(const std::string &what, const std::string &where, const Lookup &lookup)
{
    logDebug(lConfigParser) << "Failed to read '" << what << "' from " << where << " for template '"
                            << lookup.nameText() << "'";
    return ResolveFailed;
}

ResolveResult textUnlessEmpty(std::string text, const char *where, Lookup &lookup)
{
    if (text.empty())
        return failToRead(lookup.argumentText(), where, lookup);
    lookup.out = std::move(text);
    return ResolvedToText;
}

ResolveResult resolveConfig(Lookup &lookup)
{
    const auto names = parseConfigArgument(lookup.argument);
    if (!names) {
        logError(lConfigParser) << "Invalid format '" << lookup.argumentText() << "' for conf template '"
                                << lookup.nameText() << "'";
        return ResolveFailed;
    }
    lookup.reference = *names;
    lookup.out.clear();
    return ResolvedToReference;
}

ResolveResult resolveEnv(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getenv2(lookup.argumentText().c_str(), ""), "environment variables", lookup);
}

ResolveResult resolveEnvFile(Lookup &lookup)
{
    const auto names = parseEnvFileArgument(lookup.argument);
    if (!names) {
        logError(lConfigParser) << "Invalid envfile definition '" << lookup.nameText() << "'";
        return ResolveFailed;
    }
    const std::string path(names->first);
    const std::string variable(names->second);
    auto value = Helpers::readEnvFile(path, variable, false);
    if (!value)
        return failToRead(variable, "environment file '" + path + "'", lookup);
    lookup.out = std::move(*value);
    return ResolvedToText;
}

ResolveResult failToResolve(const char *what, const Lookup &lookup)
{
    logDebug(lConfigParser) << "Failed to resolve '" << lookup.argumentText() << "' " << what << " for template '"
                            << lookup.nameText() << "'";
    return ResolveFailed;
}

ResolveResult resolveRealpath(Lookup &lookup)
{
    lookup.out = Helpers::realpath2(lookup.argumentText());
    return lookup.out.empty() ? failToResolve("path", lookup) : ResolvedToText;
}

ResolveResult resolveDconf(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getDconfValue(lookup.argumentText(), lookup.userId), "dconf", lookup);
}

ResolveResult resolveProp(Lookup &lookup)
{
    return textUnlessEmpty(Helpers::getprop(lookup.argumentText()), "properties", lookup);
}

// A command that succeeds silently gives an empty text.
ResolveResult resolveSystem(Lookup &lookup)
{
    int status = 0;
    lookup.out = Helpers::trim(Helpers::capture(lookup.argumentText(), {}, &status));
    if (status == 0)
        return ResolvedToText;
    lookup.out.clear();
    return failToResolve("from system", lookup);
}

// By the numbers of the sources.
constexpr std::array<ResolveResult (*)(Lookup &), TemplateSourceNames.size()> Sources{
    resolveConfig, resolveEnv, resolveEnvFile, resolveRealpath, resolveDconf, resolveProp, resolveSystem,
};

} // namespace

int Substitutor::resolve(const std::string &name, std::string &out,
                         std::pair<std::string, std::string> &reference) const
{
    std::pair<std::string_view, std::string_view> names;
    const int result = resolveView(name, out, names);
    if (result == ResolvedToReference)
        reference = names;
    return result;
}

int Substitutor::resolveView(std::string_view name, std::string &out,
                             std::pair<std::string_view, std::string_view> &reference) const
{
    const auto [source, argument] = parseTemplateContents(name);
    if (source == TemplateSource::Unknown) {
        logError(lConfigParser) << "Invalid template '" << std::string(name) << "'";
        return ResolveFailed;
    }
    if (source == TemplateSource::Registered) {
        const auto found = templates_.find(std::string(name));
        if (found == templates_.end()) {
            logError(lConfigParser) << "No such template '" << std::string(name) << "'";
            return ResolveFailed;
        }
        out = found->second;
        return ResolvedToText;
    }
    Lookup lookup{name, argument, userId_, out, reference};
    return Sources[static_cast<std::size_t>(source)](lookup);
}

} // namespace Tovrin::Parser
