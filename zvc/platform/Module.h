#pragma once

#include "zvc/platform/Api.h"

#include <string>

namespace zvc::platform {

// A module's handle is the loader's own; it is valid as long as the module is loaded. These operations take the loader's
// lock: a thread that a static destructor waits for must not call them.

/// Loads a library and answers its handle, or null. A name with a directory separator of either kind is a path; a bare name
/// is looked for beside the executable, beside this library, then by the system's search, as X.so, libX.so and X, or as X
/// first when it has an extension. A file that is found and does not load is a failure, and the search ends there. Its
/// static initialisers run within the call. Its symbols serve nobody but itself.
ZV_API void* LoadModule(const char* name);

/// Gives a handle of LoadModule back. The last one destroys the library's statics and unmaps it.
ZV_API void FreeModule(void* handle);

/// A symbol that this very module exports: what it only depends on does not count. Null when it has none.
ZV_API void* ModuleSymbol(void* handle, const char* name);

/// The handle of a loaded module of that base name ("ZVC" is also libzvc.so: the case does not count), without a reference. Null for none; a null
/// name is the program. A directory before the name and ".dll" behind it do not count.
ZV_API void* ModuleHandle(const char* name);

/// The handle of the module that holds an address of code or static data, without a reference; null for none. Works in the
/// module's own static initialisers.
ZV_API void* ModuleOfAddress(const void* address);

/// The absolute path of a loaded module's file; of the program's for null.
ZV_API std::string ModulePath(void* handle);

/// The path of the program's file.
ZV_API std::string ProgramPath();

/// The loader's words for the last failed LoadModule of the process, cut at 1023 bytes; empty when none failed.
ZV_API std::string LastLoadError();

}
