// SPDX-License-Identifier: Apache-2.0
#pragma once

// All that is compared, behind one shape. A subject
//   - is made empty, told which keys it is to accept (where it knows such a thing), and loads one file or directory;
//   - answers in the form in which its users get values: text() copies the value out and returns its length, integer(),
//     number() and truth() convert, strings() and integers() make a whole list and return its size or its sum;
//   - takes a Query made in advance, so that names are in the form it wants and only the asking is measured;
//   - says with copy() what it holds, for checking.
// Nothing virtual: calls are resolved when the programs are compiled.

#include "corpora.h"
#include "subject_boost.h"
#include "subject_econf.h"
#include "subject_glib.h"
#include "subject_inih.h"
#include "subject_limit.h"
#include "subject_project.h"
#ifdef BENCH_HAS_QT
#include "subject_qt.h"
#endif

#include <cstdio>
#include <cstring>
#include <string>

namespace Bench {

// What a program does before it makes the first subject.
inline void prepareSubjects()
{
    setEnvironment();
    Inih::allowLongLines();
}

// Calls visit.operator()<Subject>() for each subject. The project, the limit and the closest peers are neighbours, so
// that what the machine does at the moment hits them alike.
template <typename Visitor> void forEachSubject(Visitor visit)
{
    visit.template operator()<Project>();
    visit.template operator()<Limit>();
    visit.template operator()<Inih>();
    visit.template operator()<GKeyFile>();
    visit.template operator()<BoostPropertyTree>();
    visit.template operator()<Econf>();
#ifdef BENCH_HAS_QT
    visit.template operator()<QtSettings>();
#endif
}

// For programs that are called with CORPORA CORPUS SUBJECT: the exit code of measure.operator()<Subject>(corpus,
// corpora) for that one of the subjects, or of the others that are given; 2 if there is no such subject.
template <typename... Others, typename Measure> int measureOneSubject(int argc, char **argv, Measure measure)
{
    if (argc != 4)
        return 2;
    const Corpus &corpus = corpusNamed(argv[2]);
    prepareSubjects();
    int result = 2;
    const auto measureIfNamed = [&]<typename Subject>() {
        if (std::strcmp(argv[3], Subject::Name) == 0)
            result = measure.template operator()<Subject>(corpus, argv[1]);
    };
    forEachSubject(measureIfNamed);
    (measureIfNamed.template operator()<Others>(), ...);
    return result;
}

// The path is the corpus's, or another name of the same file.
template <typename Subject> bool load(Subject &subject, const Corpus &corpus, const std::string &path)
{
    const bool loaded = corpus.isDirectory ? subject.loadDirectory(path) : subject.loadFile(path);
    if constexpr (requires { subject.fillInTemplates(); })
        if (corpus.hasTemplates)
            subject.fillInTemplates();
    return loaded;
}

// Registers the corpus's entries with subjects that know registered keys; the others load what they find.
template <typename Subject> void acceptEntries(Subject &subject, const Corpus &corpus)
{
    if constexpr (requires { subject.accept(std::string(), std::string()); })
        for (std::size_t i = 0; i < corpus.entries; ++i)
            subject.accept(corpus.entry(i).group, corpus.entry(i).key);
}

// Whether what is measured is what was meant: a subject that did not load everything must not look fast.
template <typename Subject> bool holds(Subject &subject, const Corpus &corpus)
{
    for (const Entry &entry : sampleOf(corpus, 50)) {
        const std::string seen = subject.copy(Subject::query(entry.group, entry.key));
        const bool isRawText = Subject::KeepsRawText && !hasTemplates(entry.value);
        if (seen == entry.expected || (isRawText && seen.ends_with(entry.value))) // it may have joined several
            continue;
        std::fprintf(stderr, "%s, %s: %s/%s is '%.80s', not '%.80s'\n", Subject::Name, corpus.name.c_str(),
                     entry.group.c_str(), entry.key.c_str(), seen.c_str(), entry.expected.c_str());
        return false;
    }
    return true;
}

} // namespace Bench
