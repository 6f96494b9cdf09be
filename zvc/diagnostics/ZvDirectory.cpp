#include "zvc/diagnostics/ZvDirectory.h"

#include "zvc/platform/File.h"
#include "zvc/values/ZvString.h"

bool ZvDirectory::Exists(const ZvString$& path) { return path && zvc::platform::PathIsDirectory(path->CStr()); }
bool ZvDirectory::Create(const ZvString$& path) { return path && zvc::platform::MakeDirectory(path->CStr()); }
