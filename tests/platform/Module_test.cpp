#include "zvc/platform/Module.h"

#include <gtest/gtest.h>

#include <cmath>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace zvc::platform;

namespace {

namespace fs = std::filesystem;

// Copies of a library that every system has stand in for plug-ins.
std::string MathLibrary() {
    void* handle = dlopen("libm.so.6", RTLD_NOW);
    const std::string path = ModulePath(handle);
    dlclose(handle);
    return path;
}

class Module : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "zvc-module-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_folder = fs::canonical(name).string();
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string Copy(const std::string& name) const {
        fs::copy_file(MathLibrary(), m_folder + "/" + name);
        return m_folder + "/" + name;
    }
    std::string Broken(const std::string& name) const {
        std::ofstream(m_folder + "/" + name) << "this is no library";
        return m_folder + "/" + name;
    }
    static std::string Loaded(const std::string& name) {
        void* handle = LoadModule(name.c_str());
        const std::string path = handle != nullptr ? ModulePath(handle) : "";
        FreeModule(handle);
        return path;
    }

    std::string m_folder;
};

int s_own;

}

TEST_F(Module, PathIsTakenWithEachForm) {
    const std::string plain = Copy("plain.so"), prefixed = Copy("libprefixed.so"), bare = Copy("bare"), other = Copy("codec.dli");
    EXPECT_EQ(Loaded(m_folder + "/plain"), plain);
    EXPECT_EQ(Loaded(m_folder + "/plain.so"), plain);
    EXPECT_EQ(Loaded(m_folder + "/prefixed"), prefixed);
    EXPECT_EQ(Loaded(m_folder + "/bare"), bare);
    EXPECT_EQ(Loaded(m_folder + "/codec.dli"), other);
    EXPECT_EQ(Loaded(m_folder + "/none"), "");
    EXPECT_NE(LastLoadError().find("none"), std::string::npos);
}

TEST_F(Module, NameWithADotGetsItsExtensionAsWell) {
    EXPECT_EQ(Loaded(m_folder + "/v.2"), "");
    const std::string path = Copy("v.2.so");
    EXPECT_EQ(Loaded(m_folder + "/v.2"), path);
}

TEST_F(Module, BackslashSeparates) {
    const std::string path = Copy("plain.so");
    std::string name = m_folder + "/plain";
    for (char& c : name)
        if (c == '/') c = '\\';
    EXPECT_EQ(Loaded(name), path);
}

TEST_F(Module, DirectoryOfThatNameIsPassedOver) {
    fs::create_directory(m_folder + "/plug.so");
    const std::string path = Copy("libplug.so");
    EXPECT_EQ(Loaded(m_folder + "/plug"), path);
}

TEST_F(Module, FileThatDoesNotLoadEndsTheSearch) {
    Broken("plug.so");
    Copy("libplug.so");
    EXPECT_EQ(Loaded(m_folder + "/plug"), "");
    EXPECT_NE(LastLoadError().find("plug.so"), std::string::npos);
    EXPECT_EQ(LastLoadError().find("libplug.so"), std::string::npos);
}

TEST_F(Module, EmptyFileNameFails) {
    EXPECT_EQ(LoadModule(""), nullptr);
    EXPECT_EQ(LoadModule("folder/"), nullptr);
}

TEST_F(Module, BareNameIsLookedForBesideTheProgram) {
    const fs::path folder = fs::path(ProgramPath()).parent_path();
    const std::string name = "zvcmoduletest" + std::to_string(getpid());
    const fs::path file = folder / (name + ".so");
    fs::copy_file(MathLibrary(), file);
    EXPECT_EQ(Loaded(name), file.string());
    fs::remove(file);
    EXPECT_EQ(Loaded(name), "");
    EXPECT_NE(LastLoadError().find(name), std::string::npos);
}

TEST_F(Module, BareNameIsLookedForByTheSystem) { EXPECT_EQ(Loaded("libm.so.6"), MathLibrary()); }

TEST_F(Module, ProgramItselfIsNoModule) {
    EXPECT_EQ(LoadModule(fs::path(ProgramPath()).filename().c_str()), nullptr);
}

TEST_F(Module, SamePlaceByTwoPathsIsOneModule) {
    const std::string path = Copy("plain.so");
    fs::create_symlink(path, m_folder + "/link.so");
    void* first = LoadModule(path.c_str());
    void* second = LoadModule((m_folder + "/./link.so").c_str());
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    FreeModule(second);
    FreeModule(first);
}

TEST_F(Module, FreeUnloadsWithTheLastReference) {
    const std::string path = Copy("zvcunloads.so");
    void* first = LoadModule(path.c_str());
    void* second = LoadModule(path.c_str());
    EXPECT_EQ(ModuleHandle("zvcunloads"), first);
    FreeModule(first);
    EXPECT_EQ(ModuleHandle("zvcunloads"), second);
    FreeModule(second);
    EXPECT_EQ(ModuleHandle("zvcunloads"), nullptr);
    FreeModule(nullptr);
}

TEST_F(Module, SymbolMustBeTheModulesOwn) {
    void* handle = LoadModule(Copy("plain.so").c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(ModuleSymbol(handle, "lgamma_r"), nullptr);
    EXPECT_NE(dlsym(handle, "malloc"), nullptr);           // found in what it depends on
    EXPECT_EQ(ModuleSymbol(handle, "malloc"), nullptr);
    EXPECT_EQ(ModuleSymbol(handle, "no_such_symbol"), nullptr);
    EXPECT_EQ(ModuleSymbol(nullptr, "malloc"), nullptr);
    EXPECT_EQ(ModuleOfAddress(ModuleSymbol(handle, "lgamma_r")), handle);
    FreeModule(handle);
}

TEST_F(Module, HandleByName) {
    void* handle = LoadModule(Copy("libzvcnamed.so").c_str());
    for (const char* name : {"zvcnamed", "libzvcnamed", "libzvcnamed.so", "zvcnamed.dll", "some/zvcnamed", "some\\zvcnamed"})
        EXPECT_EQ(ModuleHandle(name), handle) << name;
    EXPECT_EQ(ModuleHandle("zvcname"), nullptr);
    EXPECT_EQ(ModuleHandle(""), nullptr);
    FreeModule(handle);
}

TEST_F(Module, NullNamesTheProgram) {
    EXPECT_EQ(ModuleHandle(nullptr), ModuleOfAddress(&s_own));
    EXPECT_EQ(ModulePath(nullptr), ProgramPath());
    EXPECT_EQ(ModulePath(ModuleOfAddress(&s_own)), ProgramPath());
    EXPECT_TRUE(fs::equivalent(ProgramPath(), "/proc/self/exe"));
    int local = 0;
    EXPECT_EQ(ModuleOfAddress(&local), nullptr);
}
