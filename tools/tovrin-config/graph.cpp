// SPDX-License-Identifier: Apache-2.0
#include "graph.h"

#include "json_output.h"
#include "reference_cycles.h"
#include "session.h"
#include "terminal.h"

#include <algorithm>
#include <map>
#include <set>

namespace Tovrin::Tool {

namespace {

using Number = Evaluation::Number;

struct Edge {
    Number from;
    Number to;
    bool inCycle;
};

class Graph {
public:
    explicit Graph(const Evaluation &evaluation) : evaluation_(evaluation)
    {
        const auto cycles = cyclesOf(evaluation);
        for (const auto number : evaluation.sortedEntries()) {
            std::map<Number, bool> targets; // and whether the last value, which alone counts for others, names it
            evaluation.forEachValue(evaluation.entry(number), [&](const auto &value) {
                const bool isLast = value.next == 0;
                for (const auto &reference : evaluation.references(value))
                    targets[reference.entry] |= isLast;
            });
            for (const auto &[target, fromLast] : targets)
                add({number, target, fromLast && cycles[number] != 0 && cycles[number] == cycles[target]});
        }
        std::sort(nodes_.begin(), nodes_.end(), [&](Number a, Number b) { return name(a) < name(b); });
        nodes_.erase(std::unique(nodes_.begin(), nodes_.end()), nodes_.end());
        std::sort(edges_.begin(), edges_.end(), [&](const Edge &a, const Edge &b) {
            return std::pair(name(a.from), name(a.to)) < std::pair(name(b.from), name(b.to));
        });
    }

    std::string asDot() const
    {
        std::string out =
            "digraph configuration {\n"
            "  rankdir=LR;\n"
            "  node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
            "  graph [fontname=\"sans-serif\", style=\"rounded,filled\", color=gray80, fillcolor=gray97];\n";
        std::size_t cluster = 0;
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            const auto group = name(nodes_[i]).first;
            if (i == 0 || name(nodes_[i - 1]).first != group)
                out += "  subgraph cluster_" + std::to_string(cluster++) + " {\n    label=" + quoted(group) + ";\n";
            out += "    " + dotName(nodes_[i]) + dotNode(nodes_[i]);
            if (i + 1 == nodes_.size() || name(nodes_[i + 1]).first != group)
                out += "  }\n";
        }
        for (const auto &edge : edges_)
            out += "  " + dotName(edge.from) + " -> " + dotName(edge.to) +
                   (edge.inCycle ? " [color=red, penwidth=2];\n" : ";\n");
        return out + "}\n";
    }

    Json asJson() const
    {
        Json nodes = Json::array();
        for (const auto number : nodes_) {
            auto node = named(number);
            node["missing"] = isMissing(number);
            node["inCycle"] = inCycle_.contains(number);
            nodes.push_back(std::move(node));
        }
        Json edges = Json::array();
        for (const auto &edge : edges_)
            edges.push_back({{"from", named(edge.from)}, {"to", named(edge.to)}, {"inCycle", edge.inCycle}});
        return {{"nodes", std::move(nodes)}, {"edges", std::move(edges)}};
    }

private:
    void add(const Edge &edge)
    {
        edges_.push_back(edge);
        nodes_.insert(nodes_.end(), {edge.from, edge.to});
        if (edge.inCycle)
            inCycle_.insert({edge.from, edge.to});
    }

    std::pair<std::string_view, std::string_view> name(Number number) const
    {
        const auto &entry = evaluation_.entry(number);
        return {entry.group, entry.key};
    }

    Json named(Number number) const { return nameOf(name(number).first, name(number).second); }

    bool isMissing(Number number) const { return !evaluation_.entry(number).present(); }

    // As a quoted string of DOT, which knows the escape \" alone, but reads others in labels.
    static std::string quoted(std::string_view text)
    {
        std::string result = "\"";
        for (const char c : printable(text)) {
            if (c == '"' || c == '\\')
                result += '\\';
            result += c;
        }
        return result + '"';
    }

    std::string dotName(Number number) const
    {
        const auto [group, key] = name(number);
        return quoted(std::string(group).append("/").append(key));
    }

    std::string dotNode(Number number) const
    {
        auto attributes = " [label=" + quoted(name(number).second);
        if (isMissing(number))
            attributes += ", style=\"rounded,dashed\", color=red, fontcolor=red, tooltip=\"missing\"";
        else if (inCycle_.contains(number))
            attributes += ", color=red, penwidth=2, tooltip=\"in a cycle\"";
        return attributes + "];\n";
    }

    const Evaluation &evaluation_;
    std::vector<Number> nodes_; // by group and key
    std::vector<Edge> edges_;   // by the same
    std::set<Number> inCycle_;
};

} // namespace

ExitCode graph(const GraphOptions &options)
{
    Session session(options, options.host);
    if (!session.ready())
        return Misuse;
    const Graph graph(session.evaluation());
    return session.finish(options.format == Format::Json ? jsonText(graph.asJson()) : graph.asDot());
}

} // namespace Tovrin::Tool
