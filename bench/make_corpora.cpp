// SPDX-License-Identifier: Apache-2.0
// make_corpora DIRECTORY [NAME...]: writes the corpora, all of them or those named.

#include "corpora.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "Usage: make_corpora DIRECTORY [NAME...]\n");
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    for (const Bench::Corpus &corpus : Bench::allCorpora())
        if (argc == 2 || std::find(argv + 2, argv + argc, corpus.name) != argv + argc)
            corpus.write(corpus, corpus.path(argv[1]));
}
