#pragma once

/// Files: how they are opened.
class ZvFile {
public:
    enum Access : int { Read = 1, Write = 2, ReadWrite = 3 };
    enum Mode : int { Append = 0, Create = 1, CreateNew = 2, Open = 3, OpenOrCreate = 4, Truncate = 5 };

    ZvFile() = delete;
};
