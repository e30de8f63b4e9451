// For tests of a program as its user meets it: it runs in a directory of the test's own.
#pragma once

#include "support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <sys/wait.h>

struct Outcome {
    int status; ///< -1: it did not come to its end
    std::string out, err;
};

class ProgramTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string name = testing::TempDir() + "program.XXXXXX";
        ASSERT_TRUE(mkdtemp(name.data()));
        directory_ = name;
    }
    void TearDown() override { std::filesystem::remove_all(directory_); }

    std::string Path(const std::string &name) const { return directory_ / name; }

    /// Runs a command of the shell in the test's directory.
    Outcome Run(const std::string &command) const
    {
        const auto log = directory_.string() + ".log", errors = directory_.string() + ".err";
        const int status = std::system(
            ("cd '" + directory_.string() + "' && { " + command + "; } >'" + log + "' 2>'" + errors + "'").c_str());
        const Outcome outcome = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Content(log), Content(errors)};
        std::filesystem::remove(log);
        std::filesystem::remove(errors);
        return outcome;
    }

    static std::string Content(const std::filesystem::path &path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The directory's files with what they hold.
    std::set<std::pair<std::string, std::string>> Files() const
    {
        std::set<std::pair<std::string, std::string>> files;
        for (const auto &entry : std::filesystem::directory_iterator(directory_))
            files.emplace(entry.path().filename(), entry.is_directory() ? "" : Content(entry.path()));
        return files;
    }

private:
    std::filesystem::path directory_;
};
