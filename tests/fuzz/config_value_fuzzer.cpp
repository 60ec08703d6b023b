// SPDX-License-Identifier: Apache-2.0

// Sequences of operations on a few ConfigValues, beside texts with lists of positions that are kept by the letter of
// the rules.
//
// Input: for each operation a byte that chooses it and two that choose values; what else it needs follows.

#include "harness.h"
#include "reference.h"
#include "stand_ins.h"

#include <tovrin/parser/config_value.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/substitutor.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace {

using namespace Tovrin::Fuzz;
using namespace Tovrin::Parser;

struct Model {
    std::string text;
    std::vector<Reference::Name> references;
    std::vector<std::uint32_t> positions;

    bool operator==(const Model &) const = default;

    void append(const Model &other)
    {
        const auto shift = static_cast<std::uint32_t>(text.size());
        const Model added = other; // which may be this very value
        text += added.text;
        for (std::size_t i = 0; i < added.references.size(); ++i) {
            references.push_back(added.references[i]);
            positions.push_back(added.positions[i] + shift);
        }
    }

    void addReferences(const Reference::Pieces &pieces)
    {
        std::size_t position = 0;
        for (const auto &piece : pieces) {
            position += piece.text.size();
            if (!piece.reference)
                continue;
            references.push_back(*piece.reference);
            positions.push_back(static_cast<std::uint32_t>(position));
        }
    }

    // Nothing if a position lies beyond the text.
    std::optional<std::string> resolved(const std::vector<std::string> &texts) const
    {
        if (references.empty() || texts.size() != references.size())
            return text;
        std::string out = text;
        std::size_t shift = 0;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (shift + positions[i] > out.size())
                return std::nullopt;
            out = out.substr(0, shift + positions[i]) + texts[i] + out.substr(shift + positions[i]);
            shift += texts[i].size();
        }
        return out;
    }
};

struct Pair {
    ConfigValue value;
    Model model;
};

constexpr unsigned PairCount = 4;

using Pairs = std::array<Pair, PairCount>;

std::optional<std::string> resolve(const ConfigValue &value, const std::vector<std::string> &texts)
{
    try {
        return value.resolve(texts);
    } catch (const std::out_of_range &) {
        return std::nullopt;
    }
}

std::string mismatch(std::size_t positions, std::size_t texts)
{
    return std::string("ConfigValue references size ") + static_cast<char>(positions) +
           " mismatch with resolve list size " + static_cast<char>(texts);
}

void checkResolve(const Pair &pair, std::size_t count, StandIns &standIns)
{
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(std::string(i % 3, static_cast<char>('a' + i % 26)));
    expectEqual("resolve", resolve(pair.value, texts), pair.model.resolved(texts));
    Records expected;
    const auto references = pair.model.references.size();
    if (references != 0 && count != references)
        Reference::report(expected, Reference::Warning, mismatch(references, count));
    expectEqual("records of resolve", standIns.takeRecords(), expected);
}

// A value of its own has no position beyond its text, and is what a second value gets by the same text.
void checkSubstituted(const std::string &text)
{
    ConfigValue fresh;
    if (!Substitutor(Constants::BadUid).substituted(text, fresh))
        return;
    const std::vector<std::string> nothing(fresh.references().size());
    expectEqual("positions never pass the end", resolve(fresh, nothing), {fresh.data()});
}

void substitute(Pair &pair, const std::string &text, StandIns &standIns)
{
    static const std::map<std::string, std::string> none;
    Records expected;
    Reference::Pieces pieces;
    const bool done = Reference::Substitution(none, "", expected).substitute(text, pieces);
    expectEqual("substituted", Substitutor(Constants::BadUid).substituted(text, pair.value), done);
    expectEqual("records of substituted", standIns.takeRecords(), expected);
    if (done) {
        pieces = Reference::trimmed(pieces);
        pair.model.text = Reference::literalText(pieces);
    }
    pair.model.addReferences(pieces);
    checkSubstituted(text);
    standIns.takeRecords();
}

void addReference(Pair &pair, Input &input)
{
    const auto group = input.field();
    const auto key = input.field();
    const auto first = input.byte();
    const std::uint32_t position = first == 0xff ? 0xffffffffu - input.byte() : first;
    pair.value.addReference(group, key, position);
    pair.model.references.emplace_back(group, key);
    pair.model.positions.push_back(position);
}

void compare(const Pair &pair)
{
    const auto &[value, model] = pair;
    expectEqual("text", value.data(), model.text);
    expectEqual<std::string>("c_str", value.c_str(), model.text.c_str());
    expectEqual("references", value.references(), model.references);
    expectEqual("type", value.type(), model.references.empty() ? ConfigValue::Plain : ConfigValue::WithReferences);
    expectEqual("empty", value.empty(), model.text.empty() && model.references.empty());
    std::ostringstream stream;
    stream << value;
    expectEqual("on a stream", stream.str(), model.text);
}

void operate(Input &input, Pairs &pairs, StandIns &standIns)
{
    const auto operation = input.choice(11);
    auto &one = pairs[input.choice(PairCount)];
    auto &other = pairs[input.choice(PairCount)];
    switch (operation) {
    case 0: {
        const auto text = input.field();
        one = {ConfigValue(text), {text, {}, {}}};
        expectEqual<std::string>("from a C string", ConfigValue(text.c_str()).data(), text.c_str());
        break;
    }
    case 1: {
        const auto text = input.field();
        one.value.setString(text);
        one.model.text = Reference::trim(text);
        break;
    }
    case 2:
        addReference(one, input);
        break;
    case 3:
        one.value.clear();
        one.model = {};
        break;
    case 4:
        one.value = other.value;
        one.model = Model(other.model);
        break;
    case 5:
        one.value += other.value;
        one.model.append(other.model);
        break;
    case 6: {
        const ConfigValue before(one.value);
        const ConfigValue sum = one.value + other.value;
        expect(before == one.value, "a sum leaves its parts alone");
        one.model.append(other.model);
        one.value = sum;
        break;
    }
    case 7:
        substitute(one, input.field(), standIns);
        break;
    case 8:
        checkResolve(one, input.byte(), standIns);
        break;
    case 9:
        checkResolve(one, one.model.references.size(), standIns);
        break;
    default:
        one.value = ConfigValue(ConfigValue(other.value));
        one.model = Model(other.model);
        expect(one.value == other.value, "a copy is equal");
    }
    expectEqual("equality", one.value == other.value, one.model == other.model);
    compare(one);
    compare(other);
}

std::size_t sizeOf(const Pairs &pairs)
{
    std::size_t size = 0;
    for (const auto &pair : pairs)
        size += pair.model.text.size() + pair.model.references.size();
    return size;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t Enough = 50'000; // values may double with every operation
    StandIns standIns;
    Input input(data, size);
    Pairs pairs;
    while (!input.empty() && sizeOf(pairs) < Enough)
        operate(input, pairs, standIns);
    for (const auto &pair : pairs) {
        compare(pair);
        checkResolve(pair, pair.model.references.size(), standIns);
    }
    return 0;
}
