// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "nearest.h"
#include "template_scanner.h"

namespace Tovrin::Tool {

namespace {

using Parser::TemplateContents;
using Parser::TemplateScanner;
using Parser::TemplateSource;

std::string asWritten(std::string_view contents)
{
    return inQuotes("${" + std::string(contents) + "}");
}

std::string didYouMean(std::string_view name)
{
    const auto nearest = nearestName(name, Parser::TemplateSourceNames);
    return nearest ? "; did you mean " + inQuotes(*nearest) + "?" : "";
}

// The templates of one value.
class ValueLint {
public:
    ValueLint(const CheckContext &context, const Model::Setting &setting, Findings &findings)
        : context_(context), setting_(setting), findings_(findings), lastBrace_(setting.assignment->value.rfind('}'))
    {
    }

    void run(ItemFiller &filler)
    {
        for (const auto &item : context_.model.items(setting_)) {
            item_ = &item;
            lintPieces();
            if (item.referenceCount > 0)
                lintLostSpace(filler);
        }
    }

private:
    void add(FindingId id, std::size_t offset, std::string text)
    {
        addAt(context_.model, *item_, offset, id, std::move(text), findings_);
    }

    void lintPieces()
    {
        TemplateScanner scanner(item_->text);
        for (auto piece = scanner.next(); piece != TemplateScanner::Piece::End; piece = scanner.next()) {
            if (piece == TemplateScanner::Piece::LoneDollar)
                return add(FindingId::LoneDollar, scanner.offset(), "\"$\" alone: write \"$$\" for a dollar sign");
            if (piece == TemplateScanner::Piece::Unterminated)
                return lintUnterminated(scanner.offset());
            if (piece == TemplateScanner::Piece::Template)
                lintTemplate(scanner.text(), scanner.offset());
        }
    }

    // A "}" behind the item tells that the template was meant to go on there.
    void lintUnterminated(std::size_t offset)
    {
        const auto end =
            static_cast<std::size_t>(item_->text.data() - setting_.assignment->value.data()) + item_->text.size();
        if (lastBrace_ != std::string_view::npos && lastBrace_ >= end)
            add(FindingId::CutTemplate, offset,
                "the \";\" inside this template cuts the value in two, and the template with it");
        else
            add(FindingId::UnterminatedTemplate, offset, "\"${\" without a \"}\"");
    }

    void lintLostSpace(ItemFiller &filler)
    {
        const auto offset = referenceBesideLostSpace(filler.fill(item_->text));
        if (offset != std::string::npos)
            add(FindingId::TrimmedSpace, offset,
                "the white space beside this reference is cut off before the reference is filled in");
    }

    void lintTemplate(std::string_view contents, std::size_t offset)
    {
        const auto parsed = Parser::parseTemplateContents(contents);
        if (const auto inner = contents.find("${"); inner != std::string_view::npos)
            add(FindingId::NestedTemplate, offset + 2 + inner,
                "templates do not nest: the outer one is " + asWritten(contents));
        lintFault(faultOf(parsed, context_.options.templates), parsed, contents, offset);
        lintPath(parsed, offset);
        if (parsed.source == TemplateSource::System)
            lintCommand(contents, offset);
    }

    void lintFault(TemplateFault fault, const TemplateContents &parsed, std::string_view contents, std::size_t offset)
    {
        switch (fault) {
        case TemplateFault::None:
            break;
        case TemplateFault::UnknownSource:
            lintSource(contents.substr(0, contents.find(':')), offset);
            break;
        case TemplateFault::UnknownTemplate:
            lintRegistered(parsed.argument, offset);
            break;
        case TemplateFault::ConfigForm:
            add(FindingId::ConfigForm, offset, asWritten(contents) + " is not of the form \"${config:GROUP/KEY}\"");
            break;
        case TemplateFault::EnvfileForm:
            add(FindingId::EnvfileForm, offset, asWritten(contents) + " is not of the form \"${envfile:PATH:NAME}\"");
            break;
        }
    }

    void lintSource(std::string_view source, std::size_t offset)
    {
        add(FindingId::UnknownSource, offset, "there is no template source " + inQuotes(source) + didYouMean(source));
    }

    void lintRegistered(std::string_view name, std::size_t offset)
    {
        if (name.empty())
            return add(FindingId::UnknownTemplate, offset, "\"${}\" names no template");
        add(FindingId::UnknownTemplate, offset,
            "no template " + inQuotes(name) + " is registered; write " + asWritten("env:" + std::string(name)) +
                " for the environment, or register it with --template");
    }

    // Relative to the directory in which the reading program happens to run.
    void lintPath(const TemplateContents &parsed, std::size_t offset)
    {
        const bool namesPath = parsed.source == TemplateSource::Realpath || parsed.source == TemplateSource::EnvFile;
        if (namesPath && !parsed.argument.starts_with('/'))
            add(FindingId::RelativePath, offset, "the path depends on the directory in which the program runs");
    }

    void lintCommand(std::string_view contents, std::size_t offset)
    {
        const auto file = static_cast<std::size_t>(setting_.file - context_.sources.files.data());
        if (context_.access.othersDecide(file))
            add(FindingId::UnsafeCommand, offset,
                "each program that reads this runs a command, which others may change: " + asWritten(contents));
        else
            add(FindingId::RunsCommand, offset,
                "each program that reads this runs the command of " + asWritten(contents));
    }

    const CheckContext &context_;
    const Model::Setting &setting_;
    Findings &findings_;
    std::size_t lastBrace_;
    const Model::Item *item_ = nullptr; // the one that is looked at
};

} // namespace

void lintTemplates(const CheckContext &context, Findings &findings)
{
    ItemFiller filler(context.options.templates);
    for (const auto &setting : context.model.settings()) {
        if (setting.assignment->value.find('$') != std::string_view::npos)
            ValueLint(context, setting, findings).run(filler);
    }
}

} // namespace Tovrin::Tool
