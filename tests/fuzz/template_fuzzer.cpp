// SPDX-License-Identifier: Apache-2.0

// Templates with all their sources, on the host of the stand-ins: the scan alone, a Substitutor, and one that has
// registered templates, as a parser has it.
//
// Input: the text.

#include "harness.h"
#include "reference.h"
#include "stand_ins.h"
#include "template_scanner.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/config_value.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/substitutor.h>

namespace {

using namespace Tovrin::Fuzz;
using namespace Tovrin::Parser;
using Templates = std::map<std::string, std::string>;

const std::string EnvFileText = "A=one\n E = \"\"\nQ = \" q ${env:A}\"\nA=two\n";

// The pieces cover the text without a gap, and nothing but the text is handed out.
void checkScan(const std::string &text)
{
    using Piece = TemplateScanner::Piece;
    TemplateScanner scanner(text);
    std::string covered;
    for (auto piece = scanner.next(); piece != Piece::End; piece = scanner.next()) {
        expectEqual("offset", scanner.offset(), covered.size());
        if (piece == Piece::LoneDollar || piece == Piece::Unterminated) {
            expect(text.compare(covered.size(), 1, "$") == 0, "an error stands at a dollar sign");
            return;
        }
        const std::string contents(scanner.text());
        if (piece == Piece::Template)
            covered += "${" + contents + "}";
        else
            covered += contents == "$" ? "$$" : contents;
    }
    expectEqual("all pieces", covered, text);
}

std::vector<std::string> markers(std::size_t count)
{
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back("<" + std::to_string(i) + ">");
    return texts;
}

void checkSubstitutor(const std::string &text, StandIns &standIns)
{
    const Substitutor substitutor(Constants::BadUid);
    ConfigValue value("before");
    const bool done = substitutor.substituted(text, value);

    static const Templates none;
    Records expectedRecords;
    Reference::Pieces pieces;
    const bool expected = Reference::Substitution(none, EnvFileText, expectedRecords).substitute(text, pieces);
    expectEqual("substituted", done, expected);
    expectEqual("references", value.references(), Reference::referencesOf(pieces));
    expectEqual("records", standIns.takeRecords(), expectedRecords);
    if (!expected)
        return expectEqual<std::string>("text after a failure", value.data(), "before");

    const auto kept = Reference::trimmed(pieces);
    const auto resolved = markers(value.references().size());
    expectEqual("text", value.data(), Reference::literalText(kept));
    expectEqual("resolved", value.resolve(resolved), Reference::filled(kept, resolved));
}

// The text as the contents of one template. A copy of a Substitutor does the same.
void checkResolve(const std::string &text, StandIns &standIns)
{
    static const Templates none;
    const Substitutor first(Constants::BadUid);
    const Substitutor substitutor(first);
    std::string out;
    Reference::Name reference;
    const int result = substitutor.resolve(text, out, reference);

    Records expectedRecords;
    Reference::Piece piece;
    const bool resolved = Reference::Substitution(none, EnvFileText, expectedRecords).resolve(text, piece);
    expectEqual("result", result, !resolved ? 1 : piece.reference ? 2 : 0);
    expectEqual("reference", reference, piece.reference.value_or(Reference::Name()));
    if (resolved)
        expectEqual("text of a template", out, piece.text);
    expectEqual("records of a template", standIns.takeRecords(), expectedRecords);
    expectEqual("contains", substitutor.contains(text), false);
}

// As one value of a file, if it can be one.
void checkParser(const std::string &text, StandIns &standIns)
{
    static const MemoryFile file(FirstDescriptor + 1);
    static const Templates templates{{"", "empty name"}, {"T", " ${env:A} "}, {"S", ""}};
    if (text.empty() || text.find_first_of("\n;") != std::string::npos)
        return;
    file.write("k=" + text + "\n");
    ConfigParser parser(ConfigParser::BadUid);
    for (const auto &[name, value] : templates)
        parser.addTemplate(name, value);
    expect(parser.readConfig(file.path()), "a template that fails does not fail the file");

    Records expectedRecords;
    Reference::Pieces pieces;
    const bool filled = Reference::Substitution(templates, EnvFileText, expectedRecords).substitute(text, pieces);
    const auto kept = Reference::trimmed(pieces);
    const bool stored = filled && !(Reference::literalText(kept).empty() && Reference::referencesOf(kept).empty());
    expectEqual("records of the parser", standIns.takeRecords(), expectedRecords);
    expectEqual("stored", parser.contains("", "k"), stored);
    if (!stored || !Reference::referencesOf(kept).empty())
        return;
    std::string value;
    parser.getValue("", "k", value);
    expectEqual("stored text", value, Reference::literalText(kept));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const MemoryFile envFile(FirstDescriptor);
    const std::string text = Input(data, size).rest();
    if (Reference::namesForeignFile(text, envFile.path()))
        return 0;
    envFile.write(EnvFileText);
    StandIns standIns;
    checkScan(text);
    checkSubstitutor(text, standIns);
    checkResolve(text, standIns);
    checkParser(text, standIns);
    return 0;
}
