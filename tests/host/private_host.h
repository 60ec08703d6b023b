// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace Tovrin::Testing {

inline std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

// Not by the word of a variable alone: tests would write to the /run and /etc of the machine.
inline bool hostIsPrivate()
{
    return variable("TOVRIN_HOST") == "private" && std::filesystem::exists("/run/tovrin-host");
}

// A test that writes to /run and /etc, of a host of its own.
class PrivateHost : public testing::Test {
protected:
    void SetUp() override
    {
        if (!hostIsPrivate())
            GTEST_SKIP() << "needs a mount namespace: " << variable("TOVRIN_HOST_LACKS");
    }
};

// A file of a private host, made with the folders that are missing, and taken away at the end of the scope.
class HostFile {
public:
    HostFile(std::filesystem::path path, std::string_view text) : path_(std::move(path))
    {
        std::filesystem::create_directories(path_.parent_path());
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~HostFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    HostFile(const HostFile &) = delete;
    HostFile &operator=(const HostFile &) = delete;

private:
    std::filesystem::path path_;
};

// Adds lines to the user database of a private host, and takes them back at the end of the scope.
class AddedUsers {
public:
    explicit AddedUsers(std::string_view lines) : formerSize_(std::filesystem::file_size(Path))
    {
        std::ofstream(Path, std::ios::app) << lines;
    }
    ~AddedUsers()
    {
        std::error_code ignored;
        std::filesystem::resize_file(Path, formerSize_, ignored);
    }
    AddedUsers(const AddedUsers &) = delete;
    AddedUsers &operator=(const AddedUsers &) = delete;

private:
    static constexpr const char *Path = "/etc/passwd";
    std::uintmax_t formerSize_;
};

} // namespace Tovrin::Testing
