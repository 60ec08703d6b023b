// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Tovrin::Testing {

// A folder of its own for one test, removed with all it holds at the end of the scope. Paths are relative to it.
class TempTree {
public:
    TempTree()
    {
        // Not mkdtemp(), whose names hold capitals: log targets are lower-cased before they are opened.
        do {
            std::ostringstream name;
            name << "tovrin-test-" << std::hex << std::random_device()() << std::random_device()();
            root_ = std::filesystem::temp_directory_path() / name.str();
        } while (!std::filesystem::create_directory(root_));
    }
    ~TempTree()
    {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TempTree(const TempTree &) = delete;
    TempTree &operator=(const TempTree &) = delete;

    std::string root() const { return root_.string(); }
    std::string path(std::string_view relative) const { return (root_ / relative).string(); }

    // Writes the text as it stands, with the folders that are missing, and returns the absolute path.
    std::string write(std::string_view relative, std::string_view text) const
    {
        const auto absolute = root_ / relative;
        std::filesystem::create_directories(absolute.parent_path());
        std::ofstream file(absolute, std::ios::binary);
        file << text;
        if (!file.flush())
            throw std::runtime_error("cannot write " + absolute.string());
        return absolute.string();
    }

    // Makes a folder and returns its absolute path.
    std::string makeDirectory(std::string_view relative) const
    {
        std::filesystem::create_directories(root_ / relative);
        return path(relative);
    }

    std::string read(std::string_view relative) const
    {
        std::ifstream file(root_ / relative, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path root_;
};

} // namespace Tovrin::Testing
