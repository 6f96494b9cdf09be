#include "ObjFile.h"

#include <fstream>
#include <sstream>

namespace {

// "v", "v/t", "v//n" or "v/t/n"; negative numbers count from the end. -1 for a corner that names no point.
int CornerOf(const std::string& word, size_t points) {
    std::istringstream in(word);
    long number = 0;
    if (!(in >> number)) return -1;
    const long index = number < 0 ? static_cast<long>(points) + number : number - 1;
    return index >= 0 && index < static_cast<long>(points) ? static_cast<int>(index) : -1;
}

}

bool ObjFile::ReadPoint(std::istream& words) {
    CG::vec3<float> p{};
    if (!(words >> p.x >> p.y >> p.z)) return false;
    points.push_back(p);
    return true;
}

bool ObjFile::ReadFace(std::istream& words) {
    std::vector<int> face;
    for (std::string word; words >> word;) {
        face.push_back(CornerOf(word, points.size()));
        if (face.back() < 0) return false;
    }
    for (size_t i = 2; i < face.size(); ++i) corners.insert(corners.end(), {face[0], face[i - 1], face[i]});
    return true;
}

std::string ObjFile::Read(const std::string& path) {
    std::ifstream file(path);
    if (!file) return "cannot be opened";
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::istringstream words(line);
        std::string keyword;
        words >> keyword;
        if (keyword == "v" && !ReadPoint(words)) return "line " + std::to_string(number) + " is no point";
        if (keyword == "f" && !ReadFace(words)) return "line " + std::to_string(number) + " names a point that is not there";
    }
    return corners.empty() ? "holds no faces" : "";
}
