#pragma once

#include "zvc/core/ZvObject.h"

#include <typeinfo>

class ZvPlugin;
struct ZvModuleState;

/// The static face of the library: memory, the registry of types and modules, plug-ins, processors and the clock.
///
/// The registries have no lock: types and modules are registered, and plug-ins loaded, on one thread at a time.
class ZV_API ZvSystem {
public:
    ZvSystem() = delete;

    /// size bytes, never null: exhaustion raises ZvBadAllocException with "bad alloc". Any thread.
    static void* Malloc(size_t size);
    static void Free(void* block);

    /// The same at a multiple of alignment, a power of two; give it back with AlignedFree.
    static void* AlignedMalloc(size_t size, size_t alignment);
    static void AlignedFree(void* block);

    /// The descriptor registered under name; null when there is none.
    static ZvType* FindType(const char* name);
    static ZvType* FindType(const ZvString$& name);

    /// The first descriptor with this run-time type and exactly this class spec: (typeid(int), 2) finds the box of int,
    /// (typeid(int), 6) its array. For a handle class without a descriptor the box of object references; otherwise null.
    static ZvType* FindType(const std::type_info& info, unsigned int classSpec);

    /// Sets the entry of the type's name, replacing any earlier one; removes the entry of its name.
    static void RegistType(ZvType* type);
    static void UnregistType(ZvType* type);

    /// The record of a loaded module; null when there is none, and always once the shutdown has begun.
    static ZvModuleState* FindModule(const char* name);
    static void RegistModule(ZvModuleState* module);
    static void UnregistModule(ZvModuleState* module);

    /// The plug-in of that name, loaded if it is not yet. Raises ZvPluginUnloadedException when it cannot be loaded.
    static ZvPlugin* LoadPlugin(const ZvString$& name);

    /// Accepts the text and does nothing: plug-ins are found by the platform's own library search.
    static void SetDllPath(const char* path);

    /// A new object, count 0, of a class in a plug-in: "plugin.type", or one word for both. Null when the class is not
    /// known or has no factory, or no constructor that takes exactly args. Raises as LoadPlugin does.
    static ZvObject* New(const ZvString$& name);
    static ZvObject* New(const ZvString$& name, ZvArguments$ args);

    /// Processors of the machine, counted at the library's start.
    static unsigned int GetNumberOfProcessor();

    /// A monotonic tick count, and its ticks per second.
    static unsigned long long RealTimeNow();
    static unsigned long long RealTimeFrequency();

    /// Always 0: the figure is kept for its callers, and nothing is counted.
    static size_t MemoryUsage();

    /// Hooks for a search for leaks; they do nothing.
    static void StartLeaks(size_t);
    static void EndLeaks();

    /// From now on a crash writes a full image of the process to the file at path, in place of any earlier one, and then ends
    /// the process with the status it would have had without: on Linux an ELF core that gdb opens, for SIGSEGV (a stack
    /// overflow is one), SIGBUS, SIGILL, SIGFPE and SIGTRAP, if they are faults and not sent by somebody; a handler that was
    /// there before the first call is called after the image is written. Null does nothing. The image is not written when the
    /// file cannot be; nothing tells so. Not to be called by two threads at a time.
    ///
    /// A stack overflow is seen in threads made with ZvThread, in the threads of the library, and in those that exist when
    /// this is called. A thread that was made by other means later must have a stack for signals (sigaltstack).
    static void SetDumpPath(const char* path);
};

/// The one shared string with the content of text, alive until the library ends. For literals and names: each content
/// stays for good.
ZV_API ZvString$ $L(const char* text);
