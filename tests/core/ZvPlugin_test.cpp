#include <zvc/zvc.h>

#include "../support/Arguments.h"
#include "zvc/platform/Module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

ZvString$ Text(const std::string& text) { return new ZvString(text.c_str()); }

std::string FolderOfTests() {
    const std::string program = zvc::platform::ProgramPath();
    return program.substr(0, program.find_last_of('/') + 1);
}

ZvPlugin* Gadgets() { return ZvSystem::LoadPlugin(Text("plug_gadgets")); }

/// Objects that the table does not own have nobody who deletes them. They are kept where a leak checker sees them.
ZvPlugin* Keep(ZvPlugin* plugin) {
    static auto* const s_kept = new std::vector<ZvPlugin*>;       // never destroyed
    s_kept->push_back(plugin);
    return plugin;
}

template <class Function>
Function Symbol(ZvPlugin* plugin, const char* name) { return reinterpret_cast<Function>(plugin->GetSymbol(name)); }

std::vector<std::string> Names(const ZvArrayList$& types) {
    std::vector<std::string> names;
    for (size_t i = 0; i < types->Count(); ++i) names.push_back(ZvType$((*types)[i])->GetName()->CStr());
    std::sort(names.begin(), names.end());
    return names;
}

/// A plug-in that the test itself ends.
class OwnPlugin : public ZvPlugin {
public:
    explicit OwnPlugin(const char* path) : ZvPlugin(path) {}
    ~OwnPlugin() override = default;
};

std::vector<std::string> s_heard;
void Hear(const char* words) { s_heard.push_back(words); }

}

TEST(ZvPlugin, LoadingBringsItsClassesIntoTheRegistry) {
    ZvPlugin* plugin = Gadgets();
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(*plugin->GetName(), "plug_gadgets");
    ASSERT_NE(ZvSystem::FindType("Gadget"), nullptr);
    EXPECT_STREQ(ZvSystem::FindType("Gadget")->GetModule()->name, "plug_gadgets");
    EXPECT_NE(ZvSystem::FindModule("plug_gadgets"), nullptr);
    EXPECT_NE(ZvSystem::FindModule("plug_gadgets")->handle, nullptr);
    EXPECT_EQ(plugin->GetType(), &ZvPlugin::s_type);
    EXPECT_EQ(plugin->ReferenceCount(), 0);
}

TEST(ZvPlugin, ModuleWithoutAClassIsInTheTableFromItsLoadOn) {
    EXPECT_EQ(ZvSystem::FindModule("plug_bare"), nullptr);
    void* module = zvc::platform::LoadModule("plug_bare");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(ZvSystem::FindModule("plug_bare"), nullptr);
    zvc::platform::FreeModule(module);
    EXPECT_EQ(ZvSystem::FindModule("plug_bare"), nullptr);
    ZvPlugin* plugin = ZvSystem::LoadPlugin(Text("plug_bare"));
    EXPECT_EQ(*plugin->GetName(), "plug_bare");
    EXPECT_EQ(plugin->EnumerateTypes(nullptr)->Count(), 0u);
}

TEST(ZvPlugin, IsLoadedOnceUnderItsName) {
    ZvPlugin* plugin = Gadgets();
    EXPECT_EQ(Gadgets(), plugin);
    EXPECT_EQ(ZvSystem::LoadPlugin(plugin->GetName()), plugin);
}

TEST(ZvPlugin, PathToALoadedModuleGivesASecondObjectThatTheTableDoesNotTake) {
    ZvPlugin* plugin = Gadgets();
    const int inits = Symbol<int (*)()>(plugin, "plug_gadgets_inits")();
    ZvPlugin* second = Keep(ZvSystem::LoadPlugin(Text(FolderOfTests() + "plug_gadgets.so")));
    EXPECT_NE(second, plugin);
    EXPECT_EQ(*second->GetName(), "plug_gadgets");
    EXPECT_EQ(Gadgets(), plugin);
    EXPECT_EQ(second->GetSymbol("plug_gadgets_inits"), plugin->GetSymbol("plug_gadgets_inits"));
    EXPECT_EQ(Symbol<int (*)()>(plugin, "plug_gadgets_inits")(), inits + 1);     // once for each object
}

TEST(ZvPlugin, StandsUnderTheNameOfItsRecord) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(Text(FolderOfTests() + "plug_alias.so"));
    EXPECT_EQ(*plugin->GetName(), "AliasedModule");
    EXPECT_EQ(ZvSystem::LoadPlugin(Text("AliasedModule")), plugin);
    EXPECT_NE(Keep(ZvSystem::LoadPlugin(Text("plug_alias"))), plugin);
    ZvObject$ o = ZvSystem::New(Text("AliasedModule.Aliased"));
    EXPECT_TRUE(o);
}

TEST(ZvPlugin, NewDividesTheNameAtTheFirstDot) {
    ZvObject* o = ZvSystem::New(Text("plug_gadgets.Gadget"));
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(o->ReferenceCount(), 0);
    ZvObject$ owner = o;
    EXPECT_EQ(*o->ToString(), "gadget of 1");
    EXPECT_EQ(ZvSystem::New(Text("plug_gadgets.Gadget.More")), nullptr);
    EXPECT_EQ(ZvSystem::New(Text("plug_gadgets.")), nullptr);            // an empty name is none, and not the plug-in's own
}

TEST(ZvPlugin, NewWithoutADotTakesOneWordForBoth) {
    ZvObject$ o = ZvSystem::New(Text("plug_gadgets"));
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->GetType()->GetName(), "plug_gadgets");
    o = ZvSystem::New(Text("plug_gadgets"), nullptr);
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->GetType()->GetName(), "plug_gadgets");
}

TEST(ZvPlugin, NewWithArgumentsConstructs) {
    ZvObject$ o = ZvSystem::New(Text("plug_gadgets.Gadget"), Arguments({Box(5)}));
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->ToString(), "gadget of 5");
    EXPECT_EQ(ZvSystem::New(Text("plug_gadgets.Gadget"), Arguments({Box(5.0)})), nullptr);
}

TEST(ZvPlugin, CreateWithANullHandleMakesTheClassOfThePluginsName) {
    ZvObject$ o = Gadgets()->Create(nullptr);
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->GetType()->GetName(), "plug_gadgets");
    ZvArguments$ none;
    o = Gadgets()->Construct(nullptr, none);
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->GetType()->GetName(), "plug_gadgets");
}

TEST(ZvPlugin, CreatesAnyClassOfTheProcess) {
    ZvArrayList$ list = ZvObject$(Gadgets()->Create(Text("ZvArrayList")));
    EXPECT_TRUE(list);
}

TEST(ZvPlugin, UnknownClassAndOneWithoutAFactoryGiveNull) {
    EXPECT_EQ(Gadgets()->Create(Text("NoSuchClass")), nullptr);
    EXPECT_EQ(Gadgets()->Create(Text("GadgetShop")), nullptr);
    EXPECT_EQ(Gadgets()->Create(Text("")), nullptr);
    ZvArguments$ args = Arguments({Box(1)});
    EXPECT_EQ(Gadgets()->Construct(Text("NoSuchClass"), args), nullptr);
    EXPECT_EQ(Gadgets()->Construct(Text("GadgetShop"), args), nullptr);
}

TEST(ZvPlugin, EnumerateTypesWithoutABaseListsEveryClass) {
    const std::vector<std::string> all = {"Gadget", "GadgetShop", "Tool", "plug_gadgets"};
    EXPECT_EQ(Names(Gadgets()->EnumerateTypes(nullptr)), all);
}

TEST(ZvPlugin, EnumerateTypesListsWhatDerivesFromTheBase) {
    const std::vector<std::string> objects = {"Gadget", "GadgetShop", "plug_gadgets"};
    EXPECT_EQ(Names(Gadgets()->EnumerateTypes(&ZvObject::s_type)), objects);
    const std::vector<std::string> interfaces = {"Tool"};
    EXPECT_EQ(Names(Gadgets()->EnumerateTypes(&ZvInterface::s_type)), interfaces);
    const std::vector<std::string> itself = {"Gadget"};
    EXPECT_EQ(Names(Gadgets()->EnumerateTypes(ZvSystem::FindType("Gadget"))), itself);
    EXPECT_EQ(Gadgets()->EnumerateTypes(&ZvStream::s_type)->Count(), 0u);
}

TEST(ZvPlugin, OfTwoClassesOfOneNameTheOlderIsTheLastToEnter) {
    ZvArrayList$ types = Gadgets()->EnumerateTypes(&ZvObject::s_type);
    ZvType* shop = Symbol<ZvType* (*)()>(Gadgets(), "plug_gadgets_shop")();
    bool found = false;
    for (size_t i = 0; i < types->Count(); ++i) found = found || (*types)[i] == shop;
    EXPECT_TRUE(found);
    EXPECT_NE(ZvSystem::FindType("GadgetShop"), shop);       // the registry has the younger
}

TEST(ZvPlugin, GetSymbolFindsWhatTheLibraryExports) {
    EXPECT_NE(Gadgets()->GetSymbol("plug_gadgets_inits"), nullptr);
    EXPECT_EQ(Gadgets()->GetSymbol("plug_gadgets_no_such"), nullptr);
    EXPECT_EQ(Gadgets()->GetSymbol(""), nullptr);
    EXPECT_EQ(Gadgets()->GetSymbol(nullptr), nullptr);
}

TEST(ZvPlugin, LibraryWithoutAnExportIsGoodForItsSymbols) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(Text("plug_plain"));
    EXPECT_EQ(*plugin->GetName(), "plug_plain");
    EXPECT_EQ(Symbol<int (*)()>(plugin, "plug_plain_answer")(), 42);
    EXPECT_EQ(ZvSystem::FindModule("plug_plain"), nullptr);
    EXPECT_EQ(ZvSystem::New(Text("plug_plain.Anything")), nullptr);
    EXPECT_EQ(plugin->EnumerateTypes(nullptr)->Count(), 0u);
}

TEST(ZvPlugin, ExportThatGivesNullIsAPluginWithoutTypes) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(Text("plug_null"));
    EXPECT_EQ(*plugin->GetName(), "plug_null");
    EXPECT_EQ(plugin->EnumerateTypes(nullptr)->Count(), 0u);
    EXPECT_EQ(plugin->Create(nullptr), nullptr);
}

TEST(ZvPlugin, NameOfALibraryWithoutARecordComesFromItsPath) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(Text("plug_plain"));
    std::string path = FolderOfTests() + "plug_plain.so";
    std::replace(path.begin(), path.end(), '/', '\\');
    ZvPlugin* second = Keep(ZvSystem::LoadPlugin(Text(path)));
    EXPECT_NE(second, plugin);
    EXPECT_EQ(*second->GetName(), "plug_plain");
    EXPECT_EQ(second->GetSymbol("plug_plain_answer"), plugin->GetSymbol("plug_plain_answer"));
}

TEST(ZvPlugin, WhatCannotBeLoadedRaisesWithThePath) {
    for (const char* name : {"no_such_plugin", "/no/such/plugin.so", ""}) {
        try {
            ZvSystem::LoadPlugin(new ZvString(name));
            ADD_FAILURE() << name;
        } catch (ZvPluginUnloadedException& e) {
            EXPECT_EQ(*e.What(), name);
        }
    }
    EXPECT_THROW(ZvSystem::New(Text("no_such_plugin.Type")), ZvPluginUnloadedException);
    EXPECT_THROW(ZvSystem::New(Text(".Type"), nullptr), ZvPluginUnloadedException);
    const ZvString$ null;
    EXPECT_THROW(ZvSystem::LoadPlugin(null), ZvPluginUnloadedException);
    EXPECT_THROW(ZvSystem::New(null), ZvPluginUnloadedException);
    EXPECT_THROW(ZvSystem::New(null, nullptr), ZvPluginUnloadedException);
    EXPECT_TRUE(ZvPluginUnloadedException::s_type.IsDerivedFrom(&ZvException::s_type));
}

TEST(ZvPlugin, SetDllPathDoesNothing) {
    ZvSystem::SetDllPath("/no/such/folder");
    ZvSystem::SetDllPath(nullptr);
    EXPECT_NE(Gadgets(), nullptr);
}

TEST(ZvPlugin, HasThreeEmptyTables) {
    EXPECT_EQ(ZvPlugin::GetConstructorMap()->GetNumConstructors(), 0u);
    EXPECT_EQ(ZvPlugin::GetFieldMap()->Length(), 0);
    EXPECT_EQ(ZvPlugin::GetMethodMap()->GetNumMethod(), 0u);
    EXPECT_EQ(ZvPlugin::s_type.CreateObject(), nullptr);
}

TEST(ZvPlugin, EndsInOrderAndTakesItsDescriptorsWithIt) {
    char address[32];
    std::snprintf(address, sizeof address, "%llx", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&Hear)));
    setenv("PLUG_UNLOAD_LISTENER", address, 1);
    for (int round = 0; round < 2; ++round) {
        s_heard.clear();
        ZvString$ name;
        {
            auto* plugin = new OwnPlugin("plug_unload");
            name = plugin->GetName();
            ASSERT_NE(ZvSystem::FindType("Fleeting"), nullptr);
            ASSERT_NE(ZvSystem::FindModule("plug_unload"), nullptr);
            ASSERT_NE(plugin->GetSymbol("plug_unload_text"), nullptr);
            Symbol<const char* (*)()>(plugin, "plug_unload_text")();
            ZvArguments$ args = Arguments({Text("abc")});
            ZvObject$ o = plugin->Create(Text("Fleeting"));
            ZvMethod$ matches = o->GetType()->Find(Text("Matches"), &ZvPrimitive<bool>::s_type, args);
            ASSERT_TRUE(matches);
            ZvValue$ answer;
            matches->Invoke(o.Get(), answer, args);
            ASSERT_TRUE(answer);
            EXPECT_TRUE(static_cast<ZvPrimitive<bool>*>(answer.Get())->value);
            o = nullptr;
            matches = nullptr;
            delete plugin;
        }
        // One count is the descriptor's own; the other is that of the plug-in's types.
        const std::vector<std::string> expected = {"statics are made", "init: known, counted 2", "term: known, counted 1",
                                                   "statics are gone"};
        EXPECT_EQ(s_heard, expected) << round;
        EXPECT_EQ(ZvSystem::FindType("Fleeting"), nullptr);
        EXPECT_EQ(ZvSystem::FindModule("plug_unload"), nullptr);
        EXPECT_EQ(zvc::platform::ModuleHandle("plug_unload"), nullptr);
        EXPECT_TRUE($L("plug_unload") == name);          // an interned text outlives the literal that it was made of
        EXPECT_EQ(*name, "plug_unload");
    }
    unsetenv("PLUG_UNLOAD_LISTENER");
}

namespace {

struct Ended {
    int status;
    std::string output;
};

Ended RunPluginExit(const std::string& how) {
    const std::string command = "'" + FolderOfTests() + "plugin_exit' " + how + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    Ended ended{-1, ""};
    if (pipe == nullptr) return ended;
    std::array<char, 256> buffer;
    while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr) ended.output += buffer.data();
    ended.status = pclose(pipe);
    return ended;
}

}

TEST(ZvPlugin, ProcessThatEndsWithPluginsLoadedKeepsItsExitCodeAndTermRunsOnce) {
    const std::string expected =
        "statics are made\ninit: known, counted 2\nmain ends\nterm: known, counted 1\nstatics are gone\n";
    for (const char* how : {"return", "exit"}) {
        const Ended ended = RunPluginExit(how);
        EXPECT_TRUE(WIFEXITED(ended.status)) << how;
        EXPECT_EQ(WEXITSTATUS(ended.status), 7) << how;
        EXPECT_EQ(ended.output, expected) << how;
    }
}

TEST(ZvPlugin, QuickExitRunsNothing) {
    const Ended ended = RunPluginExit("quick");
    EXPECT_TRUE(WIFEXITED(ended.status));
    EXPECT_EQ(WEXITSTATUS(ended.status), 7);
    EXPECT_EQ(ended.output, "statics are made\ninit: known, counted 2\nmain ends\n");
}
