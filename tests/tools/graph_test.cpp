// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

namespace {

using namespace Tovrin::Testing;

class Graph : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    TempTree folder;
};

const std::string Start = "digraph configuration {\n"
                          "  rankdir=LR;\n"
                          "  node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
                          "  graph [fontname=\"sans-serif\", style=\"rounded,filled\", color=gray80, "
                          "fillcolor=gray97];\n";

TEST_F(Graph, ClustersByGroupAndMarksCirclesAndMissingTargets)
{
    write("a.conf", "top=${config:G/a}${config:G/a}\n"
                    "[G]\n"
                    "a=${config:H h/b}\n"
                    "lonely=1\n"
                    "self=${config:G/self}\n"
                    "\"=1\n");
    write("b.conf", "[H h]\nb=${config:G/a}\nc=${config:No/Su\"ch};${config:G/lonely}\n");
    EXPECT_EQ(run("tovrin-config graph b.conf a.conf"),
              (Outcome{1,
                       Start + "  subgraph cluster_0 {\n"
                               "    label=\"\";\n"
                               "    \"/top\" [label=\"top\"];\n"
                               "  }\n"
                               "  subgraph cluster_1 {\n"
                               "    label=\"G\";\n"
                               "    \"G/a\" [label=\"a\", color=red, penwidth=2, tooltip=\"in a cycle\"];\n"
                               "    \"G/lonely\" [label=\"lonely\"];\n"
                               "    \"G/self\" [label=\"self\", color=red, penwidth=2, tooltip=\"in a cycle\"];\n"
                               "  }\n"
                               "  subgraph cluster_2 {\n"
                               "    label=\"H h\";\n"
                               "    \"H h/b\" [label=\"b\", color=red, penwidth=2, tooltip=\"in a cycle\"];\n"
                               "    \"H h/c\" [label=\"c\"];\n"
                               "  }\n"
                               "  subgraph cluster_3 {\n"
                               "    label=\"No\";\n"
                               "    \"No/Su\\\"ch\" [label=\"Su\\\"ch\", style=\"rounded,dashed\", color=red, "
                               "fontcolor=red, tooltip=\"missing\"];\n"
                               "  }\n"
                               "  \"/top\" -> \"G/a\";\n"
                               "  \"G/a\" -> \"H h/b\" [color=red, penwidth=2];\n"
                               "  \"G/self\" -> \"G/self\" [color=red, penwidth=2];\n"
                               "  \"H h/b\" -> \"G/a\" [color=red, penwidth=2];\n"
                               "  \"H h/c\" -> \"G/lonely\";\n"
                               "  \"H h/c\" -> \"No/Su\\\"ch\";\n"
                               "}\n",
                       "a.conf:6: error: neither a group, a key, a comment nor an empty line, so nothing is read from "
                       "here on: '\"=1'\n"}));
}

// A reference is followed to the last value, so that an earlier one closes no circle.
TEST_F(Graph, FollowsLastValuesOnly)
{
    write("a.conf", "[G]\na=${config:G/b};1\nb=${config:G/a}\n");
    EXPECT_EQ(run("tovrin-config graph a.conf"), (Outcome{0,
                                                          Start + "  subgraph cluster_0 {\n"
                                                                  "    label=\"G\";\n"
                                                                  "    \"G/a\" [label=\"a\"];\n"
                                                                  "    \"G/b\" [label=\"b\"];\n"
                                                                  "  }\n"
                                                                  "  \"G/a\" -> \"G/b\";\n"
                                                                  "  \"G/b\" -> \"G/a\";\n"
                                                                  "}\n",
                                                          ""}));
}

TEST_F(Graph, IsEmptyWithoutReferences)
{
    write("a.conf", "[G]\na=1\n");
    EXPECT_EQ(run("tovrin-config graph a.conf"), (Outcome{0, Start + "}\n", ""}));
    EXPECT_EQ(run("tovrin-config graph --format json a.conf"),
              (Outcome{0, "{\n  \"nodes\": [],\n  \"edges\": []\n}\n", ""}));
}

TEST_F(Graph, EndsForChainsOfAnyLength)
{
    std::string text = "[G]\n";
    for (int i = 0; i < 50000; ++i)
        text += "k" + std::to_string(i) + "=${config:G/k" + std::to_string((i + 1) % 50000) + "}\n";
    write("a.conf", text);
    EXPECT_EQ(run("tovrin-config graph a.conf | grep -c -- '->.*color=red'"), (Outcome{0, "50000\n", ""}));
}

// Drawn by hand, with `dot -Tsvg`, since no build needs Graphviz.
TEST_F(Graph, IsTheOneInTheDocuments)
{
    const auto drawn = run("sed -n 's|<title>\\(.*\\)&#45;&gt;\\(.*\\)</title>|\\1 \\2|p' " TOVRIN_EXAMPLES
                           "/../docs/example-graph.svg | sort");
    const auto printed =
        run("tovrin-config graph " TOVRIN_EXAMPLES
            "/tovrin.conf.d 2>/dev/null | sed -n 's|^ *\"\\(.*\\)\" -> \"\\(.*\\)\";|\\1 \\2|p' | sort");
    EXPECT_EQ(drawn, printed);
    EXPECT_NE(printed.out.find("Config/DataRoot Config/Instance\n"), std::string::npos) << printed;
}

TEST_F(Graph, PrintsJson)
{
    write("a.conf", "[G]\na=${config:G/a}${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config graph --format json a.conf"), (Outcome{0, R"({
  "nodes": [
    {
      "group": "G",
      "key": "a",
      "missing": false,
      "inCycle": true
    },
    {
      "group": "No",
      "key": "Such",
      "missing": true,
      "inCycle": false
    }
  ],
  "edges": [
    {
      "from": {
        "group": "G",
        "key": "a"
      },
      "to": {
        "group": "G",
        "key": "a"
      },
      "inCycle": true
    },
    {
      "from": {
        "group": "G",
        "key": "a"
      },
      "to": {
        "group": "No",
        "key": "Such"
      },
      "inCycle": false
    }
  ]
}
)",
                                                                        ""}));
}

} // namespace
