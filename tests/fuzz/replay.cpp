// SPDX-License-Identifier: Apache-2.0

// Runs one fuzz target over stored inputs, without a fuzzer:
//
//     replay LIST FOLDER TARGET      the seeds and found inputs of the target, which LIST names
//     replay FILE...                 these
//
// With a list, a file that it names and that is missing is a failure, and so is one in the folders that it does not
// name: an input that failed once must not get lost, nor lie there unused. TOVRIN_TEST_LOCALE names a locale to run in.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <optional>
#include <set>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

namespace fs = std::filesystem;

using Names = std::set<std::string>;

std::optional<Names> namesIn(const fs::path &list, const std::string &target)
{
    std::ifstream file(list);
    if (!file)
        return std::nullopt;
    Names names;
    for (std::string name; std::getline(file, name);) {
        if (fs::path(name).parent_path().filename() == target)
            names.insert(name);
    }
    return names;
}

Names filesOf(const fs::path &folder, const std::string &target)
{
    Names names;
    for (const auto *kind : {"seeds", "found"}) {
        std::error_code missing;
        for (const auto &file : fs::directory_iterator(folder / kind / target, missing))
            names.insert(fs::relative(file.path(), folder).string());
    }
    return names;
}

int complain(const std::string &what)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    return 1;
}

bool run(const fs::path &path)
{
    std::fprintf(stderr, "%s\n", path.c_str());
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        return false;
    // A copy of just that size, so that a sanitizer sees a read beyond it.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return LLVMFuzzerTestOneInput(bytes.data(), bytes.size()) == 0;
}

int runFiles(const std::vector<fs::path> &paths)
{
    for (const auto &path : paths) {
        if (!run(path))
            return complain(path.string() + ": cannot be read, or was rejected");
    }
    return 0;
}

int runListed(const fs::path &list, const fs::path &folder, const std::string &target)
{
    const auto names = namesIn(list, target);
    if (!names || names->empty())
        return complain(list.string() + " names no input of " + target);
    std::vector<std::string> odd;
    const auto files = filesOf(folder, target);
    std::set_symmetric_difference(names->begin(), names->end(), files.begin(), files.end(), std::back_inserter(odd));
    for (const auto &name : odd)
        complain(name + (files.count(name) ? ": not in " + list.string() : ": missing"));
    std::vector<fs::path> paths;
    for (const auto &name : files)
        paths.push_back(folder / name);
    return runFiles(paths) == 0 && odd.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (const char *name = std::getenv("TOVRIN_TEST_LOCALE"))
        std::locale::global(std::locale(name));
    if (argc == 4 && fs::is_directory(argv[2]))
        return runListed(argv[1], argv[2], argv[3]);
    return runFiles({argv + 1, argv + argc});
}
