// SPDX-License-Identifier: Apache-2.0
// What does asking for a value cost?
//
// resolve_bench CORPORA [options of Google Benchmark]: results are named QUESTION/SUBJECT, times are per value asked
// for. Keys are asked for in random order; the names lie in memory in that order, so that fetching them is cheap for
// all.

#include "subjects.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace Bench {

namespace {

template <typename Subject> std::vector<typename Subject::Query> queriesFor(const std::vector<Entry> &entries)
{
    std::vector<typename Subject::Query> queries;
    queries.reserve(entries.size());
    for (const Entry &entry : entries)
        queries.push_back(Subject::query(entry.group, entry.key));
    return queries;
}

template <typename Subject> std::shared_ptr<Subject> loaded(const Corpus &corpus, const std::string &root)
{
    auto subject = std::make_shared<Subject>();
    if (!load(*subject, corpus, corpus.path(root)) || !holds(*subject, corpus))
        std::exit(1);
    return subject;
}

// The subject is loaded when its benchmark begins, and gone when it ends: none runs in a heap full of the others.
template <typename Subject, typename Ask>
void addBenchmark(const std::string &question, const Corpus &corpus, const std::string &root,
                  const std::vector<Entry> &entries, Ask ask)
{
    if (Subject::cannotLoad(corpus.name))
        return;
    const std::string name = question + "/" + Subject::Name;
    benchmark::RegisterBenchmark(name.c_str(), [&corpus, root, entries, ask](benchmark::State &state) {
        const auto subject = loaded<Subject>(corpus, root);
        const auto queries = queriesFor<Subject>(entries);
        std::size_t i = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(ask(*subject, queries[i]));
            i = i + 1 == queries.size() ? 0 : i + 1;
        }
    });
}

template <typename Ask>
void addQuestion(const std::string &question, const Corpus &corpus, const std::string &root,
                 const std::vector<Entry> &entries, Ask ask)
{
    forEachSubject([&]<typename Subject>() {
        if constexpr (requires(Subject subject, typename Subject::Query query) { ask(subject, query); })
            addBenchmark<Subject>(question, corpus, root, entries, ask);
    });
}

constexpr auto AskText = [](auto &subject, const auto &query) -> decltype(subject.text(query)) {
    return subject.text(query);
};

void addTextQuestions(const std::string &root)
{
    for (const char *size : {"300", "10000", "100000"}) {
        const Corpus &corpus = corpusNamed(std::string("plain_") + size);
        addQuestion(std::string("string_") + size, corpus, root, sampleOf(corpus, corpus.entries), AskText);
    }
}

// As many in random order that they cannot be foreseen.
std::vector<Entry> typedSample(const std::string &kind)
{
    auto sample = sampleOf(corpusNamed("typed"), 5000);
    const auto wanted = typedEntries(kind);
    std::erase_if(sample, [&wanted](const Entry &entry) {
        return std::none_of(wanted.begin(), wanted.end(),
                            [&entry](const Entry &other) { return other.key == entry.key; });
    });
    return sample;
}

void addTypedQuestions(const std::string &root)
{
    const Corpus &corpus = corpusNamed("typed");
    addQuestion(
        "int", corpus, root, typedSample("int"),
        [](auto &subject, const auto &query) -> decltype(subject.integer(query)) { return subject.integer(query); });
    addQuestion(
        "double", corpus, root, typedSample("double"),
        [](auto &subject, const auto &query) -> decltype(subject.number(query)) { return subject.number(query); });
    addQuestion(
        "bool", corpus, root, typedSample("bool"),
        [](auto &subject, const auto &query) -> decltype(subject.truth(query)) { return subject.truth(query); });
    addQuestion(
        "strings", corpus, root, typedSample("strings"),
        [](auto &subject, const auto &query) -> decltype(subject.strings(query)) { return subject.strings(query); });
    addQuestion(
        "ints", corpus, root, typedSample("ints"),
        [](auto &subject, const auto &query) -> decltype(subject.integers(query)) { return subject.integers(query); });
}

// Only the library and the limit know references; 300 of them, so that the caches serve both.
void addReferenceQuestion(const std::string &root)
{
    const Corpus &corpus = corpusNamed("references");
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < 300; ++i)
        entries.push_back(corpus.entry(100 + i * 33 % 10000));
    addBenchmark<Project>("references", corpus, root, entries, AskText);
    addBenchmark<Limit>("references", corpus, root, entries, AskText);
}

} // namespace

} // namespace Bench

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::string root = argv[1];
    Bench::prepareSubjects();
    Bench::addTextQuestions(root);
    Bench::addTypedQuestions(root);
    Bench::addReferenceQuestion(root);
    argv[1] = argv[0];
    benchmark::Initialize(&(--argc), ++argv);
    benchmark::RunSpecifiedBenchmarks();
}
