#pragma once

#include "Scene.h"
#include "World.h"

namespace farm {

/// The scene as the tracer wants it. Raises ZvException with the reason for one that does not hold together: a scene may come
/// out of any file.
World MakeWorld(const Scene& scene);

}
