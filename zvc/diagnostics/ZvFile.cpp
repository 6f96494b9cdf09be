#include "zvc/diagnostics/ZvFile.h"

#include "zvc/platform/File.h"
#include "zvc/values/ZvString.h"

bool ZvFile::Exists(const ZvString$& path) {
    return path && zvc::platform::PathExists(path->CStr()) && !zvc::platform::PathIsDirectory(path->CStr());
}
