#include "zvc/platform/Module.h"

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/linux/Region.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

// The loader's own words, kept because its own copy goes with the next call of anybody.
CriticalSection s_errorSection;
char s_error[1024];

void KeepError(const char* text) {
    Region region;
    SectionLock lock(s_errorSection);
    std::snprintf(s_error, sizeof s_error, "%s", text != nullptr ? text : "");
}

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

// The same file by two paths is one module, and a path must not depend on the current directory later.
std::string Resolved(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : path;
}

bool IsFile(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

void* Open(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) KeepError(dlerror());
    return handle;
}

using Forms = std::array<std::string, 3>;

Forms FormsOf(const std::string& base) {
    const std::string plain = base + ".so", prefixed = "lib" + base + ".so";
    return base.find('.') != std::string::npos ? Forms{base, plain, prefixed} : Forms{plain, prefixed, base};
}

// True when there was such a file in the folder; handle is what came of it.
bool OpenIn(const std::string& folder, const Forms& forms, const std::string& except, void*& handle) {
    for (const std::string& form : forms) {
        const std::string path = folder + "/" + form;
        if (path == except || !IsFile(path)) continue;
        handle = Open(Resolved(path));
        return true;
    }
    return false;
}

// The loader's complaint begins with the name as it was given when it found no such file, and with a path otherwise.
void* OpenBySearch(const Forms& forms) {
    for (const std::string& form : forms) {
        void* handle = Open(form);
        if (handle != nullptr || LastLoadError().compare(0, form.size() + 1, form + ":") != 0) return handle;
    }
    return nullptr;
}

struct Search {
    const std::string* name;
    void* program;
    void* found;
};

// Module names have no case.
bool Equal(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

bool IsNamed(const char* path, const std::string& name) {
    const char* slash = std::strrchr(path, '/');
    const std::string file = slash != nullptr ? slash + 1 : path;
    const std::string stem = file.substr(0, file.find('.'));
    return !file.empty() && (Equal(file, name) || Equal(stem, name) || Equal(stem, "lib" + name));
}

// Called by the loader with its list locked; once is enough, for the maps are a list of their own.
int SearchMaps(dl_phdr_info*, size_t, void* argument) {
    auto* search = static_cast<Search*>(argument);
    for (auto* map = static_cast<link_map*>(search->program); map != nullptr && search->found == nullptr; map = map->l_next)
        if (IsNamed(map->l_name, *search->name)) search->found = map;
    return 1;
}

void* Program() {
    void* program = dlopen(nullptr, RTLD_NOW);
    if (program != nullptr) dlclose(program);
    return program;
}

}

void* LoadModule(const char* given) {
    std::string name = given;
    for (char& c : name)
        if (c == '\\') c = '/';
    const size_t slash = name.rfind('/');
    const std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    if (base.empty()) {
        KeepError("no file name");
        return nullptr;
    }
    const Forms forms = FormsOf(base);
    void* handle = nullptr;
    if (slash != std::string::npos) {
        if (!OpenIn(name.substr(0, slash), forms, {}, handle)) KeepError((name + ": no such file").c_str());
        return handle;
    }
    const std::string program = ProgramPath();
    const std::string own = ModulePath(ModuleOfAddress(reinterpret_cast<const void*>(&LoadModule)));
    if (OpenIn(FolderOf(program), forms, program, handle) || OpenIn(FolderOf(own), forms, program, handle)) return handle;
    return OpenBySearch(forms);
}

void FreeModule(void* handle) {
    if (handle != nullptr) dlclose(handle);
}

void* ModuleSymbol(void* handle, const char* name) {
    if (handle == nullptr || name == nullptr) return nullptr;
    void* symbol = dlsym(handle, name);
    return symbol != nullptr && ModuleOfAddress(symbol) == handle ? symbol : nullptr;
}

void* ModuleHandle(const char* name) {
    if (name == nullptr) return Program();
    std::string wanted = name;
    wanted.erase(0, wanted.find_last_of("/\\") + 1);
    if (wanted.size() > 4 && wanted.compare(wanted.size() - 4, 4, ".dll") == 0) wanted.resize(wanted.size() - 4);
    Search search{&wanted, Program(), nullptr};
    dl_iterate_phdr(SearchMaps, &search);
    return search.found;
}

// The loader's handle is the module's link map.
void* ModuleOfAddress(const void* address) {
    Dl_info info;
    void* map = nullptr;
    return dladdr1(address, &info, &map, RTLD_DL_LINKMAP) != 0 ? map : nullptr;
}

std::string ModulePath(void* handle) {
    const char* name = handle != nullptr ? static_cast<const link_map*>(handle)->l_name : "";
    return name[0] != '\0' ? Resolved(name) : ProgramPath();
}

std::string ProgramPath() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path);
    return n > 0 ? std::string(path, static_cast<size_t>(n)) : std::string();
}

std::string LastLoadError() {
    char text[sizeof s_error];
    {
        Region region;
        SectionLock lock(s_errorSection);
        std::memcpy(text, s_error, sizeof text);
    }
    return text;
}

}
