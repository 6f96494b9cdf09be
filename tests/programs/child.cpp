// A child for the tests of processes and shared arrays: does what its second word says. The first may be anything, since
// whoever starts it chooses that.

#include <zvc/zvc.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

ZV_MODULE("child", nullptr, nullptr)

namespace {

using Doubles = ZvSharePrimArray<double>;

void Words(int count, char** words) {
    for (int i = 0; i < count; ++i) std::printf("[%s]\n", words[i]);
}

// The open descriptors, and what the first three lead to.
void Descriptors() {
    DIR* directory = opendir("/proc/self/fd");
    while (const dirent* entry = readdir(directory)) {
        const int descriptor = std::atoi(entry->d_name);
        if (entry->d_name[0] == '.' || descriptor == dirfd(directory)) continue;
        char target[256] = {};
        const std::string link = std::string("/proc/self/fd/") + entry->d_name;
        if (readlink(link.c_str(), target, sizeof target - 1) < 0) continue;
        std::printf("%d %s\n", descriptor, std::strncmp(target, "pipe:", 5) == 0 ? "pipe" : target);
    }
    closedir(directory);
}

void Signals() {
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (sigismember(&blocked, signal) == 1) std::printf("blocked %d\n", signal);
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) std::printf("ignored %d\n", signal);
    }
    std::printf("done\n");
}

int Echo() {
    char buffer[4096];
    for (;;) {
        const ssize_t n = read(0, buffer, sizeof buffer);
        if (n <= 0) return n == 0 ? 0 : 1;
        if (write(1, buffer, static_cast<size_t>(n)) != n) return 2;
    }
}

// What the standard streams are good for: says so in a file.
void Streams(const char* path) {
    char c;
    const int in = read(0, &c, 1) == 0 ? 1 : 0;
    const int out = write(1, "x", 1) == 1 ? 1 : 0, error = write(2, "x", 1) == 1 ? 1 : 0;
    FILE* file = std::fopen(path, "w");
    std::fprintf(file, "%d %d %d", in, out, error);
    std::fclose(file);
}

// Ends while a child of its own runs, which ends when its input does.
int Parent() {
    ZvProcessStartInfo$ info = new ZvProcessStartInfo(new ZvString("/proc/self/exe"), new ZvString("child echo"));
    info->SetRedirectStandardInput(true);
    return ZvProcess::Start(info) ? 7 : 1;
}

// Makes a shared array, says so, and then stays until it is killed, or its input ends.
void Hold(const char* name) {
    ZvHandle<Doubles, ZvArrayValue$> array = new Doubles(new ZvString(name), 4, nullptr);
    for (unsigned int i = 0; i < 4; ++i) (*array)[i] = i + 0.5;
    if (write(1, "held\n", 5) != 5) return;
    char c;
    while (read(0, &c, 1) > 0) {}
}

}

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    const char* const operand = argc > 2 ? argv[2] : "";
    if (what == "words") Words(argc, argv);
    if (what == "descriptors") Descriptors();
    if (what == "signals") Signals();
    if (what == "echo") return Echo();
    if (what == "complain") std::fprintf(stderr, "%s\n", operand);
    if (what == "directory") std::printf("%s\n", getcwd(nullptr, 0));
    if (what == "environment") std::printf("%s\n", std::getenv(operand));
    if (what == "code") return std::atoi(operand);
    if (what == "die") std::raise(std::atoi(operand));
    if (what == "parent") return Parent();
    if (what == "streams") Streams(operand);
    if (what == "hold") Hold(operand);
    if (what == "sleep") sleep(60);
    return 0;
}
