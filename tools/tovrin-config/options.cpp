// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include "keys_file.h"
#include "nearest.h"

#include <tovrin/parser/helpers.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <memory>

namespace Tovrin::Tool {

namespace {

const char *const ExitCodes = "Exit codes:\n"
                              "  0  fine\n"
                              "  1  something could not be read, found or resolved, or is an error in the\n"
                              "     configuration; the reasons are on standard error, those of check are its answer\n"
                              "  2  the command line, or the file of --keys, is wrong\n";

const char *const OnTemplates =
    "Templates are looked up as a program that reads the files would do it, except that no\n"
    "command of ${system:...} runs unless --run-commands is given: such a template stays as\n"
    "its text.\n\n";

// Without a command, what stands behind it is not known from the options of the program itself.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App *app, std::string name) const override
    {
        return app->get_parent() ? Formatter::make_usage(app, name)
                                 : "Usage: " + name + " COMMAND [OPTION...] [PATH...]\n";
    }
};

template <typename T> using Choices = std::vector<std::pair<std::string, T>>;

// An option with a fixed set of words.
template <typename T>
CLI::Option *addChoice(CLI::App &command, const std::string &name, T &target, const Choices<T> &choices,
                       const std::string &description)
{
    std::vector<std::string> words;
    for (const auto &[word, value] : choices)
        words.push_back(word);
    const auto choose = [name, choices, words, &target](const std::string &word) {
        const auto found = std::find(words.begin(), words.end(), word);
        if (found == words.end())
            throw CLI::ValidationError(name, "'" + word + "' is not one of " + CLI::detail::join(words, ", "));
        target = choices[static_cast<std::size_t>(found - words.begin())].second;
    };
    return command.add_option_function<std::string>(name, choose, description)
        ->type_name(CLI::detail::join(words, "|"));
}

template <typename T>
T number(const std::string &option, const std::string &word, T least, T greatest, const std::string &expected)
{
    T result{};
    const auto end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, result);
    if (error != std::errc() || stop != end || !(result >= least && result <= greatest))
        throw CLI::ValidationError(option, "'" + word + "' is not a number " + expected);
    return result;
}

void addTemplate(CommonOptions &options, const std::string &definition)
{
    const auto separator = definition.find('=');
    if (separator == std::string::npos)
        throw CLI::ValidationError("--template", "'" + definition + "' is not of the form NAME=VALUE");
    options.templates.emplace(definition.substr(0, separator), definition.substr(separator + 1));
}

// Called last, since positional arguments are taken in the order of their definition.
void addCommon(CLI::App &command, CommonOptions &options)
{
    auto *paths = command
                      .add_option("PATH", options.paths,
                                  "Key files, and directories of *.conf files, each on top of those before it "
                                  "(default: " +
                                      Parser::Constants::DefaultConfigDirectory + ")")
                      ->type_name("");
    const auto readBelow = [&options](const std::string &root) {
        options.paths = {(root.ends_with('/') ? root.substr(0, root.size() - 1) : root) +
                         Parser::Constants::DefaultConfigDirectory};
    };
    command.add_option_function<std::string>("--root", readBelow, "Read the default directory below this one")
        ->type_name("DIR")
        ->excludes(paths);
    const auto setUid = [&options](const std::string &word) {
        options.uid = number<std::uint32_t>("--uid", word, 0, Parser::Constants::BadUid, "from 0 to 4294967295");
    };
    command.add_option_function<std::string>("--uid", setUid, "The user whose dconf settings count (default: none)")
        ->type_name("UID");
    const auto addTemplates = [&options](const std::vector<std::string> &definitions) {
        for (const auto &definition : definitions)
            addTemplate(options, definition);
    };
    command
        .add_option_function<std::vector<std::string>>("--template", addTemplates,
                                                       "What ${NAME} inserts; may be given again")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    command
        .add_option("--keys", options.keysFile,
                    "The keys that the program registers, as lines 'KEY=replace|amend[;TYPE]' below their [GROUP] "
                    "(default: every key counts, and keeps all its values)")
        ->type_name("FILE");
    addChoice<Format>(command, "--format", options.format, {{"text", Format::Text}, {"json", Format::Json}},
                      "How to print the answer (default: text)");
    command.add_flag("-v,--verbose", options.verbose, "Say which templates found nothing");
    addChoice<Color>(command, "--color", options.color,
                     {{"auto", Color::Auto}, {"always", Color::Always}, {"never", Color::Never}},
                     "Whether to use colours (default: auto, on a terminal)");
}

void addHost(CLI::App &command, HostOptions &options)
{
    auto *offline = command.add_flag("--offline", options.offline,
                                     "Look nothing up on this host: those templates stay as their text");
    auto *run =
        command.add_flag("--run-commands", options.runCommands, "Run the commands of ${system:...}")->excludes(offline);
    const auto setTimeout = [&options](const std::string &word) {
        const auto seconds = number<double>("--timeout", word, 0.001, 86400, "of seconds from 0.001 to 86400");
        options.timeout = std::chrono::milliseconds(std::lround(seconds * 1000));
    };
    command.add_option_function<std::string>("--timeout", setTimeout, "How long one command may run (default: 5)")
        ->type_name("SECONDS")
        ->needs(run);
}

template <typename Options> void addEntry(CLI::App &command, Options &options)
{
    command.add_option("GROUP", options.group, "The group of the entry; '' for what stands before the first group")
        ->type_name("")
        ->required();
    command.add_option("KEY", options.key, "The key of the entry")->type_name("")->required();
}

// The options of all commands; those of the one that was chosen count.
struct AllOptions {
    DumpOptions dump;
    GetOptions get;
    ExplainOptions explain;
    GraphOptions graph;
    CheckOptions check;
};

CLI::App &newCommand(CLI::App &app, const std::string &name, const std::string &summary)
{
    auto &command = *app.add_subcommand(name, summary);
    command.group("Commands");
    return command;
}

void addDump(CLI::App &app, DumpOptions &options)
{
    auto &command = newCommand(app, "dump", "Print every key with its resolved values, as a sorted key file");
    command.add_flag("--raw", options.raw, "Leave references to other entries as templates");
    command.add_flag("--origin", options.origin, "Say from which PATH:LINE each value comes");
    addHost(command, options.host);
    addCommon(command, options);
    command.footer(OnTemplates + std::string(ExitCodes));
}

Choices<ValueType> valueTypes()
{
    Choices<ValueType> choices;
    for (const auto type : AllValueTypes)
        choices.emplace_back(nameOf(type), type);
    return choices;
}

void addGet(CLI::App &app, GetOptions &options)
{
    auto &command = newCommand(app, "get", "Print the value of one entry");
    addEntry(command, options);
    addChoice<ValueType>(command, "--type", options.type, valueTypes(),
                         "Convert the value as a program would, and fail if it does not convert (default: string)");
    command.add_flag("--list", options.list, "All values, one a line (default: the last one)");
    command.add_flag("--origin", options.origin, "Put 'PATH:LINE: ' before each value");
    command.add_flag("-z", options.endWithNul, "End each value with a NUL byte instead of a newline");
    command.callback([&options] {
        if (options.endWithNul && options.format == Format::Json)
            throw CLI::ExcludesError("-z", "--format json");
    });
    addHost(command, options.host);
    addCommon(command, options);
    command.footer(OnTemplates + std::string(ExitCodes));
}

void addExplain(CLI::App &app, ExplainOptions &options)
{
    auto &command =
        newCommand(app, "explain", "Tell the life of one entry: who set it, to what, and what became of it");
    addEntry(command, options);
    addHost(command, options.host);
    addCommon(command, options);
    command.footer(OnTemplates + std::string(ExitCodes));
}

void addGraph(CLI::App &app, GraphOptions &options)
{
    auto &command = newCommand(app, "graph", "Print which entries refer to which, for Graphviz");
    addHost(command, options.host);
    addCommon(command, options);
    command.footer(OnTemplates + std::string(ExitCodes));
}

void addCheck(CLI::App &app, CheckOptions &options)
{
    auto &command = newCommand(app, "check", "Find what will go wrong, without running or looking up anything");
    command.add_flag("--strict", options.strict, "Take warnings as errors");
    addCommon(command, options);
    command.footer(ExitCodes);
}

void appendNames(std::vector<std::string> &names, const CLI::Option &option)
{
    for (const auto &name : option.get_lnames())
        names.push_back("--" + name);
    for (const auto &name : option.get_snames())
        names.push_back('-' + name);
}

// The names of the commands or options that an unexpected argument may have been meant to be.
std::vector<std::string> namesInPlaceOf(const std::string &argument, const CLI::App &app)
{
    const auto commands = app.get_subcommands();
    std::vector<std::string> names;
    if (argument.starts_with('-')) {
        for (const auto *option : (commands.empty() ? app : *commands.front()).get_options())
            appendNames(names, *option);
    } else if (commands.empty()) {
        for (const auto *command : app.get_subcommands([](const CLI::App *) { return true; }))
            names.push_back(command->get_name());
    }
    return names;
}

std::string allCommands(const CLI::App &app)
{
    std::string list;
    for (const auto *command : app.get_subcommands([](const CLI::App *) { return true; }))
        list += (list.empty() ? "" : ", ") + command->get_name();
    return "there are " + list;
}

std::string unexpected(const std::string &argument, const CLI::App &app)
{
    const auto commands = app.get_subcommands();
    if (commands.empty() && !argument.starts_with('-'))
        return "'" + argument + "' is no command";
    return "'" + argument + "' is no option of " + (commands.empty() ? app : *commands.front()).get_name();
}

// Names the first argument that was not expected, and what it may have been meant to be.
std::string suggestion(const CLI::App &app)
{
    const auto argument = app.remaining(true).front();
    const auto names = namesInPlaceOf(argument, app);
    if (std::find(names.begin(), names.end(), argument) != names.end())
        return "'" + argument + "' has to stand behind the command";
    const auto nearest = nearestName(argument, std::vector<std::string_view>(names.begin(), names.end()));
    const auto text = unexpected(argument, app);
    if (nearest)
        return text + "; did you mean '" + std::string(*nearest) + "'?";
    return argument.starts_with('-') ? text : text + "; " + allCommands(app);
}

std::string failureMessage(const CLI::App *app, const CLI::Error &error)
{
    const bool isExtra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    return "tovrin-config: " + (isExtra ? suggestion(*app) : error.what()) + "\nTry 'tovrin-config --help'.\n";
}

Request chosen(const CLI::App &app, AllOptions &options)
{
    const auto name = app.get_subcommands().front()->get_name();
    if (name == "dump")
        return std::move(options.dump);
    if (name == "get")
        return std::move(options.get);
    if (name == "explain")
        return std::move(options.explain);
    if (name == "graph")
        return std::move(options.graph);
    return std::move(options.check);
}

} // namespace

std::variant<Request, ExitCode> parseCommandLine(int argc, const char *const *argv)
{
    CLI::App app("Ask a configuration of key files what it says, why it says it, and what is wrong with it.",
                 "tovrin-config");
    app.set_version_flag("--version", "tovrin-config " TOVRIN_VERSION, "Print the version and exit");
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_formatter()->label("OPTIONS", "OPTION...");
    app.require_subcommand(0, 1); // at most one: a path or group may have the name of a command
    app.footer(ExitCodes);
    app.failure_message(failureMessage);

    AllOptions options;
    addDump(app, options.dump);
    addGet(app, options.get);
    addExplain(app, options.explain);
    addCheck(app, options.check);
    addGraph(app, options.graph);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) // not require_subcommand(1), which would hide what a mistyped one was
            throw CLI::RequiredError("a command is expected; " + allCommands(app), CLI::ExitCodes::RequiredError);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? Success : Misuse;
    }
    auto request = chosen(app, options);
    std::visit(
        [](CommonOptions &common) {
            if (common.paths.empty())
                common.paths = {Parser::Constants::DefaultConfigDirectory};
        },
        request);
    return request;
}

} // namespace Tovrin::Tool
