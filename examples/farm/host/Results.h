#pragma once

#include "Farm.h"
#include "SceneFile.h"

namespace farm {

/// The filter of that name; null when there is none.
const ZvFilter* FilterNamed(const std::string& name);

/// Saves the picture, a smaller one and the document, and says so. False when one could not be saved, which is said too.
bool SaveResults(const Options& options, const SceneFile& scene, const Picture& picture);

/// What each worker did, a line each.
void PrintTable(const Farm& farm);

}
