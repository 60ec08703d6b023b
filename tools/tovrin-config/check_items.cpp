// SPDX-License-Identifier: Apache-2.0
#include "check_items.h"

#include "template_scanner.h"
#include "text_scan.h"

namespace Tovrin::Tool {

namespace {

using Parser::TemplateScanner;
using Parser::TemplateSource;

} // namespace

TemplateFault faultOf(const Parser::TemplateContents &contents, const RegisteredTemplates &registered)
{
    switch (contents.source) {
    case TemplateSource::Config:
        return Parser::parseConfigArgument(contents.argument) ? TemplateFault::None : TemplateFault::ConfigForm;
    case TemplateSource::EnvFile:
        return Parser::parseEnvFileArgument(contents.argument) ? TemplateFault::None : TemplateFault::EnvfileForm;
    case TemplateSource::Registered:
        return registered.contains(std::string(contents.argument)) ? TemplateFault::None
                                                                   : TemplateFault::UnknownTemplate;
    case TemplateSource::Unknown:
        return TemplateFault::UnknownSource;
    case TemplateSource::Env:
    case TemplateSource::Realpath:
    case TemplateSource::Dconf:
    case TemplateSource::Prop:
    case TemplateSource::System:
        break;
    }
    return TemplateFault::None;
}

bool FilledItem::blank() const
{
    return references.empty() && Parser::trimmed(output).empty();
}

const FilledItem &ItemFiller::fill(std::string_view item)
{
    filled_.outcome = FilledItem::Outcome::Stored;
    filled_.output.clear();
    filled_.references.clear();
    TemplateScanner scanner(item);
    while (filled_.outcome != FilledItem::Outcome::Fails) {
        switch (scanner.next()) {
        case TemplateScanner::Piece::Text:
            filled_.output += scanner.text();
            break;
        case TemplateScanner::Piece::Template:
            addTemplate(scanner.text(), scanner.offset());
            break;
        case TemplateScanner::Piece::LoneDollar:
        case TemplateScanner::Piece::Unterminated:
            filled_.outcome = FilledItem::Outcome::Fails;
            break;
        case TemplateScanner::Piece::End:
            return filled_;
        }
    }
    return filled_;
}

void ItemFiller::addTemplate(std::string_view contents, std::size_t offset)
{
    const auto parsed = Parser::parseTemplateContents(contents);
    if (faultOf(parsed, registered_) != TemplateFault::None) {
        filled_.outcome = FilledItem::Outcome::Fails;
    } else if (parsed.source == TemplateSource::Config) {
        const auto [group, key] = *Parser::parseConfigArgument(parsed.argument);
        filled_.references.push_back({group, key, offset, filled_.output.size()});
    } else if (parsed.source == TemplateSource::Registered) {
        filled_.output += registered_.at(std::string(parsed.argument));
    } else {
        filled_.outcome = FilledItem::Outcome::Depends;
        filled_.output += '?';
    }
}

// White space at the very ends of an item is cut everywhere and surprises nobody. Here a reference stands on its other
// side: before white space at the front of the output, or behind white space at its back.
std::size_t referenceBesideLostSpace(const FilledItem &item)
{
    if (item.references.empty())
        return std::string::npos;
    const std::string_view output = item.output;
    const auto kept = Parser::trimmed(output);
    const auto first = item.references.front();
    const auto last = item.references.back();
    if (kept.empty()) // white space and references alone
        return last.position > first.position ? first.offset : std::string::npos;
    const auto cutInFront = static_cast<std::size_t>(kept.data() - output.data());
    if (first.position < cutInFront)
        return first.offset;
    return last.position > cutInFront + kept.size() ? last.offset : std::string::npos;
}

} // namespace Tovrin::Tool
