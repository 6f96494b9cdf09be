#pragma once

// The classes of a small scene document, as a client of the library declares its own. They live in the plug-in scene_model:
// the program does not know them, and reaches them by reflection alone.

#include <zvc/zvc.h>

namespace demo {

/// A surface's look: a class that is stored by its reflected fields, scalars, vectors, an array and a nested member among
/// them. Several meshes may share one.
class Material : public ZvObject {
    ZV_DECLARE_CLASS(Material)
    ZV_DECLARE_CREATE(Material)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_name;
    zvcolor m_diffuse{0.8f, 0.8f, 0.8f};
    float m_roughness[2]{0.5f, 0.5f};
    struct {
        int mode = 0;
        double bias = 0;
    } m_bump;
};
ZV_DECLARE_HANDLE(Material, ZvObject$);

/// Triangles: a class that codes itself, since it is nothing but two large arrays.
class Mesh : public ZvObject {
    ZV_DECLARE_CLASS(Mesh)
    ZV_DECLARE_CREATE(Mesh)
public:
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;
    bool Equals(const ZvObject* other) const override;

    ZvHandle<ZvPrimArray<CG::vec3<float>>, ZvArrayValue$> m_points;
    ZvHandle<ZvPrimArray<int>, ZvArrayValue$> m_corners;        ///< three a triangle
    ZvObject$ m_material;
};
ZV_DECLARE_HANDLE(Mesh, ZvObject$);

/// A place in the scene. It knows its parent, and the parent knows it: a cycle.
class Node : public ZvObject {
    ZV_DECLARE_CLASS(Node)
    ZV_DECLARE_CREATE(Node)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_name;
    CG::vec3<double> m_position{};
    ZvObject$ m_mesh;
    ZvObject$ m_parent;
    ZvObject$ m_children;                                       ///< a ZvArrayList

    /// Lets go of everything: whoever made a cycle takes it apart.
    void Detach();
};
ZV_DECLARE_HANDLE(Node, ZvObject$);

/// The document: a few places that share one mesh and one material.
class Document : public ZvObject {
    ZV_DECLARE_CLASS(Document)
    ZV_DECLARE_CREATE(Document)
    ZV_DECLARE_TABLES()
public:
    Document() = default;
    /// A new scene of the mesh in a Wavefront OBJ file. Raises ZvException with the reason where that cannot be read.
    explicit Document(const ZvString$& meshFile);
    ~Document() override;

    ZvString$ Summary() const;                                  ///< "N points, M triangles"
    int CountObjects() const;                                   ///< behind the document, each counted once

    /// Null when the places share one mesh, which is point for point that of the file, and know their parent; otherwise
    /// what is not as it should be.
    ZvString$ Check(const ZvString$& meshFile) const;

    ZvObject$ m_root;                                           ///< a Node
    ZvObject$ m_materials;                                      ///< a ZvDictionary by name

private:
    Mesh$ SharedMesh() const;
};
ZV_DECLARE_HANDLE(Document, ZvObject$);

}
