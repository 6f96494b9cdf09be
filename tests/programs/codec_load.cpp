// Loads each picture it is given and tells whether that worked, and by how many MiB the process's memory grew at its most.
//     codec_load FILE...

#include <zvc/zvc.h>

#include <cstdio>
#include <fstream>
#include <string>

ZV_MODULE("codec_load", nullptr, nullptr)

namespace {

long PeakMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmPeak:")) return std::stol(line.substr(7)) / 1024;
    return 0;
}

}

int main(int argc, char** argv) {
    ZvStream$ none = new ZvStdFILEStream("/dev/null", "rb");
    ZvImgCodec::GetDecoder(none, nullptr);                  // the plug-ins' own memory does not count
    for (int i = 1; i < argc; ++i) {
        const long before = PeakMegabytes();
        ZvImage image;
        const bool loaded = image.Load(argv[i]);
        std::printf("%s %ld\n", loaded ? "true" : "false", PeakMegabytes() - before);
    }
    return 0;
}
