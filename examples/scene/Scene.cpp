#include "Scene.h"

#include <cstring>

ZV_MODULE("scene", nullptr, nullptr)

ZV_DEFINE_CLASS(demo::Material, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(demo::Material, ZV_FIELD(m_name), ZV_FIELD(m_diffuse), ZV_FIELD_ARRAY(m_roughness), ZV_FIELD_NEST(m_bump.mode),
    ZV_FIELD_NEST(m_bump.bias))
ZV_METHODS(demo::Material)
ZV_CONSTRUCTORS(demo::Material, ZV_CONSTRUCTOR())

ZV_DEFINE_CLASS(demo::Mesh, (ZvObject), .codec = true, .create = &Create)

ZV_DEFINE_CLASS(demo::Node, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(demo::Node, ZV_FIELD(m_name), ZV_FIELD(m_position), ZV_FIELD(m_mesh), ZV_FIELD(m_parent), ZV_FIELD(m_children))
ZV_METHODS(demo::Node)
ZV_CONSTRUCTORS(demo::Node, ZV_CONSTRUCTOR())

ZV_DEFINE_CLASS(demo::Document, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(demo::Document, ZV_FIELD(m_root), ZV_FIELD(m_materials))
ZV_METHODS(demo::Document)
ZV_CONSTRUCTORS(demo::Document, ZV_CONSTRUCTOR())

namespace demo {

void Mesh::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, m_points);
    coder->Write(stream, m_corners);
    coder->Write(stream, m_material);
}

void Mesh::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ points, corners;
    coder->Read(stream, points);
    coder->Read(stream, corners);
    coder->Read(stream, m_material);
    m_points = points;                       // null where the file holds something else
    m_corners = corners;
}

bool Mesh::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || !other->IsKindOf(&s_type)) return false;
    const auto& o = static_cast<const Mesh&>(*other);
    if (!m_points || !o.m_points || !m_corners || !o.m_corners) return false;
    if (m_points->Count() != o.m_points->Count() || m_corners->Count() != o.m_corners->Count()) return false;
    return std::memcmp(m_points->GetBaseAddress(), o.m_points->GetBaseAddress(), m_points->Count() * sizeof(CG::vec3<float>)) == 0 &&
           std::memcmp(m_corners->GetBaseAddress(), o.m_corners->GetBaseAddress(), m_corners->Count() * sizeof(int)) == 0;
}

void Node::Detach() {
    m_parent = ZvObject$();
    if (const ZvArrayList$ children = m_children)
        for (size_t i = 0; i < children->Count(); ++i)
            if (const Node$ child = children->ItemAt(i)) child->Detach();
    m_children = ZvObject$();
}

Document::~Document() {
    if (const Node$ root = m_root) root->Detach();
}

Document$ MakeDocument(const Mesh$& mesh, const char* name) {
    Material$ material = new Material;
    material->m_name = new ZvString("plaster");
    material->m_bump.bias = 0.25;
    mesh->m_material = material;

    Document$ document = new Document;
    ZvDictionary$ materials = new ZvDictionary;
    materials->Add(material->m_name, material);
    document->m_materials = materials;

    Node$ root = new Node;
    root->m_name = new ZvString(name);
    ZvArrayList$ children = new ZvArrayList;
    root->m_children = children;
    document->m_root = root;
    for (int i = 0; i < 4; ++i) {
        Node$ node = new Node;
        ZvString$ label = new ZvString;
        label->Format("%s %d", name, i + 1);
        node->m_name = label;
        node->m_position = {i * 2.0, 0, 0};
        node->m_mesh = mesh;
        node->m_parent = root;
        children->Add(node);
    }
    return document;
}

namespace {

class Counter : public ZvTraverser {
public:
    bool OnEnter(ZvObject$&) override {
        ++count;
        return true;
    }
    void OnLeave(ZvObject$&) override {}
    size_t count = 0;
};

}

size_t CountObjects(const Document$& document) {
    Counter counter;
    ZvObject$ root = document;
    counter.Traverse(root);
    return counter.count;
}

}
