#pragma once

#include "Scene.h"

#include <string>

namespace demo {

/// Reads the points and faces of a Wavefront OBJ file; faces of more than three corners become fans. Null, with the reason
/// in error, for a file that cannot be read or has no faces.
Mesh$ ReadObj(const std::string& path, std::string& error);

}
