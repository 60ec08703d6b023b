// SPDX-License-Identifier: Apache-2.0
// What does loading cost a daemon that has just started, with memory that was never touched?
//
// fresh_load CORPORA CORPUS SUBJECT: loads once, destroys, and prints the nanoseconds of both. Exit code 3 if the
// subject cannot load such a file. Keys are registered first for the corpora that are about skipping.

#include "cpu_time.h"
#include "subjects.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace Bench {

namespace {

template <typename Subject> int loadOnce(const Corpus &corpus, const std::string &root)
{
    if (const char *reason = Subject::cannotLoad(corpus.name)) {
        std::printf("%s\n", reason);
        return 3;
    }
    auto subject = std::make_unique<Subject>();
    if (corpus.name == "unregistered" || corpus.name == "comments")
        acceptEntries(*subject, corpus);
    const std::string path = corpus.path(root);
    const long long begin = cpuNanoseconds();
    const bool loaded = load(*subject, corpus, path);
    const long long end = cpuNanoseconds();
    if constexpr (requires { subject->found(); })
        return loaded && subject->found() ? (std::printf("%lld 0\n", end - begin), 0) : 1;
    else if (!loaded || !holds(*subject, corpus))
        return 1;
    const long long destroyBegin = cpuNanoseconds();
    subject.reset();
    const long long destroyEnd = cpuNanoseconds();
    std::printf("%lld %lld\n", end - begin, destroyEnd - destroyBegin);
    return 0;
}

} // namespace

} // namespace Bench

int main(int argc, char **argv)
{
    const auto measure = []<typename Subject>(const Bench::Corpus &corpus, const char *corpora) {
        return Bench::loadOnce<Subject>(corpus, corpora);
    };
    return Bench::measureOneSubject<Bench::Scan>(argc, argv, measure);
}
