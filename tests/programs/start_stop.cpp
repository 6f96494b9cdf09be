// Loads a plug-in, locks objects, and ends with an exit code of its own while the plug-in is loaded.
#include <zvc/zvc.h>

#include <cstdio>

ZV_MODULE("start_stop", nullptr, nullptr)

int main() {
    ZvObject$ o = ZvSystem::New(new ZvString("lifeplug"));
    ZvLock lock(o.Get());
    std::printf("%s %d\n", o->ToString()->CStr(), static_cast<int>(ZvObject::s_serial != 0));
    return 7;
}
