// Compares the first million numbers of a process with the published generator, and prints those that the arguments name,
// counted from 1, as their bits.

#include <zvc/zvc.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>

ZV_MODULE("random_sequence", nullptr, nullptr)

int main(int argc, char** argv) {
    std::set<long> wanted;
    for (int i = 1; i < argc; ++i) wanted.insert(std::strtol(argv[i], nullptr, 10));
    std::mt19937 published(5489);
    for (long call = 1; call <= 1000000; ++call) {
        const double value = ZvMath::Random();
        if (value != static_cast<double>(published()) / 4294967296.0) {
            std::printf("call %ld differs\n", call);
            return 1;
        }
        if (wanted.count(call) != 0) std::printf("0x%016llx\n", std::bit_cast<unsigned long long>(value));
    }
}
