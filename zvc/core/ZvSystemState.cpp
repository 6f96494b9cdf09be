#include "zvc/core/ZvSystemState.h"

#include "zvc/concurrency/TaskScheduler.h"
#include "zvc/core/ZvModuleState.h"
#include "zvc/core/ZvPlugin.h"
#include "zvc/core/ZvType.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/CrashDump.h"
#include "zvc/platform/System.h"
#include "zvc/values/ZvString.h"

// The order of start is the same whatever the linker does with the files: the system's state first, then the library's
// module record, then every descriptor. The end is the reverse.
#if defined(__GNUC__)
#define ZV_START_ORDER(n) __attribute__((init_priority(n)))
#else
#error "This platform needs its own way to order static objects."
#endif

namespace {
ZV_START_ORDER(101) ZvSystemState s_state;
ZV_START_ORDER(102) ZvModuleState s_module("ZVC", nullptr, nullptr);
}

ZvModuleState* ZvThisModule() { return &s_module; }

extern "C" ZV_EXPORT ZvModuleState* ExportModuleState();
extern "C" ZV_EXPORT ZvModuleState* ExportModuleState() { return ZvThisModule(); }

ZvSystemState& ZvSystemState::Get() { return s_state; }

ZvSystemState::ZvSystemState() {
    ZvObject::s_serial = 0;
    processors = zvc::platform::ProcessorCount();
    scheduler = ZvObject$(new TaskScheduler(processors));
    frequency = zvc::platform::ClockFrequency();
}

ZvSystemState::~ZvSystemState() {
    scheduler = ZvObject$();
    closing = true;
    while (!plugins.empty()) {
        auto entry = plugins.begin();
        ZvPlugin::Close(entry->second);
        plugins.erase(entry);
    }
    zvc::platform::ClearCrashDumpPath();
}

size_t ZvSystemState::KeyHash::operator()(const ZvString$& key) const {
    if (!key) return 0;
    return static_cast<uint32_t>(key->GetHashCode()) ^ 0xdeadbeefu;
}

bool ZvSystemState::KeyEqual::operator()(const ZvString$& a, const ZvString$& b) const {
    if (!a || !b) return a == b;
    return *a == *b;                 // what Equals answers, also when the descriptor of strings is gone already
}

size_t ZvSystemState::InternHash::operator()(std::string_view text) const {
    uint64_t h = 0x811c9dc5;
    for (char c : text) h = (h * 16777619) ^ static_cast<uint64_t>(static_cast<int64_t>(static_cast<signed char>(c)));
    return h;
}
