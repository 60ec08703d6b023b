// SPDX-License-Identifier: Apache-2.0
#pragma once

// The files that are read: generated from fixed seeds, the same on every machine, and valid for the library.
//
// They keep to what all peers read alike: entries follow a group header, comments begin with "#", lines stay under 200
// characters where they can, names hold no "." and values no ",", quotes, backslashes or outer spaces.

#include <cstddef>
#include <string>
#include <vector>

namespace Bench {

struct Entry {
    std::string group;
    std::string key;
    std::string value;    // as the file has it
    std::string expected; // its last item, with its templates filled in
};

struct Corpus {
    std::string name;
    bool isDirectory = false;
    bool hasTemplates = false;
    std::size_t entries = 0; // that can be looked up afterwards
    std::size_t units = 0;   // what costs are divided by: entries, or lines where these are the point
    Entry (*entry)(std::size_t index) = nullptr;
    void (*write)(const Corpus &corpus, const std::string &path) = nullptr;

    // Where make_corpora puts it: a file, or a directory of "*.conf" files.
    std::string path(const std::string &root) const { return root + "/" + name + (isDirectory ? ".conf.d" : ".conf"); }
};

const std::vector<Corpus> &allCorpora();

// Stops the program for an unknown name.
const Corpus &corpusNamed(const std::string &name);

// `count` entries of the corpus in random order, with repetitions where there are fewer.
std::vector<Entry> sampleOf(const Corpus &corpus, std::size_t count);

// Sets the variables that the corpus "environment" names; every program that reads it does so first.
void setEnvironment();

// The entries of the corpus "typed" of one kind, in order: "int", "double", "bool", "strings" or "ints" (lists of 20).
std::vector<Entry> typedEntries(const std::string &kind);

} // namespace Bench
