#pragma once

#include "zvc/platform/Api.h"

#include <string>

namespace zvc::platform {

/// Loads a library and answers its handle, or null. A name with a directory separator of either kind is a path; a bare name
/// is looked for beside the executable, beside this library, then by the system's search, as X.so, libX.so and X. A file
/// that is found and does not load is a failure. Its static initialisers run within the call.
ZV_API void* LoadModule(const char* name);

/// Gives a handle of LoadModule back. The last one destroys the library's statics and unmaps it.
ZV_API void FreeModule(void* handle);

/// A symbol that this very module exports: what it only depends on does not count. Null when it has none.
ZV_API void* ModuleSymbol(void* handle, const char* name);

/// The handle of a loaded module of that base name ("ZVC" is also libzvc.so: the case does not count), without a reference. Null for none; a null
/// name is the program.
ZV_API void* ModuleHandle(const char* name);

/// The path of the program's file.
ZV_API std::string ProgramPath();

/// The loader's words for the last failed LoadModule of the process; empty when none failed.
ZV_API std::string LastLoadError();

}
