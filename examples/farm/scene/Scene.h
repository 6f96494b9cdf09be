#pragma once

// The classes of a scene that is rendered. They live in the plug-in farm_scene, which hosts and workers load: the host
// reaches them by reflection alone, and a worker gets them through its channel.

#include <zvc/zvc.h>

namespace farm {

/// How a surface answers light: diffuse, or a mirror.
class Material : public ZvObject {
    ZV_DECLARE_CLASS(Material)
    ZV_DECLARE_CREATE(Material)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_name;
    zvcolor m_colour{0.8f, 0.8f, 0.8f};
    zvcolor m_glow;                                             ///< light of its own
    bool m_mirror = false;
};
ZV_DECLARE_HANDLE(Material, ZvObject$);

/// Triangles. A class that codes itself, since it is nothing but two large arrays.
class Mesh : public ZvObject {
    ZV_DECLARE_CLASS(Mesh)
    ZV_DECLARE_CREATE(Mesh)
public:
    Mesh() = default;
    Mesh(const std::vector<CG::vec3<float>>& points, const std::vector<int>& corners);
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    ZvHandle<ZvPrimArray<CG::vec3<float>>, ZvArrayValue$> m_points;
    ZvHandle<ZvPrimArray<int>, ZvArrayValue$> m_corners;        ///< three a triangle
};
ZV_DECLARE_HANDLE(Mesh, ZvObject$);

/// A mesh in its place. Several may share one mesh.
class Body : public ZvObject {
    ZV_DECLARE_CLASS(Body)
    ZV_DECLARE_CREATE(Body)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_mesh;
    ZvObject$ m_material;
    CG::mat3<float> m_axes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}; ///< where the mesh's axes point, a row each
    CG::vec3<float> m_position{};
};
ZV_DECLARE_HANDLE(Body, ZvObject$);

/// Everything that a picture hangs on. No angles: sines and tangents, which are not the same bits on every machine, are the
/// reader's.
class Scene : public ZvObject {
    ZV_DECLARE_CLASS(Scene)
    ZV_DECLARE_CREATE(Scene)
    ZV_DECLARE_TABLES()
public:
    Scene() = default;
    /// Reads a text file (SceneReader.h). Meshes are looked for beside it, and then in meshFolder. Raises ZvException with one
    /// line that says what is wrong, and where.
    Scene(const ZvString$& file, const ZvString$& meshFolder);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int Samples() const { return m_samples; }
    /// What is not above 0 stays as it is.
    void SetPicture(int width, int height, int samples);
    ZvString$ Summary() const;                                  ///< "3 bodies, 208353 triangles"

    int m_width = 320;
    int m_height = 240;
    int m_samples = 16;                                         ///< for each pixel

    CG::vec3<float> m_eye{0, 1, 5};
    CG::vec3<float> m_target{};
    float m_slope = 0.4f;                                       ///< from the middle of the view to its upper edge

    zvcolor m_horizon{1, 1, 1};
    zvcolor m_zenith{0.5f, 0.7f, 1};
    zvcolor m_sun;                                              ///< what a white surface that faces it shows
    CG::vec3<float> m_sunDirection{0, 1, 0};
    float m_sunRadius = 0.02f;

    ZvObject$ m_bodies = new ZvArrayList;                       ///< of Body
};
ZV_DECLARE_HANDLE(Scene, ZvObject$);

/// What stays of a job: the scene and its picture, in the colours that were computed.
class Document : public ZvObject {
    ZV_DECLARE_CLASS(Document)
    ZV_DECLARE_CREATE(Document)
    ZV_DECLARE_TABLES()
public:
    Document() = default;
    Document(const ZvObject$& scene, const ZvObject$& colours);
    ZvObject$ GetScene() const { return m_scene; }

    ZvObject$ m_scene;
    ZvObject$ m_colours;                                        ///< array of colours, row by row from the top
};
ZV_DECLARE_HANDLE(Document, ZvObject$);

}
