// SPDX-License-Identifier: Apache-2.0

// Text helpers and numbers beside readings of the text as a stream.
//
// Input: bytes for separator, number of splits, behaviour, escape character and hex marker; the allowed characters,
// FieldEnd, the required ones, FieldEnd, the text.

#include "../support/text_by_stream.h"
#include "harness.h"
#include "reference.h"

#include <tovrin/parser/helpers.h>

#include <algorithm>
#include <cstring>

namespace {

using namespace Tovrin::Fuzz;
namespace Testing = Tovrin::Testing;
namespace Helpers = Tovrin::Parser::Helpers;

struct Setting {
    char separator;
    int maximumSplits;
    Helpers::SplitBehaviour behaviour;
    char escapeCharacter;
    char hexMarker;
    std::string allowed;
    std::string required;
};

std::string sorted(std::string set)
{
    std::sort(set.begin(), set.end(), [](unsigned char a, unsigned char b) { return a < b; });
    return set;
}

Setting takeSetting(Input &input)
{
    Setting setting{};
    setting.separator = static_cast<char>(input.byte());
    setting.maximumSplits = static_cast<int>(input.choice(8)) - 1;
    setting.behaviour = static_cast<Helpers::SplitBehaviour>(input.choice(3));
    setting.escapeCharacter = static_cast<char>(input.byte());
    setting.hexMarker = static_cast<char>(input.byte());
    setting.allowed = sorted(input.field());
    setting.required = input.field();
    return setting;
}

// ---- Second algorithms ----------------------------------------------------------------------------------------------

std::string joined(const std::vector<std::string> &parts, char separator)
{
    std::string out;
    for (const auto &part : parts)
        out += part + separator;
    return out.substr(0, parts.empty() ? 0 : out.size() - 1);
}

std::string folderOf(const std::string &path)
{
    const auto folder = path.substr(0, path.find_last_of('/') + 1); // with its slash
    return folder.empty() ? "." : folder == "/" ? "/" : folder.substr(0, folder.size() - 1);
}

// ---- Comparisons ----------------------------------------------------------------------------------------------------

void compareParts(const std::string &text, const Setting &setting)
{
    using namespace Helpers;
    const char separator = setting.separator;
    expectEqual("split", split(text, separator, setting.maximumSplits, setting.behaviour),
                Reference::split(text, separator, setting.maximumSplits, setting.behaviour));
    const auto all = split(text, separator, -1, KeepEmptyParts);
    expectEqual("join undoes split", join(all, separator), text);
    expectEqual("join", join(all, '|'), joined(all, '|'));
    expectEqual("last", last(text, separator), all.back());
    expectEqual("trim", trim(text), Reference::trim(text));
    expectEqual("basename2", basename2(text), split(text, '/', -1, KeepEmptyParts).back());
    expectEqual("dirpath", dirpath(text), folderOf(text));
}

void compareSets(const std::string &text, const Setting &setting)
{
    const bool valid = Reference::consistsOf(text, setting.allowed) && Reference::consistsOf(setting.required, text);
    expectEqual("validateString", Helpers::validateString(text, setting.allowed, setting.required), valid);
}

// White space is dropped, and a byte below 16 has one digit alone: such texts do not come back.
bool survivesEscaping(const std::string &text, const Setting &setting)
{
    const bool plain = std::all_of(text.begin(), text.end(), [&](char c) {
        return !Reference::isOneOf(c, " \t\n\v\f\r") &&
               (static_cast<unsigned char>(c) >= 16 || Reference::isOneOf(c, setting.allowed));
    });
    return plain && !Reference::isOneOf(setting.escapeCharacter, setting.allowed) &&
           !Reference::isOneOf(setting.escapeCharacter, " \t\n\v\f\r");
}

void compareEscapes(const std::string &text, const Setting &setting)
{
    const auto out = Helpers::escape(text, setting.escapeCharacter, setting.allowed, setting.hexMarker);
    expectEqual("escape", out,
                Testing::escapeByStream(text, setting.escapeCharacter, setting.allowed, setting.hexMarker));
    expectEqual("unescape", Helpers::unescape(text, setting.escapeCharacter),
                Testing::unescapeByStream(text, setting.escapeCharacter));
    if (survivesEscaping(text, setting))
        expectEqual("unescape undoes escape", Helpers::unescape(out, setting.escapeCharacter), text);
}

template <typename T> void compareNumber(const std::string &text)
{
    bool ok = false;
    bool expectedOk = false;
    const T value = Helpers::stringToNumber<T>(text, &ok);
    const T expected = Reference::number<T>(text, expectedOk);
    expect(std::memcmp(&value, &expected, sizeof value) == 0 && ok == expectedOk,
           "number in " + describe(text) + ": " + describe(value) + ", " + describe(ok) + " instead of " +
               describe(expected) + ", " + describe(expectedOk));
    expectEqual("without a flag", Helpers::stringToNumber<T>(text), value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const auto setting = takeSetting(input);
    const auto text = input.rest();
    compareParts(text, setting);
    compareSets(text, setting);
    compareEscapes(text, setting);
    compareNumber<int>(text);
    compareNumber<long long>(text);
    compareNumber<double>(text);
    return 0;
}
