#pragma once

#include <string>
#include <vector>

namespace farm {

/// What the command line asks for.
struct Options {
    std::string scene;                      ///< a text file, or the document of an earlier job
    std::string output;                     ///< what the names of the results begin with
    std::string meshFolder;
    std::string worker;                     ///< the worker program, as the machines that run it know it
    std::string launcher;                   ///< starts a worker somewhere else; empty: here
    std::vector<std::string> hosts;         ///< one for each worker; the names are the launcher's affair
    std::string filter = "bell";            ///< of the smaller picture
    int width = 0, height = 0, samples = 0; ///< 0: as the scene says
    int tile = 32;                          ///< the edge of a tile
    double patience = 60;                   ///< seconds that a worker may take for one answer
    bool byValue = false;                   ///< tiles travel in the channel even where memory is shared

    /// Raises UsageError.
    Options(int argc, char** argv);
};

struct UsageError {
    std::string text;
};

/// How the program is called.
extern const char Usage[];

}
