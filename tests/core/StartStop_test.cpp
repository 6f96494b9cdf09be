// Plug-ins and the beginning and end of the library, in processes of their own where the end of the process matters.

#include "support/Leaks.h"

#include <zvc/zvc.h>

#include "support/Program.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace {

ZvArguments$ OneInt(int value) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(1, nullptr);
    (*args)[0] = new ZvPrimitive<int>(value);
    return args;
}

}

TEST(StartStop, ProcessWithALoadedPluginEndsWithItsOwnCodeAndTermRunsOnce) {
    char log[] = "/tmp/zvc-life-XXXXXX";
    close(mkstemp(log));
    const Outcome outcome = RunProgram(std::string("env LIFEPLUG_LOG=") + log + " " + BesideTests("start_stop"));
    EXPECT_EQ(outcome.code, 7) << outcome.output;
    EXPECT_EQ(outcome.output, "lifeplug 1\n");
    std::ifstream in(log);
    const std::string said(std::istreambuf_iterator<char>(in), {});
    EXPECT_EQ(said.substr(0, 27), "statics up\ninit with types\n");
    EXPECT_EQ(said.find("init", 27), std::string::npos) << said;
    const size_t term = said.find("term");
    ASSERT_NE(term, std::string::npos) << said;
    EXPECT_EQ(said.find("term", term + 1), std::string::npos) << said;
    EXPECT_NE(said.find("statics down"), std::string::npos) << said;
    unlink(log);
}

TEST(StartStop, LibraryLoadsAndClosesAgain) {
    const std::string library = BesideTests("../lib/libzvc.so.0");
    const Outcome outcome = RunProgram(BesideTests("host_dlopen") + " " + library + " 20");
    EXPECT_EQ(outcome.output, "loaded and closed\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(StartStop, NoModuleIsFoundOnceTheShutdownHasBegun) {
    const Outcome outcome = RunProgram(BesideTests("after_end_dlopen") + " " + BesideTests("../lib/libzvc.so.0"));
    EXPECT_NE(outcome.output.find("before: a module\n"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("after: no module\n"), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.code, 0);
}

TEST(ZvPlugin, NewLoadsThePluginNamedBeforeTheDot) {
    const ZvObject$ o = ZvSystem::New(new ZvString("lifeplug.lifeplug"));
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->ToString(), "lifeplug");
    const ZvObject$ same = ZvSystem::New(new ZvString("lifeplug"));
    EXPECT_TRUE(same);
    EXPECT_EQ(ZvSystem::New(new ZvString("lifeplug.Nothing")), nullptr);
    EXPECT_EQ(ZvSystem::New(new ZvString("lifeplug.LifeOther")), nullptr);           // no factory
    const ZvObject$ anywhere = ZvSystem::New(new ZvString("lifeplug.ZvArrayList"));  // any class of the process
    EXPECT_TRUE(anywhere);
    EXPECT_TRUE(ZvObject$(ZvSystem::New(new ZvString("lifeplug"), OneInt(3))));
    EXPECT_EQ(ZvSystem::New(new ZvString("lifeplug.LifeOther"), OneInt(3)), nullptr);
}

TEST(ZvPlugin, OneLoadAndOneObjectForOneName) {
    ZvPlugin* a = ZvSystem::LoadPlugin(new ZvString("lifeplug"));
    EXPECT_EQ(ZvSystem::LoadPlugin(new ZvString("lifeplug")), a);
    EXPECT_EQ(*a->GetName(), "lifeplug");
    // By its path it is another object, which the table does not take.
    const LeaksAllowed nobodyOwnsIt;
    ZvPlugin* byPath = ZvSystem::LoadPlugin(new ZvString(BesideTests("lifeplug.so").c_str()));
    EXPECT_NE(byPath, a);
    EXPECT_EQ(*byPath->GetName(), "lifeplug");
    EXPECT_EQ(ZvSystem::LoadPlugin(new ZvString("lifeplug")), a);
}

TEST(ZvPlugin, NullNameStandsForThePluginsOwn) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(new ZvString("lifeplug"));
    const ZvObject$ o = plugin->Create(ZvString$());
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->ToString(), "lifeplug");
    ZvArguments$ args = OneInt(9);
    const ZvObject$ constructed = plugin->Construct(ZvString$(), args);
    ASSERT_TRUE(constructed);
    EXPECT_EQ(*constructed->GetFieldValues()->Find(new ZvString("m_value"))->ToString(), "9");
}

TEST(ZvPlugin, EnumeratesItsClasses) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(new ZvString("lifeplug"));
    EXPECT_EQ(plugin->EnumerateTypes(nullptr)->Count(), 2u);
    EXPECT_EQ(plugin->EnumerateTypes(&ZvObject::s_type)->Count(), 2u);
    EXPECT_EQ(plugin->EnumerateTypes(ZvSystem::FindType("lifeplug"))->Count(), 1u);
    EXPECT_EQ(plugin->EnumerateTypes(&ZvString::s_type)->Count(), 0u);
}

TEST(ZvPlugin, GivesItsOwnSymbolsAlone) {
    ZvPlugin* plugin = ZvSystem::LoadPlugin(new ZvString("lifeplug"));
    const auto answer = reinterpret_cast<int (*)()>(plugin->GetSymbol("LifeAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(plugin->GetSymbol("no_such_symbol"), nullptr);
}

TEST(ZvPlugin, LibraryThatCannotBeLoadedRaisesWithItsPath) {
    try {
        ZvSystem::LoadPlugin(new ZvString("no_such_plugin"));
        FAIL();
    } catch (ZvPluginUnloadedException& e) {
        EXPECT_EQ(*e.What(), "no_such_plugin");
    }
    EXPECT_THROW(ZvSystem::New(new ZvString("no_such_plugin.Type")), ZvPluginUnloadedException);
}

TEST(ZvPlugin, StreamPullsInTheModuleOfItsTypes) {
    // "lifeplug" from the module "lifeplug", one field "m_value" of type ZvInt32 that holds 6.
    const std::string bytes = std::string("\x84\x87\x90lifeplug\x90lifeplug\xA0\x01\xA0\x01\x84\x87\x90ZvString\x8BZVC\xA0\x02\xA3\x01\x00\x00\x80", 46) +
                              std::string("\x8Fm_value\x87\x8FZvInt32\x8BZVC\xA0\x02\xA0\x01\xA0\x06", 27);
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array = new ZvPrimArray<unsigned char>(bytes.size() + 1, nullptr);
    std::memcpy(array->GetBaseAddress(), bytes.data(), bytes.size());
    ZvStream$ stream = new ZvMemoryStream(array);
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::States(0)));
    ZvObject$ o;
    coder->Read(stream, o);
    ASSERT_TRUE(o);
    EXPECT_EQ(*o->GetFieldValues()->Find(new ZvString("m_value"))->ToString(), "6");
}

TEST(Interning, EqualTextsAreOneObject) {
    const char first[] = "interned once", second[] = "interned once";
    EXPECT_TRUE($L(first) == $L(second));
    EXPECT_EQ(*$L(first), "interned once");
    EXPECT_FALSE($L("interned twice") == $L(first));
}
