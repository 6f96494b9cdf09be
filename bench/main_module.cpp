// The module record and the entry of every benchmark program.
#include <benchmark/benchmark.h>
#include <zvc/zvc.h>

ZV_MODULE("Bench", nullptr, nullptr)

BENCHMARK_MAIN();
