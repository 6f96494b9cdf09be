// Prints what is in a file of the binary object format.

#include "Node.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

const char Usage[] =
    "usage: zvcdump [--json] [--all] [--state=0|1] [--no-plugins] file\n"
    "  --json        one JSON object; bytes outside ASCII are the characters of the same number\n"
    "  --all         all values of a run, and not its first\n"
    "  --state=0|1   the state of the coder that wrote the file: 1 tracks objects. Without it both are tried\n"
    "  --no-plugins  loads nothing: of classes that are not here a layout is read by itself, a codec is not\n"
    "Exit code: 0 for a file that was read to its end, 1 for one that was not, 2 for wrong arguments.\n";

bool Parse(int argc, char** argv, dump::Options& options, std::string& file) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--json") options.json = true;
        else if (word == "--all") options.all = true;
        else if (word == "--no-plugins") options.plugins = false;
        else if (word == "--state=0" || word == "--state=1") options.state = word.back() - '0';
        else if (word.compare(0, 2, "--") == 0 || !file.empty()) return false;
        else file = word;
    }
    return !file.empty();
}

/// False for what cannot be read: a folder as well, which can be opened.
bool ReadFile(const std::string& file, std::string& bytes) {
    std::ifstream in(file, std::ios::binary);
    char piece[1 << 16];
    while (in.read(piece, sizeof piece), in.gcount() != 0) bytes.append(piece, static_cast<size_t>(in.gcount()));
    return in.is_open() && !in.bad();
}

}

int main(int argc, char** argv) {
    dump::Options options;
    std::string file;
    if (!Parse(argc, argv, options, file)) {
        std::fputs(Usage, stderr);
        return 2;
    }
    std::string bytes;
    if (!ReadFile(file, bytes)) {
        std::fprintf(stderr, "zvcdump: %s: cannot be read\n", file.c_str());
        return 1;
    }
    // The stream does not say how it was written. The reading that comes further is the right one.
    dump::Result result = dump::Read(bytes, options.state != 0, options);
    if (!result.whole && options.state < 0) {
        dump::Result copies = dump::Read(bytes, false, options);
        if (copies.whole || copies.stoppedAt > result.stoppedAt) result = std::move(copies);
    }
    if (options.json)
        dump::PrintJson(file, bytes.size(), result);
    else
        dump::PrintText(file, bytes.size(), result);
    return result.whole ? 0 : 1;
}
