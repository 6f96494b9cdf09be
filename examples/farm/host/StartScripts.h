#pragma once

#include "Options.h"

namespace farm {

/// What the workers are started by. A channel starts a program without arguments; launcher, host and worker stand in a small
/// script for each, in a folder that goes with this object. So does what a worker says on its standard error.
class StartScripts {
public:
    /// Raises std::filesystem::filesystem_error.
    explicit StartScripts(const Options& options);
    ~StartScripts();
    StartScripts(const StartScripts&) = delete;
    StartScripts& operator=(const StartScripts&) = delete;

    /// The script of a worker, counted from 0.
    std::string Path(size_t worker) const;

    /// The last line that the latest worker of a script, or its launcher, said; "" for nothing.
    std::string LastWords(size_t worker) const;

private:
    std::string ErrorPath(size_t worker) const { return Path(worker) + ".err"; }

    std::string m_folder;
};

}
