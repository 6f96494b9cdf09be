#pragma once

#include "zvc/core/ZvHandle.h"

/// Files: how they are opened, and whether they are there. Nothing here has state; any thread may call it.
class ZV_API ZvFile {
public:
    enum Access : int { Read = 1, Write = 2, ReadWrite = 3 };
    enum Mode : int { Append = 0, Create = 1, CreateNew = 2, Open = 3, OpenOrCreate = 4, Truncate = 5 };

    ZvFile() = delete;

    /// The path leads to something that is no directory. A link counts as what it leads to; a null path leads nowhere.
    static bool Exists(const ZvString$& path);
};
