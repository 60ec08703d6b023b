// SPDX-License-Identifier: Apache-2.0
// How much memory does what was loaded hold, and how often was the heap asked while loading?
//
// footprint CORPORA CORPUS SUBJECT: prints the allocations and the bytes held, heap overhead included. Exit code 3 if
// the subject cannot load such a file. No times: counting costs.

#include "subjects.h"

#include <malloc.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}

namespace {

long long allocations = 0;
long long bytesHeld = 0;

constexpr long long HeaderSize = sizeof(std::size_t); // what the heap keeps in front of each block

long long sizeOf(void *block)
{
    return block ? static_cast<long long>(::malloc_usable_size(block)) + HeaderSize : 0;
}

void *counted(void *block)
{
    ++allocations;
    bytesHeld += sizeOf(block);
    return block;
}

} // namespace

// The whole program's heap, libraries included: operator new and GLib's slices end here as well. One thread.
extern "C" {

void *malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size)
{
    bytesHeld -= sizeOf(block);
    return counted(__libc_realloc(block, size));
}

void *memalign(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

void free(void *block)
{
    bytesHeld -= sizeOf(block);
    __libc_free(block);
}
}

namespace Bench {

namespace {

template <typename Subject> int report(const Corpus &corpus, const std::string &root)
{
    if (Subject::cannotLoad(corpus.name))
        return 3;
    const std::string path = corpus.path(root);
    const long long heldBefore = bytesHeld;
    Subject subject;
    if (corpus.name == "unregistered" || corpus.name == "comments")
        acceptEntries(subject, corpus);
    const long long allocationsBefore = allocations;
    const bool loaded = load(subject, corpus, path);
    const long long made = allocations - allocationsBefore;
    const long long held = bytesHeld - heldBefore;
    if (!loaded || !holds(subject, corpus))
        return 1;
    std::printf("%lld %lld\n", made, held);
    return 0;
}

} // namespace

} // namespace Bench

int main(int argc, char **argv)
{
    return Bench::measureOneSubject(argc, argv, []<typename Subject>(const Bench::Corpus &corpus, const char *corpora) {
        return Bench::report<Subject>(corpus, corpora);
    });
}
