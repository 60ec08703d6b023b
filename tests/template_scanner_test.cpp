// SPDX-License-Identifier: Apache-2.0
#include "template_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Tovrin::Parser::TemplateScanner;
using Piece = TemplateScanner::Piece;

// The pieces in one text: T(...) for text, {...} for a template, and the word for an error.
std::string piecesOf(std::string_view text)
{
    std::string pieces;
    TemplateScanner scanner(text);
    for (;;) {
        switch (scanner.next()) {
        case Piece::Text:
            pieces += "T(" + std::string(scanner.text()) + ")";
            break;
        case Piece::Template:
            pieces += "{" + std::string(scanner.text()) + "}";
            break;
        case Piece::LoneDollar:
            return pieces + "lone@" + std::to_string(scanner.offset());
        case Piece::Unterminated:
            return pieces + "unterminated@" + std::to_string(scanner.offset());
        case Piece::End:
            return pieces;
        }
    }
}

TEST(TemplateScanner, TakesTextsApart)
{
    for (const auto &[text, pieces] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"plain", "T(plain)"},
             {"a$$b", "T(a)T($)T(b)"},
             {"$$$$", "T($)T($)"},
             {"${x}", "{x}"},
             {"${}", "{}"},
             {"a${env:B}c${d}", "T(a){env:B}T(c){d}"},
             {"${a${b}}", "{a${b}T(})"},
             {"}{", "T(}{)"},
             {"$${x}", "T($)T({x})"},
             {"${$$}", "{$$}"},
             {"price $5", "T(price )lone@6"},
             {"abc$", "T(abc)lone@3"},
             {"$$$", "T($)lone@2"},
             {"${x}${y", "{x}unterminated@4"},
             {"${", "unterminated@0"},
         }) {
        EXPECT_EQ(piecesOf(text), pieces) << text;
    }
}

TEST(TemplateScanner, TellsWhereEachPieceBegins)
{
    TemplateScanner scanner("ab$$${c}d");
    EXPECT_EQ(scanner.offset(), 0U);
    std::vector<std::size_t> offsets;
    while (scanner.next() != Piece::End)
        offsets.push_back(scanner.offset());
    EXPECT_EQ(offsets, (std::vector<std::size_t>{0, 2, 4, 8}));
}

} // namespace
