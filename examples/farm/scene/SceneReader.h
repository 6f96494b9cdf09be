#pragma once

#include "Scene.h"

#include <map>
#include <sstream>
#include <string>

namespace farm {

/// Reads a scene from a text file, a thing a line. What stands behind a # is a remark. Lengths are those of the scene, angles
/// degrees, colours three numbers, of which 1 is white.
///
///     picture 480 360                          width and height
///     samples 64                               for each pixel
///     camera eye 0 2 8 target 0 1 0 angle 30   the angle from the lower to the upper edge of the view
///     sky horizon 1 1 1 zenith 0.4 0.6 1
///     sun direction 3 4 5 colour 2 1.8 1.5 size 3
///     material clay colour 0.8 0.4 0.3         a diffuse surface
///     material chrome colour 0.9 0.9 0.9 mirror
///     material lamp colour 0 0 0 glow 9 8 7
///     mesh bunny.obj clay height 2 at 0 0 0 turn 30
///     sheet clay corner -5 0 -5 edge 10 0 0 edge 0 0 10
///
/// A mesh stands with the middle of its underside at a place, is as high as told, and is turned about the vertical.
class SceneReader {
public:
    SceneReader(Scene& scene, const std::string& meshFolder) : m_scene(scene), m_meshFolder(meshFolder) {}

    /// Raises ZvException with the file, the line and the reason.
    void Read(const std::string& path);

private:
    void ReadLine(const std::string& keyword);
    void ReadPicture();
    void ReadCamera();
    void ReadSky();
    void ReadSun();
    void ReadMaterial();
    void ReadMesh();
    void ReadSheet();

    std::string Word();                            ///< the next of the line; "" at its end
    float Number();
    float PositiveNumber();
    int Count(int most);
    CG::vec3<float> Triple();
    zvcolor Colour();
    Material$ NamedMaterial();
    Mesh$ NamedMesh(const std::string& file);
    [[noreturn]] void Fail(const std::string& reason) const;

    Scene& m_scene;
    const std::string m_meshFolder;
    std::string m_path;
    int m_line = 0;
    std::istringstream m_words;                    // of the line
    std::map<std::string, Material$> m_materials;
    std::map<std::string, Mesh$> m_meshes;         // by file: several bodies share one
};

}
