// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/shell.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Tovrin::Testing {

// A folder of its own for each test, to which the paths are relative.
class CheckRun : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    // Expects of "tovrin-config check ARGUMENTS" exactly these findings, and on standard error nothing but how many
    // commands were not run, if there are any.
    void expectFindings(const std::string &arguments, const std::vector<std::string> &findings)
    {
        std::string out;
        for (const auto &finding : findings)
            out += finding + '\n';
        const auto errors = count(findings, ": error: ");
        out += errors + ", " + count(findings, ": warning: ") + ", " + count(findings, ": note: ") + '\n';
        EXPECT_EQ(run("tovrin-config check " + arguments),
                  (Outcome{errors == "0 errors" ? 0 : 1, out, notRun(findings)}));
    }

    // The same of one file, "a.conf", with this text.
    void expectFindingsIn(const std::string &text, const std::vector<std::string> &findings)
    {
        write("a.conf", text);
        expectFindings("a.conf", findings);
    }

    TempTree folder;

private:
    static std::string notRun(const std::vector<std::string> &findings)
    {
        const auto commands = std::count_if(findings.begin(), findings.end(), [](const std::string &finding) {
            return finding.ends_with("[runs-command]") || finding.ends_with("[unsafe-command]");
        });
        if (commands == 0)
            return "";
        return "tovrin-config: " + std::to_string(commands) +
               (commands == 1 ? " command of ${system:...} was" : " commands of ${system:...} were") + " not run\n";
    }

    static std::string count(const std::vector<std::string> &findings, const std::string &mark)
    {
        std::size_t count = 0;
        for (const auto &finding : findings)
            count += finding.find(mark) != std::string::npos ? 1 : 0;
        return std::to_string(count) + mark.substr(1, mark.size() - 3) + (count == 1 ? "" : "s");
    }
};

} // namespace Tovrin::Testing
