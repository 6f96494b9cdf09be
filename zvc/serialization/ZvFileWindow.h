#pragma once

#include "zvc/platform/Api.h"

namespace zvc::detail {

/// What a ZvFileStream knows of a coder that gathers its bytes or reads ahead of it: every operation of the stream lets
/// the window settle first.
class ZV_API FileWindow {
public:
    /// Hands over what was gathered, or puts the file position back to what was consumed.
    virtual void Settle() = 0;

protected:
    ~FileWindow() = default;
};

}
