#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>

/// A folder of a test's own, which goes with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zvc-test-XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        m_path = name;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;

    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

inline std::string ContentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void SetContent(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

struct CommandOutcome {
    int code;                                ///< -1 when a signal ended it
    std::string output;                      ///< with what it said on standard error
};

inline CommandOutcome RunCommand(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::string output;
    if (pipe == nullptr) return {-1, output};
    for (int c; (c = std::fgetc(pipe)) != EOF;) output.push_back(static_cast<char>(c));
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

/// A program or a plug-in of the build.
inline std::string BesideTheTests(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}
