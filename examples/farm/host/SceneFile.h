#pragma once

#include "Options.h"

#include <zvc/zvc.h>

namespace farm {

/// The scene of a job. The host knows no class of it: the plug-in does.
struct SceneFile {
    /// Reads the options' scene. Raises ZvException with the reason.
    explicit SceneFile(const Options& options);

    /// Saves scene and colours together, compressed. False when that failed.
    bool SaveDocument(const std::string& path, const ZvObject$& colours) const;

    ZvObject$ scene;
    ZvString$ summary;
    int width, height, samples;
};

}
