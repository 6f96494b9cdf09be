// Ends with a plug-in loaded, in the way that the argument says, and prints what it hears from the plug-in.

#include <zvc/zvc.h>

#include <cstdio>
#include <cstdlib>
#include <string>

ZV_MODULE("plugin_exit", nullptr, nullptr)

namespace {

void Listen(const char* words) {
    std::printf("%s\n", words);
    std::fflush(stdout);
}

}

int main(int argc, char** argv) {
    const std::string how = argc > 1 ? argv[1] : "";
    char address[32];
    std::snprintf(address, sizeof address, "%llx", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&Listen)));
    setenv("PLUG_UNLOAD_LISTENER", address, 1);
    ZvSystem::LoadPlugin(new ZvString("plug_unload"));
    ZvSystem::LoadPlugin(new ZvString("plug_plain"));
    ZvSystem::LoadPlugin(new ZvString("plug_gadgets"));
    {
        ZvObject$ o = ZvSystem::New(new ZvString("plug_unload.Fleeting"));
        ZvArguments$ args = new ZvPrimArray<ZvObject$>(1, nullptr);
        (*args)[0] = new ZvString("abc");
        if (!o || !o->GetType()->Find(new ZvString("Matches"), &ZvPrimitive<bool>::s_type, args)) return 1;
    }
    Listen("main ends");
    if (how == "exit") std::exit(7);
    if (how == "quick") std::quick_exit(7);
    return 7;
}
