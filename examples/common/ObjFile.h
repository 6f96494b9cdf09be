#pragma once

#include <zvc/values/CG.h>

#include <string>
#include <vector>

/// The triangles of a Wavefront OBJ file.
struct ObjFile {
    std::vector<CG::vec3<float>> points;
    std::vector<int> corners;                 ///< three a triangle: indexes of points

    /// Reads points and faces, and nothing else; faces of more than three corners become fans. Empty when that worked;
    /// otherwise the reason: the file cannot be read, or has no faces.
    std::string Read(const std::string& path);

private:
    bool ReadPoint(std::istream& words);
    bool ReadFace(std::istream& words);
};
