// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/temp_tree.h"

#include <tovrin/parser/config_parser.h>

#include <gtest/gtest.h>

#include <string>

namespace Tovrin::Testing {

// Lets the parser read a file with this text.
inline bool readText(Parser::ConfigParser &parser, const std::string &text)
{
    const TempTree tree;
    return parser.readConfig(tree.write("test.conf", text));
}

// A parser that accepts and amends every key, with this file read.
inline Parser::ConfigParser parserOf(const std::string &text)
{
    Parser::ConfigParser parser(Parser::ConfigParser::BadUid);
    EXPECT_TRUE(readText(parser, text)) << text;
    return parser;
}

} // namespace Tovrin::Testing
