#pragma once

#include "zvc/platform/Module.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

/// A folder of a test's own, which goes with it.
class Folder {
public:
    Folder() {
        char name[] = "/tmp/zvc-test-XXXXXX";
        if (mkdtemp(name) == nullptr) std::abort();
        m_path = name;
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// The path of a file in it.
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

/// The folder of the test program and of what is built beside it, with a separator at the end.
inline std::string BinFolder() {
    const std::string program = zvc::platform::ProgramPath();
    return program.substr(0, program.rfind('/') + 1);
}

struct Ran {
    int code;              ///< the program's exit code, -1 when it did not end by itself
    std::string output;    ///< of both kinds
};

/// Runs a shell command.
inline Ran RunShell(const std::string& command) {
    Ran ran{-1, {}};
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return ran;
    char piece[4096];
    for (size_t n; (n = fread(piece, 1, sizeof piece, pipe)) > 0;) ran.output.append(piece, n);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) ran.code = WEXITSTATUS(status);
    return ran;
}

inline std::vector<unsigned char> FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteFile(const std::string& path, const std::string& text) {
    WriteFile(path, std::vector<unsigned char>(text.begin(), text.end()));
}
