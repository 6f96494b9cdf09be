#pragma once

// Programs that tests start, beside the test program.

#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>

struct Outcome {
    int code;                     // -1 when a signal ended it
    std::string output;           // of both kinds
};

inline Outcome Execute(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::string output;
    for (int c; (c = std::fgetc(pipe)) != EOF;) output.push_back(static_cast<char>(c));
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

inline std::string Beside(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}
