// A program that knows nothing of the library: loads it and closes it again, many times.
#include <cstdio>
#include <cstring>
#include <dlfcn.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    for (int i = 0; i < 20; ++i) {
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
    std::printf("loaded and closed\n");
    return 0;
}
