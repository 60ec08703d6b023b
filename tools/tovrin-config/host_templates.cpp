// SPDX-License-Identifier: Apache-2.0
#include "host_templates.h"

#include "command_runner.h"
#include "problems.h"
#include "template_contents.h"

#include <tovrin/parser/helpers.h>

namespace Tovrin::Tool {

using Parser::TemplateSource;

HostTemplates::HostTemplates(const CommonOptions &common, const HostOptions &host, Problems &problems)
    : common_(common), host_(host), problems_(problems), substitutor_(common.uid)
{
}

HostTemplates::Result HostTemplates::lookUp(std::string_view contents)
{
    const auto [source, argument] = Parser::parseTemplateContents(contents);
    switch (source) {
    case TemplateSource::Config:
        if (const auto names = Parser::parseConfigArgument(argument)) {
            reference_ = *names;
            return Result::Reference;
        }
        return askLibrary(contents); // which says what is wrong
    case TemplateSource::Registered:
        if (const auto found = common_.templates.find(std::string(contents)); found != common_.templates.end()) {
            text_ = found->second;
            return Result::Text;
        }
        return askLibrary(contents);
    case TemplateSource::System:
        return run(argument);
    case TemplateSource::EnvFile:
        if (!Parser::parseEnvFileArgument(argument))
            return askLibrary(contents);
        break;
    case TemplateSource::Unknown:
        return askLibrary(contents);
    default:
        break;
    }
    return host_.offline ? Result::Kept : askLibrary(contents);
}

HostTemplates::Result HostTemplates::run(std::string_view command)
{
    if (!host_.runCommands) {
        ++notRun_;
        return Result::Kept;
    }
    const std::string line(command.substr(0, command.find('\0'))); // all that a shell is given of it
    const auto result = runCommand(line, host_.timeout);
    const auto reason = "the command '" + line + "' " + result.reason;
    switch (result.end) {
    case CommandResult::End::Success:
        text_ = Parser::Helpers::trim(result.output);
        return Result::Text;
    case CommandResult::End::Failure:
        problems_.warnHere(reason); // for a program it is no error either
        break;
    case CommandResult::End::Prevented:
        problems_.errorHere(reason);
        break;
    }
    return Result::Failed;
}

HostTemplates::Result HostTemplates::askLibrary(std::string_view contents)
{
    std::pair<std::string, std::string> names;
    text_.clear();
    return substitutor_.resolve(std::string(contents), text_, names) == 0 ? Result::Text : Result::Failed;
}

} // namespace Tovrin::Tool
