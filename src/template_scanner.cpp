// SPDX-License-Identifier: Apache-2.0
#include "template_scanner.h"

namespace Tovrin::Parser {

TemplateScanner::Piece TemplateScanner::next()
{
    offset_ = whole_.size() - rest_.size();
    if (rest_.empty())
        return Piece::End;
    if (const auto dollar = rest_.find('$'); dollar != 0) {
        text_ = rest_.substr(0, dollar);
        return take(Piece::Text, text_.size());
    }
    if (rest_.starts_with("$$")) {
        text_ = rest_.substr(0, 1);
        return take(Piece::Text, 2);
    }
    if (!rest_.starts_with("${"))
        return Piece::LoneDollar;
    const auto end = rest_.find('}');
    if (end == std::string_view::npos)
        return Piece::Unterminated;
    text_ = rest_.substr(2, end - 2);
    return take(Piece::Template, end + 1);
}

TemplateScanner::Piece TemplateScanner::take(Piece piece, std::size_t length)
{
    rest_.remove_prefix(length);
    return piece;
}

} // namespace Tovrin::Parser
