#pragma once

#include "zvc/core/ZvObject.h"

#include <typeinfo>

class ZvPlugin;
struct ZvModuleState;
namespace zvc {
template <class Signature>
class Delegate;
}

/// The static face of the library: memory, the registry of types and modules, plug-ins, tasks, processors and the clock.
///
/// The registries have no lock: types and modules are registered, and plug-ins loaded, on one thread at a time.
class ZV_API ZvSystem {
public:
    ZvSystem() = delete;

    /// size bytes, never null: exhaustion raises ZvBadAllocException with "bad alloc". Any thread.
    static void* Malloc(size_t size);

    /// A block of Malloc's, or null, at another size; what it held is kept as far as it fits. The old block is gone, unless
    /// this raises as Malloc does.
    static void* Realloc(void* block, size_t size);
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

    /// What a task is told of the worker that runs it: the worker's index, from 0 up to the count of processors less one.
    struct ThreadInfo {
        unsigned int index;
    };

    /// Where a task is put: ahead of all that wait, or behind them. Any other value is a defined call whose task never runs
    /// and stays pending for ever.
    enum TaskQueue : int { TaskQueueFront = 0, TaskQueueBack = 1 };

    /// Queues a task of count pieces for the workers, one for each processor, which live as long as the library. Each piece is
    /// one call of body with the worker, the piece's number and user; the numbers go from count - 1 down to 0 in the order in
    /// which the pieces are handed out. Pieces of one task run at the same time on several workers. After all of them end is
    /// called once, by the worker that finished last. Both delegates are copied, and either may be empty.
    ///
    /// All free workers take pieces of the task at the head of the queue, and the tasks behind it get none. A count of 0 is
    /// not refused: it makes 2^32 pieces. An exception that leaves a delegate ends the process. Any thread, with or without
    /// StartTask, a task's body among them. No effect before the library's start and after its end.
    static void AddTask(TaskQueue queue, zvc::Delegate<void(const ThreadInfo&, unsigned int, void*)>& body, unsigned int count,
                        zvc::Delegate<void(const ThreadInfo&)>& end, void* user);

    /// Begins a batch: takes the process-wide batch lock, which one thread holds until its EndTask. No effect before the
    /// library's start and after its end.
    static void StartTask();

    /// Ends the batch: waits until no task is pending, whoever added it, and gives the batch lock back. There is no check that
    /// this thread has begun one, or that the library still stands. Never in a task: it would wait for itself.
    static void EndTask();

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
