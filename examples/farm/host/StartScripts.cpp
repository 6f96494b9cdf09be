#include "StartScripts.h"

#include <zvc/platform/Process.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace farm {

namespace {

/// A word as the shell takes it for itself.
std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

/// A folder that nobody else has, and nobody else can look into.
std::string NewFolder() {
    const std::string name = "zvc-farm-" + std::to_string(zvc::platform::CurrentProcessId()) + "-";
    for (int i = 0;; ++i) {
        const std::filesystem::path folder = std::filesystem::temp_directory_path() / (name + std::to_string(i));
        if (!std::filesystem::create_directory(folder)) continue;
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        return folder;
    }
}

}

StartScripts::StartScripts(const Options& options) : m_folder(NewFolder()) {
    for (size_t i = 0; i < options.hosts.size(); ++i) {
        std::string command = Quoted(options.worker);
        if (!options.launcher.empty()) command = Quoted(options.launcher) + " " + Quoted(options.hosts[i]) + " " + command;
        std::ofstream(Path(i)) << "#!/bin/sh\nexec " << command << " 2>" << Quoted(ErrorPath(i)) << "\n";
        std::filesystem::permissions(Path(i), std::filesystem::perms::owner_all);
    }
}

StartScripts::~StartScripts() {
    std::error_code ignored;                            // it is in the temporary files anyway
    std::filesystem::remove_all(m_folder, ignored);
}

std::string StartScripts::Path(size_t worker) const { return m_folder + "/worker-" + std::to_string(worker + 1); }

std::string StartScripts::LastWords(size_t worker) const {
    std::ifstream file(ErrorPath(worker));
    std::string last;
    for (std::string line; std::getline(file, line);)
        if (!line.empty()) last = line;
    return last;
}

}
