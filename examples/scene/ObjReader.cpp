#include "ObjReader.h"

#include <fstream>
#include <sstream>
#include <vector>

namespace demo {

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

Mesh$ ReadObj(const std::string& path, std::string& error) {
    std::ifstream file(path);
    if (!file) {
        error = "cannot be opened";
        return nullptr;
    }
    std::vector<CG::vec3<float>> points;
    std::vector<int> corners;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::istringstream in(line);
        std::string keyword;
        in >> keyword;
        if (keyword == "v") {
            CG::vec3<float> p{};
            if (!(in >> p.x >> p.y >> p.z)) {
                error = "line " + std::to_string(number) + " is no point";
                return nullptr;
            }
            points.push_back(p);
        } else if (keyword == "f") {
            std::vector<int> face;
            for (std::string word; in >> word;) face.push_back(CornerOf(word, points.size()));
            for (int corner : face)
                if (corner < 0) {
                    error = "line " + std::to_string(number) + " names a point that is not there";
                    return nullptr;
                }
            for (size_t i = 2; i < face.size(); ++i) corners.insert(corners.end(), {face[0], face[i - 1], face[i]});
        }
    }
    if (corners.empty()) {
        error = "holds no faces";
        return nullptr;
    }
    Mesh$ mesh = new Mesh;
    mesh->m_points = new ZvPrimArray<CG::vec3<float>>(points.size(), points.data());
    mesh->m_corners = new ZvPrimArray<int>(corners.size(), corners.data());
    return mesh;
}

}
