#include "Scene.h"

#include "ObjReader.h"

#include <cstring>
#include <filesystem>

// The name that stands in the files, and so the plug-in's name on the disk.
ZV_MODULE("scene_model", nullptr, nullptr)

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
ZV_METHODS(demo::Document, ZV_METHOD(Summary), ZV_METHOD(CountObjects), ZV_METHOD(Check, "meshFile"))
ZV_CONSTRUCTORS(demo::Document, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(ZvString$))

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

Document::Document(const ZvString$& meshFile) {
    std::string error;
    const Mesh$ mesh = ReadObj(meshFile->CStr(), error);
    if (!mesh) throw ZvException(error.c_str());
    const std::string name = std::filesystem::path(meshFile->CStr()).stem();

    Material$ material = new Material;
    material->m_name = new ZvString("plaster");
    material->m_bump.bias = 0.25;
    mesh->m_material = material;
    ZvDictionary$ materials = new ZvDictionary;
    materials->Add(material->m_name, material);
    m_materials = materials;

    Node$ root = new Node;
    root->m_name = new ZvString(name.c_str());
    ZvArrayList$ children = new ZvArrayList;
    root->m_children = children;
    m_root = root;
    for (int i = 0; i < 4; ++i) {
        Node$ node = new Node;
        ZvString$ label = new ZvString;
        label->Format("%s %d", name.c_str(), i + 1);
        node->m_name = label;
        node->m_position = {i * 2.0, 0, 0};
        node->m_mesh = mesh;
        node->m_parent = root;
        children->Add(node);
    }
}

Document::~Document() {
    if (const Node$ root = m_root) root->Detach();
}

// A file may hold anything: each handle is null where it holds something else.
Mesh$ Document::SharedMesh() const {
    const Node$ root = m_root;
    const ZvArrayList$ places = root ? root->m_children : ZvObject$();
    const Node$ first = places && places->Count() != 0 ? places->ItemAt(0) : ZvObject$();
    return first ? first->m_mesh : ZvObject$();
}

ZvString$ Document::Summary() const {
    const Mesh$ mesh = SharedMesh();
    ZvString$ text = new ZvString;
    if (mesh && mesh->m_points && mesh->m_corners)
        text->Format("%llu points, %llu triangles", mesh->m_points->Count(), mesh->m_corners->Count() / 3);
    return text;
}

ZvString$ Document::Check(const ZvString$& meshFile) const {
    const Mesh$ mesh = SharedMesh();
    if (!mesh) return new ZvString("is a document without a mesh");
    const Node$ root = m_root;
    const ZvArrayList$ places = root->m_children;
    for (size_t i = 0; i < places->Count(); ++i) {
        const Node$ place = places->ItemAt(i);
        if (!place || place->m_mesh != mesh) return new ZvString("has places that do not share the mesh");
        if (place->m_parent != root) return new ZvString("has places that do not know their parent");
    }
    std::string error;
    const Mesh$ original = ReadObj(meshFile->CStr(), error);
    if (!original || !mesh->Equals(original.Get())) return new ZvString("is not what was saved");
    return nullptr;
}

namespace {

class Counter : public ZvTraverser {
public:
    bool OnEnter(ZvObject$&) override {
        ++count;
        return true;
    }
    void OnLeave(ZvObject$&) override {}
    int count = 0;
};

}

int Document::CountObjects() const {
    Counter counter;
    ZvObject$ root = const_cast<Document*>(this);
    counter.Traverse(root);
    return counter.count;
}

}
