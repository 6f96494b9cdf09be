#include "ObjReader.h"

#include "../common/ObjFile.h"

namespace demo {

Mesh$ ReadObj(const std::string& path, std::string& error) {
    ObjFile file;
    error = file.Read(path);
    if (!error.empty()) return nullptr;
    Mesh$ mesh = new Mesh;
    mesh->m_points = new ZvPrimArray<CG::vec3<float>>(file.points.size(), file.points.data());
    mesh->m_corners = new ZvPrimArray<int>(file.corners.size(), file.corners.data());
    return mesh;
}

}
