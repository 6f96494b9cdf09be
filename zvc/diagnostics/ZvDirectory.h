#pragma once

#include "zvc/core/ZvHandle.h"

/// Directories. Nothing here has state; any thread may call it.
class ZV_API ZvDirectory {
public:
    ZvDirectory() = delete;

    /// The path leads to a directory. A link counts as what it leads to; a null path leads nowhere.
    static bool Exists(const ZvString$& path);

    /// Makes a directory, one level only. False when it was not made: it is there already, its parent is not, or the system
    /// does not allow it.
    static bool Create(const ZvString$& path);
};
