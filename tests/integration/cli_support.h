// What the ztraster command-line tests share: a scratch directory per test, running the
// program through the shell with its output captured, and image files in and out.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "apps/ztraster/image_io.h"

namespace clitest {

struct SResult {
    int status;
    std::string out, err;
};

// The whole file, or "" when it cannot be read.
inline std::string ReadFile(const std::string& aPath) {
    std::ifstream f(aPath, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

// Single quotes for the shell, so paths and values pass through unchanged.
inline std::string Quote(const std::string& a) {
    std::string q = "'";
    for (char c : a) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

class CliTest : public ::testing::Test {
protected:
    // The prefix names the directory after the fixture, which helps when one is left behind.
    explicit CliTest(std::string aPrefix = "ztraster-test") : prefix_(std::move(aPrefix)) {}

    void SetUp() override {
        std::string pattern = "/tmp/" + prefix_ + "-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern.data()));
        dir_ = pattern;
    }
    void TearDown() override { std::system(("rm -rf " + Quote(dir_)).c_str()); }

    std::string Path(const std::string& aName) const { return dir_ + "/" + aName; }

    // Runs ztraster with aEnv in front; stdout and stderr go through files in the scratch
    // directory so that the tests see exactly the bytes written.
    SResult Run(const std::vector<std::string>& aArgs, const std::string& aEnv = "LANG=C") const {
        std::string command = aEnv + " " + Quote(ZT_CLI_FILE);
        for (const std::string& a : aArgs) command += " " + Quote(a);
        command += " >" + Quote(Path("stdout")) + " 2>" + Quote(Path("stderr"));
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(Path("stdout")), ReadFile(Path("stderr"))};
    }

    bool Exists(const std::string& aPath) const {
        struct stat st;
        return stat(aPath.c_str(), &st) == 0;
    }

    // Writes aImage as aName in the scratch directory (the format follows the extension) and
    // returns its path.
    std::string Write(const ztio::Image& aImage, const std::string& aName = "in.png") const {
        std::string error;
        EXPECT_TRUE(ztio::WriteImage(Path(aName), aImage, &error)) << error;
        return Path(aName);
    }

    ztio::Image Read(const std::string& aPath) const {
        ztio::Image img;
        std::string error;
        EXPECT_TRUE(ztio::ReadImage(aPath, &img, &error)) << error;
        return img;
    }

    std::string dir_;

private:
    std::string prefix_;
};

}  // namespace clitest
