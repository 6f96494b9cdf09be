#include "SceneReader.h"

#include "../../common/ObjFile.h"
#include "Vec.h"

#include <filesystem>
#include <fstream>

namespace farm {

namespace {

constexpr int MostPixels = 16384;                   // along each edge
constexpr int MostSamples = 1 << 20;
constexpr float Degree = 3.14159265f / 180;

struct Extent {
    Vec least, greatest;
};

Extent ExtentOf(const Mesh$& mesh) {
    Extent extent{(*mesh->m_points)[0], (*mesh->m_points)[0]};
    for (unsigned long long i = 1; i < mesh->m_points->Count(); ++i) {
        extent.least = Least(extent.least, (*mesh->m_points)[i]);
        extent.greatest = Greatest(extent.greatest, (*mesh->m_points)[i]);
    }
    return extent;
}

/// Stands the mesh at a place.
void Stand(Body& body, const Mesh$& mesh, const Vec& place, float height, float turn) {
    const Extent extent = ExtentOf(mesh);
    const float scale = height / (extent.greatest.y - extent.least.y);
    const float c = std::cos(turn * Degree) * scale, s = std::sin(turn * Degree) * scale;
    body.m_axes = {{{c, 0, -s}, {0, scale, 0}, {s, 0, c}}};
    const Vec middle = (extent.least + extent.greatest) * 0.5f;
    const Vec foot{middle.x * c + middle.z * s, extent.least.y * scale, -middle.x * s + middle.z * c};
    body.m_position = place - foot;
}

}

void SceneReader::Fail(const std::string& reason) const {
    std::string text = m_path;
    if (m_line != 0) text += ", line " + std::to_string(m_line);
    throw ZvException((text + ": " + reason).c_str());
}

void SceneReader::Read(const std::string& path) {
    m_path = path;
    std::ifstream file(path);
    if (!file) Fail("cannot be opened");
    for (std::string line; std::getline(file, line);) {
        ++m_line;
        m_words = std::istringstream(line.substr(0, line.find('#')));
        const std::string keyword = Word();
        if (!keyword.empty()) ReadLine(keyword);
    }
    m_line = 0;
    if (ZvArrayList$(m_scene.m_bodies)->Count() == 0) Fail("holds nothing to be seen");
}

void SceneReader::ReadLine(const std::string& keyword) {
    if (keyword == "picture") ReadPicture();
    else if (keyword == "samples") m_scene.m_samples = Count(MostSamples);
    else if (keyword == "camera") ReadCamera();
    else if (keyword == "sky") ReadSky();
    else if (keyword == "sun") ReadSun();
    else if (keyword == "material") ReadMaterial();
    else if (keyword == "mesh") ReadMesh();
    else if (keyword == "sheet") ReadSheet();
    else Fail("\"" + keyword + "\" is no word that begins a line");
    if (const std::string word = Word(); !word.empty()) Fail("\"" + word + "\" has no place here");
}

void SceneReader::ReadPicture() {
    m_scene.m_width = Count(MostPixels);
    m_scene.m_height = Count(MostPixels);
}

void SceneReader::ReadCamera() {
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "eye") m_scene.m_eye = Triple();
        else if (word == "target") m_scene.m_target = Triple();
        else if (word == "angle") m_scene.m_slope = std::tan(std::fmin(PositiveNumber(), 170.0f) / 2 * Degree);
        else Fail("a camera has no \"" + word + "\"");
    }
}

void SceneReader::ReadSky() {
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "horizon") m_scene.m_horizon = Colour();
        else if (word == "zenith") m_scene.m_zenith = Colour();
        else Fail("the sky has no \"" + word + "\"");
    }
}

void SceneReader::ReadSun() {
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "direction") m_scene.m_sunDirection = Unit(Triple());
        else if (word == "colour") m_scene.m_sun = Colour();
        else if (word == "size") m_scene.m_sunRadius = std::tan(std::fmin(PositiveNumber(), 90.0f) / 2 * Degree);
        else Fail("the sun has no \"" + word + "\"");
    }
}

void SceneReader::ReadMaterial() {
    const std::string name = Word();
    if (name.empty()) Fail("a material needs a name");
    Material$ material = new Material;
    material->m_name = new ZvString(name.c_str());
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "colour") material->m_colour = Colour();
        else if (word == "glow") material->m_glow = Colour();
        else if (word == "mirror") material->m_mirror = true;
        else Fail("a material has no \"" + word + "\"");
    }
    m_materials[name] = material;
}

void SceneReader::ReadMesh() {
    const std::string file = Word();
    Body$ body = new Body;
    body->m_material = NamedMaterial();
    const Mesh$ mesh = NamedMesh(file);
    Vec place{};
    float height = 1, turn = 0;
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "at") place = Triple();
        else if (word == "height") height = PositiveNumber();
        else if (word == "turn") turn = Number();
        else Fail("a mesh has no \"" + word + "\"");
    }
    body->m_mesh = mesh;
    Stand(*body, mesh, place, height, turn);
    ZvArrayList$(m_scene.m_bodies)->Add(body);
}

void SceneReader::ReadSheet() {
    Body$ body = new Body;
    body->m_material = NamedMaterial();
    Vec corner{}, edges[2]{};
    int count = 0;
    for (std::string word = Word(); !word.empty(); word = Word()) {
        if (word == "corner") corner = Triple();
        else if (word == "edge" && count < 2) edges[count++] = Triple();
        else Fail("a sheet has no \"" + word + "\" here");
    }
    if (count != 2) Fail("a sheet has two edges");
    body->m_mesh = new Mesh({corner, corner + edges[0], corner + edges[0] + edges[1], corner + edges[1]}, {0, 1, 2, 0, 2, 3});
    ZvArrayList$(m_scene.m_bodies)->Add(body);
}

// ---- words ----------------------------------------------------------------------------------------------------------------

std::string SceneReader::Word() {
    std::string word;
    m_words >> word;
    return word;
}

float SceneReader::Number() {
    const std::string word = Word();
    if (word.empty()) Fail("a number is missing");
    std::istringstream in(word);
    float number;
    if (!(in >> number) || in.peek() != std::char_traits<char>::eof()) Fail("\"" + word + "\" is no number");
    return number;
}

float SceneReader::PositiveNumber() {
    const float number = Number();
    if (!(number > 0)) Fail("a number above 0 is needed");
    return number;
}

int SceneReader::Count(int most) {
    const float number = Number();
    if (!(number >= 1 && number <= static_cast<float>(most))) Fail("a number from 1 to " + std::to_string(most) + " is needed");
    return static_cast<int>(number);
}

CG::vec3<float> SceneReader::Triple() {
    const float x = Number(), y = Number(), z = Number();
    return {x, y, z};
}

zvcolor SceneReader::Colour() {
    const Vec c = Triple();
    if (c.x < 0 || c.y < 0 || c.z < 0) Fail("no part of a colour is below 0");
    return zvcolor(c);
}

Material$ SceneReader::NamedMaterial() {
    const std::string name = Word();
    const auto found = m_materials.find(name);
    if (found == m_materials.end()) Fail("there is no material \"" + name + "\" above");
    return found->second;
}

Mesh$ SceneReader::NamedMesh(const std::string& file) {
    Mesh$& mesh = m_meshes[file];
    if (mesh) return mesh;
    std::filesystem::path path = std::filesystem::path(m_path).parent_path() / file;
    if (!m_meshFolder.empty() && !std::filesystem::exists(path)) path = std::filesystem::path(m_meshFolder) / file;
    ObjFile obj;
    if (const std::string reason = obj.Read(path); !reason.empty()) Fail(path.string() + " " + reason);
    mesh = new Mesh(obj.points, obj.corners);
    const Extent extent = ExtentOf(mesh);
    if (!(extent.greatest.y > extent.least.y)) Fail(path.string() + " has no height");
    return mesh;
}

}
