// A program that knows nothing of the library: loads it and closes it again, so often. Then no thread of the library's is left.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <thread>

static long Threads() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    std::thread([] {}).join();                    // a sanitizer starts a thread of its own beside the first one
    const long before = Threads();
    for (int i = std::atoi(argv[2]); i != 0; --i) {
        void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            std::printf("%s\n", dlerror());
            return 1;
        }
        if (dlsym(library, "ExportModuleState") == nullptr) return 3;
        if (dlclose(library) != 0) return 4;
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::printf("still loaded\n");
            return 5;
        }
    }
    std::printf("loaded and closed%s\n", Threads() == before ? "" : ", with threads left");
    return 0;
}
