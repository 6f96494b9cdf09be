#pragma once

// The one static object behind ZvSystem. Internal; not for clients.

#include "zvc/core/ZvHandle.h"
#include "zvc/platform/CriticalSection.h"

#include <string>
#include <string_view>
#include <unordered_map>

class ZvPlugin;
struct ZvModuleState;

struct ZvSystemState {
    // The tables keyed by strings take the low 32 bits of a key's hash, mixed; a null key counts as 0.
    struct KeyHash {
        size_t operator()(const ZvString$& key) const;
    };
    struct KeyEqual {
        bool operator()(const ZvString$& a, const ZvString$& b) const;
    };
    template <class T>
    using Table = std::unordered_map<ZvString$, T, KeyHash, KeyEqual>;

    struct InternHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const;
    };

    ZvSystemState();
    ~ZvSystemState();

    // Keys are copies: a plug-in's literals go with it, and the strings stay.
    std::unordered_map<std::string, ZvString$, InternHash, std::equal_to<>> interned;
    Table<ZvType*> types;
    Table<ZvPlugin*> plugins;
    Table<ZvModuleState*> modules;
    ZvObject$ scheduler;                               // the TaskScheduler
    bool closing = false;
    zvc::platform::CriticalSection monitorSection;     // the making of monitors, for all objects
    unsigned int processors = 0;
    unsigned long long frequency = 0;

    static ZvSystemState& Get();
};
