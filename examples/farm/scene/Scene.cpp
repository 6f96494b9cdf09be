#include "Scene.h"

#include "SceneReader.h"

// The name that stands in files and conversations, and so the plug-in's name on the disk.
ZV_MODULE("farm_scene", nullptr, nullptr)

ZV_DEFINE_CLASS(farm::Material, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(farm::Material, ZV_FIELD(m_name), ZV_FIELD(m_colour), ZV_FIELD(m_glow), ZV_FIELD(m_mirror))
ZV_METHODS(farm::Material)
ZV_CONSTRUCTORS(farm::Material, ZV_CONSTRUCTOR())

ZV_DEFINE_CLASS(farm::Mesh, (ZvObject), .codec = true, .create = &Create)

ZV_DEFINE_CLASS(farm::Body, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(farm::Body, ZV_FIELD(m_mesh), ZV_FIELD(m_material), ZV_FIELD(m_axes), ZV_FIELD(m_position))
ZV_METHODS(farm::Body)
ZV_CONSTRUCTORS(farm::Body, ZV_CONSTRUCTOR())

ZV_DEFINE_CLASS(farm::Scene, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(farm::Scene, ZV_FIELD(m_width), ZV_FIELD(m_height), ZV_FIELD(m_samples), ZV_FIELD(m_eye), ZV_FIELD(m_target),
    ZV_FIELD(m_slope), ZV_FIELD(m_horizon), ZV_FIELD(m_zenith), ZV_FIELD(m_sun), ZV_FIELD(m_sunDirection),
    ZV_FIELD(m_sunRadius), ZV_FIELD(m_bodies))
ZV_METHODS(farm::Scene, ZV_METHOD(Width), ZV_METHOD(Height), ZV_METHOD(Samples),
    ZV_METHOD(SetPicture, "width", "height", "samples"), ZV_METHOD(Summary))
ZV_CONSTRUCTORS(farm::Scene, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(ZvString$, ZvString$))

ZV_DEFINE_CLASS(farm::Document, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(farm::Document, ZV_FIELD(m_scene), ZV_FIELD(m_colours))
ZV_METHODS(farm::Document, ZV_METHOD(GetScene))
ZV_CONSTRUCTORS(farm::Document, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(ZvObject$, ZvObject$))

namespace farm {

Mesh::Mesh(const std::vector<CG::vec3<float>>& points, const std::vector<int>& corners)
    : m_points(new ZvPrimArray<CG::vec3<float>>(points.size(), points.data())),
      m_corners(new ZvPrimArray<int>(corners.size(), corners.data())) {}

void Mesh::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, m_points);
    coder->Write(stream, m_corners);
}

void Mesh::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ points, corners;
    coder->Read(stream, points);
    coder->Read(stream, corners);
    m_points = points;                       // null where the stream holds something else
    m_corners = corners;
}

Scene::Scene(const ZvString$& file, const ZvString$& meshFolder) {
    SceneReader(*this, meshFolder ? meshFolder->CStr() : "").Read(file->CStr());
}

void Scene::SetPicture(int width, int height, int samples) {
    if (width > 0) m_width = width;
    if (height > 0) m_height = height;
    if (samples > 0) m_samples = samples;
}

ZvString$ Scene::Summary() const {
    unsigned long long count = 0, triangles = 0;
    if (const ZvArrayList$ bodies = m_bodies) {
        count = bodies->Count();
        for (size_t i = 0; i < count; ++i) {
            const Body$ body = bodies->ItemAt(i);
            const Mesh$ mesh = body ? body->m_mesh : ZvObject$();
            if (mesh && mesh->m_corners) triangles += mesh->m_corners->Count() / 3;
        }
    }
    ZvString$ text = new ZvString;
    text->Format("%llu bodies, %llu triangles", count, triangles);
    return text;
}

Document::Document(const ZvObject$& scene, const ZvObject$& colours) : m_scene(scene), m_colours(colours) {}

}
