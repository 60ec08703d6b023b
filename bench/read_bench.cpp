// SPDX-License-Identifier: Apache-2.0
// What does loading cost once memory is warm? For corpora of up to 10^4 entries; larger ones are loaded by fresh_load,
// each in a process of its own.
//
// read_bench CORPORA [options of Google Benchmark]: results are named CORPUS/SUBJECT, and "units" says by what to
// divide.

#include "cpu_time.h"
#include "subjects.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdlib>
#include <string>

namespace Bench {

namespace {

// A file that the subject has not just seen, for those that remember what they parsed.
template <typename Subject> std::string pathFor(const Corpus &corpus, const std::string &root)
{
    if constexpr (requires { Subject::alias(root); })
        return Subject::alias(corpus.path(root));
    else
        return corpus.path(root);
}

// Only loading is timed: making the subject, registering keys and destroying are not.
template <typename Subject>
void measure(benchmark::State &state, const Corpus &corpus, const std::string &root, bool registered)
{
    for (auto _ : state) {
        Subject subject;
        if (registered)
            acceptEntries(subject, corpus);
        const std::string path = pathFor<Subject>(corpus, root);
        const long long begin = cpuNanoseconds();
        const bool loaded = load(subject, corpus, path);
        const long long end = cpuNanoseconds();
        benchmark::DoNotOptimize(subject);
        if (!loaded)
            state.SkipWithError("did not load");
        state.SetIterationTime(static_cast<double>(end - begin) * 1e-9);
    }
    state.counters["units"] = static_cast<double>(corpus.units);
}

template <typename Subject> void addBenchmark(const Corpus &corpus, const std::string &root, bool registered)
{
    if (Subject::cannotLoad(corpus.name))
        return;
    const std::string name = corpus.name + (registered ? "_registered/" : "/") + Subject::Name;
    benchmark::RegisterBenchmark(name.c_str(), [&corpus, root, registered](benchmark::State &state) {
        measure<Subject>(state, corpus, root, registered);
    })->UseManualTime();
}

void addBenchmarks(const Corpus &corpus, const std::string &root)
{
    forEachSubject([&]<typename Subject>() {
        Subject subject;
        if (Subject::cannotLoad(corpus.name))
            return;
        if (!load(subject, corpus, corpus.path(root)) || !holds(subject, corpus))
            std::exit(1);
        addBenchmark<Subject>(corpus, root, false);
    });
    addBenchmark<Scan>(corpus, root, false);
}

void addRegisteredBenchmarks(const Corpus &corpus, const std::string &root)
{
    forEachSubject([&]<typename Subject>() {
        if constexpr (requires(Subject subject) { subject.accept(root, root); })
            addBenchmark<Subject>(corpus, root, true);
    });
}

} // namespace

} // namespace Bench

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::string root = argv[1];
    // Freed memory stays in the heap, the same for all: otherwise each round would measure how much of it the subject's
    // way of freeing happens to give back to the system.
    ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
    ::mallopt(M_MMAP_THRESHOLD, 1 << 30);
    Bench::prepareSubjects();
    for (const char *corpus : {"plain_1000", "plain_10000", "typical", "lists", "large", "references", "environment"})
        Bench::addBenchmarks(Bench::corpusNamed(corpus), root);
    Bench::addRegisteredBenchmarks(Bench::corpusNamed("typical"), root);
    argv[1] = argv[0];
    benchmark::Initialize(&(--argc), ++argv);
    benchmark::RunSpecifiedBenchmarks();
}
