// SPDX-License-Identifier: Apache-2.0

// Every public header and one symbol of each, as a program outside the project uses them.
#include <tovrin/parser/config_dir_parser.h>
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/config_value.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/export.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include <iostream>

using namespace Tovrin::Parser;

// The constants are ready for a program's own globals, however the library is linked. One whose text is short shows
// nothing: the compiler makes it.
const std::string directory = Constants::DefaultConfigDirectory;

int main(int argc, char **argv)
{
    using namespace Logging::Types;

    std::cout << "default " << directory << '\n';

    ConfigDirParser config(Constants::BadUid);
    std::cout << "readDirectories " << config.readDirectories({argv + 1, argv + argc}) << '\n';

    std::string name;
    config.getValue(Constants::ConfigGroup, Constants::InstanceKey, name);
    std::cout << "Instance " << name << '\n';

    for (const auto &entry : config)
        std::cout << "entry " << entry.group() << '/' << entry.key() << '\n';

    KeyFileParser file("local.conf.d/10-instance.conf");
    for (auto entry = file.begin(); entry != file.end() && !file.error(); ++entry)
        std::cout << "raw " << entry->group << '/' << entry->key << '=' << entry->value << '\n';

    ConfigValue value;
    const bool substituted = Substitutor(ConfigParser::BadUid).substituted("a$$${config:G/K}b", value);
    std::cout << "substituted " << substituted << ' ' << value << ' ' << value.resolve({"+"}) << '\n';

    std::cout << "number " << Helpers::stringToNumber<int>("0x10") << '\n';

    const auto lConsumer = Logging::LoggerConfig::create("org.example.consumer", Logging::LoggerConfig::LogInfo);
    lConsumer->setTarget(Logging::LoggerConfig::Stdout);
    logInfo(lConsumer) << "list " << std::vector<int>{1, 2};
}
