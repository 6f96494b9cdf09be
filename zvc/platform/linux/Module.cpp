#include "zvc/platform/Module.h"

#include "zvc/platform/CriticalSection.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <strings.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

// The loader's own words, kept because its own copy goes with the next call of anybody.
CriticalSection s_errorSection;
char s_error[512];

void KeepError(const char* text) {
    SectionLock lock(s_errorSection);
    std::strncpy(s_error, text != nullptr ? text : "", sizeof s_error - 1);
}

bool Equal(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string FileOfAddress(const void* address) {
    Dl_info info;
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
    char resolved[PATH_MAX];
    return realpath(info.dli_fname, resolved) != nullptr ? resolved : info.dli_fname;
}

void* Open(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) KeepError(dlerror());
    return handle;
}

void* OpenResolved(const std::string& path) {
    char resolved[PATH_MAX];               // the same file by two paths is one module
    return Open(realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : path);
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
    std::string forms[3] = {base + ".so", "lib" + base + ".so", base};
    const bool hasExtension = base.find('.') != std::string::npos;
    const std::string* first = hasExtension ? &forms[2] : &forms[0];
    const std::string* const end = forms + 3;

    if (slash != std::string::npos) {
        for (const std::string* form = first; form != end; ++form) {
            const std::string path = name.substr(0, slash + 1) + *form;
            if (access(path.c_str(), F_OK) == 0) return OpenResolved(path);
        }
        KeepError((name + ": no such file").c_str());
        return nullptr;
    }
    const std::string program = ProgramPath();
    const std::string folders[2] = {FolderOf(program), FolderOf(FileOfAddress(reinterpret_cast<const void*>(&LoadModule)))};
    for (const std::string& folder : folders)
        for (const std::string* form = first; form != end; ++form) {
            const std::string path = folder + "/" + *form;
            if (path != program && access(path.c_str(), F_OK) == 0) return OpenResolved(path);
        }
    for (const std::string* form = first; form != end; ++form)
        if (void* handle = Open(*form)) return handle;
    return nullptr;
}

void FreeModule(void* handle) {
    if (handle != nullptr) dlclose(handle);
}

void* ModuleSymbol(void* handle, const char* name) {
    void* symbol = dlsym(handle, name);
    link_map* wanted = nullptr;
    void* found = nullptr;
    Dl_info info;
    if (symbol == nullptr || dlinfo(handle, RTLD_DI_LINKMAP, &wanted) != 0) return nullptr;
    if (dladdr1(symbol, &info, &found, RTLD_DL_LINKMAP) == 0) return nullptr;
    return found == wanted ? symbol : nullptr;
}

void* ModuleHandle(const char* name) {
    void* program = dlopen(nullptr, RTLD_NOW);
    if (program != nullptr) dlclose(program);
    if (name == nullptr) return program;
    const std::string wanted = name;
    for (auto* map = static_cast<link_map*>(program); map != nullptr; map = map->l_next) {
        const char* slash = std::strrchr(map->l_name, '/');
        const std::string file = slash != nullptr ? slash + 1 : map->l_name;
        const std::string stem = file.substr(0, file.find('.'));
        // Module names have no case.
        if (Equal(file, wanted) || Equal(stem, wanted) || Equal(stem, "lib" + wanted)) return map;
    }
    return nullptr;
}

std::string ProgramPath() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path);
    return n > 0 ? std::string(path, static_cast<size_t>(n)) : std::string();
}

std::string LastLoadError() {
    SectionLock lock(s_errorSection);
    return s_error;
}

}
