#pragma once

#include "zvc/platform/Api.h"

namespace zvc::detail {

/// What a stream knows of a coder that works beside it. A ZvFileStream has the window settle before every operation of its own,
/// a ZvZipStream before another file is opened and behind a failure.
class ZV_API FileWindow {
public:
    /// Hands over what was gathered, or puts the file position back to what was consumed; lets go of a compressor.
    virtual void Settle() = 0;

protected:
    ~FileWindow() = default;
};

}
