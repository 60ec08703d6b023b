// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>

#include "config_parser_private.h"
#include "helpers/numbers.h"

#include <tovrin/parser/constants.h>

namespace Tovrin::Parser {

const std::uint32_t ConfigParser::BadUid = Constants::BadUid;

namespace {

// Turns a text into a value. `ok`, if given, tells whether it was one.
template <typename T> T converted(std::string_view text, bool *ok)
{
    return numberFromText<T>(text, ok);
}

template <> bool converted<bool>(std::string_view text, bool *ok)
{
    const bool isTrue = text == "true";
    if (ok)
        *ok = isTrue || text == "false";
    return isTrue;
}

template <typename T>
void readValue(ConfigParserPrivate &parser, const std::string &group, const std::string &key, T &out,
               bool *ok = nullptr)
{
    parser.resolvedValue(group, key, out, converted<T>, ok);
}

template <typename T>
void readValue(ConfigParserPrivate &parser, const std::string &group, const std::string &key, std::vector<T> &out,
               bool *ok = nullptr)
{
    parser.resolvedValue(group, key, out, converted<T>, ok);
}

} // namespace

ConfigParser::ConfigParser(std::uint32_t uid) : d_(std::make_unique<ConfigParserPrivate>(uid))
{
}

ConfigParser::ConfigParser(const ConfigParser &other) : d_(std::make_unique<ConfigParserPrivate>(*other.d_))
{
}

ConfigParser::ConfigParser(ConfigParser &&other) noexcept = default;
ConfigParser::~ConfigParser() = default;

void ConfigParser::addKey(const std::string &group, const std::string &key, ReplacementBehaviour behaviour)
{
    d_->addKey(group, key, behaviour);
}

void ConfigParser::addTemplate(const std::string &name, const std::string &value)
{
    d_->addTemplate(name, value);
}

void ConfigParser::checkKey(const std::string &group, const std::string &key) const
{
    d_->checkKey(group, key);
}

bool ConfigParser::contains(const std::string &group) const
{
    return d_->contains(group);
}

bool ConfigParser::contains(const std::string &group, const std::string &key) const
{
    return d_->contains(group, key);
}

bool ConfigParser::readConfig(const std::string &path)
{
    return d_->readConfig(path);
}

ConfigParserIterator ConfigParser::begin() const
{
    return ConfigParserIterator(d_.get(), false);
}

ConfigParserIterator ConfigParser::end() const
{
    return ConfigParserIterator(d_.get(), true);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, bool &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, bool &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::string &out) const
{
    d_->resolvedText(group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, int &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, int &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, long long &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, long long &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, double &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, double &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<bool> &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<bool> &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<std::string> &out) const
{
    d_->resolvedTexts(group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<int> &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<int> &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<long long> &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<long long> &out,
                            bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<double> &out) const
{
    readValue(*d_, group, key, out);
}

void ConfigParser::getValue(const std::string &group, const std::string &key, std::vector<double> &out, bool *ok) const
{
    readValue(*d_, group, key, out, ok);
}

} // namespace Tovrin::Parser
