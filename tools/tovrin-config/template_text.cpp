// SPDX-License-Identifier: Apache-2.0
#include "template_text.h"

#include "template_contents.h"
#include "template_scanner.h"

namespace Tovrin::Tool {

using Parser::TemplateScanner;
using Parser::TemplateSource;
using Piece = TemplateScanner::Piece;

namespace {

TemplateSource sourceOf(std::string_view contents)
{
    return Parser::parseTemplateContents(contents).source;
}

} // namespace

void appendAsText(std::string &templateText, std::string_view characters)
{
    for (;;) {
        const auto dollar = characters.find('$');
        templateText.append(characters.substr(0, dollar));
        if (dollar == std::string_view::npos)
            return;
        templateText += "$$";
        characters.remove_prefix(dollar + 1);
    }
}

std::string charactersOf(std::string_view templateText)
{
    std::string characters;
    TemplateScanner scanner(templateText);
    for (auto piece = scanner.next(); piece != Piece::End; piece = scanner.next()) {
        if (piece == Piece::Template)
            characters.append("${").append(scanner.text()).append("}");
        else
            characters.append(scanner.text());
    }
    return characters;
}

std::vector<std::string_view> keptTemplates(std::string_view templateText)
{
    std::vector<std::string_view> kept;
    TemplateScanner scanner(templateText);
    for (auto piece = scanner.next(); piece != Piece::End; piece = scanner.next()) {
        if (piece == Piece::Template && sourceOf(scanner.text()) != TemplateSource::Config)
            kept.push_back(templateText.substr(scanner.offset(), scanner.text().size() + sizeof "${}" - 1));
    }
    return kept;
}

bool isCommand(std::string_view keptTemplate)
{
    return sourceOf(keptTemplate.substr(2)) == TemplateSource::System;
}

} // namespace Tovrin::Tool
