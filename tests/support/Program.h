#pragma once

// Programs that tests start, and how they ended.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

/// What a program printed, to both of its outputs, and how it ended: exit code or signal, -1 for the other.
struct Outcome {
    int code;
    int signal;
    std::string output;
};

/// Runs a command of the shell, which the shell gives way to.
inline Outcome RunProgram(const std::string& command) {
    FILE* pipe = popen(("exec 2>&1 && exec " + command).c_str(), "r");
    std::string output;
    for (int c; (c = std::fgetc(pipe)) != EOF;) output.push_back(static_cast<char>(c));
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : -1, output};
}

/// The path of a file beside the test program.
inline std::string BesideTests(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

inline std::string FileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A directory of its own, which goes with it.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "zvc-test-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(m_path); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};
