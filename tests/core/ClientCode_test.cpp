// What a client writes, and all that a client writes.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

class Mesh : public ZvObject {
    ZV_DECLARE_CLASS(Mesh)
    ZV_DECLARE_CREATE(Mesh)
    ZV_DECLARE_TABLES()
public:
    Mesh() = default;
    Mesh(int count, double scale) : m_count(count), m_detail{0, scale} {}
    int Sum(int a, int b) { return a + b; }
    void Rename(const ZvString$& name) { m_next = name; }

    int m_count = 0;
    CG::vec3<float> m_pivot{};
    float m_weights[3]{};
    struct {
        int lod;
        double bias;
    } m_detail{};
    ZvObject$ m_next;
};
ZV_DECLARE_HANDLE(Mesh, ZvObject$);

ZV_DEFINE_CLASS(Mesh, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Mesh,
    ZV_FIELD(m_count), ZV_FIELD(m_pivot), ZV_FIELD_ARRAY(m_weights), ZV_FIELD_NEST(m_detail.lod), ZV_FIELD(m_next))
ZV_METHODS(Mesh,
    ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Rename, "name"))
ZV_CONSTRUCTORS(Mesh,
    ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int, double))

// a class that codes itself
class Journal : public ZvObject {
    ZV_DECLARE_CLASS(Journal)
    ZV_DECLARE_CREATE(Journal)
public:
    void Encode(ZvStream$& stream, ZvCoder* coder) const override { coder->Write(stream, m_entries); }
    void Decode(ZvStream$& stream, ZvCoder* coder) override {
        coder->Read(stream, m_entries);
        m_version = FindFileVersion(coder, GetType());
    }
    int m_entries = 0;
    unsigned int m_version = 0;
};
ZV_DECLARE_HANDLE(Journal, ZvObject$);
ZV_DEFINE_CLASS(Journal, (ZvObject), .schema = 0x80000002, .codec = true, .create = &Create)

// with an interface, with no factory
class Scene : public ZvObject, public ZvIEnumeratable {
    ZV_DECLARE_CLASS(Scene)
public:
    ZvIEnumerator$ GetEnumerator() const override { return m_list.GetEnumerator(); }
    ZvIEnumerator$ GetEnumerator() override { return m_list.GetEnumerator(); }
    ZvArrayList m_list;
};
ZV_DEFINE_CLASS(Scene, (ZvObject, ZvIEnumeratable))

// rebuilt through its reflected constructor; any of the three tables may be empty
class Camera : public ZvObject, public ZvISerializable {
    ZV_DECLARE_CLASS(Camera)
    ZV_DECLARE_TABLES()
public:
    Camera() = default;
    explicit Camera(const ZvObject$& o) {
        const ZvSerializationInfo$ info = o;
        m_focus = info->GetValue(new ZvString("focus"));
    }
    void GetObjectData(ZvSerializationInfo$& info) override { info->SetValue(new ZvString("focus"), m_focus); }
    ZvValue$ m_focus;
};
ZV_DECLARE_HANDLE(Camera, ZvObject$);
ZV_DEFINE_CLASS(Camera, (ZvObject, ZvISerializable), ZV_TABLES)
ZV_FIELDS(Camera)
ZV_METHODS(Camera)
ZV_CONSTRUCTORS(Camera, ZV_CONSTRUCTOR(ZvObject$))

// in a namespace: from global scope, by its full name
namespace studio {
class Light : public ZvObject {
    ZV_DECLARE_CLASS(Light)
    ZV_DECLARE_CREATE(Light)
};
}
ZV_DEFINE_CLASS(studio::Light, (ZvObject), .create = &Create)

// an interface of the client's
class Shape : public ZvInterface { ZV_DECLARE_INTERFACE(Shape) public: virtual double Area() const = 0; };
ZV_DECLARE_INTERFACE_HANDLE(Shape, ZvInterface$);
ZV_DEFINE_INTERFACE(Shape, (ZvInterface))

class Square : public ZvObject, public Shape {
    ZV_DECLARE_CLASS(Square)
public:
    double Area() const override { return 4; }
};
ZV_DECLARE_HANDLE(Square, ZvObject$);
ZV_DEFINE_CLASS(Square, (ZvObject, Shape))

TEST(ClientCode, ClassIsFoundByNameAndCreated) {
    ZvObject$ o = ZvSystem::FindType("Mesh")->CreateObject();
    Mesh$ mesh = o;
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->GetType(), &Mesh::s_type);
    EXPECT_EQ(o->ReferenceCount(), 2);
    EXPECT_EQ(*o->ToString(), "Mesh");
    EXPECT_STREQ(Mesh::s_type.GetModule()->name, "App");
    Journal$ journal = o;
    EXPECT_TRUE(!journal);
}

TEST(ClientCode, NamesCarryTheNamespace) {
    EXPECT_EQ(ZvSystem::FindType("studio::Light"), &studio::Light::s_type);
    EXPECT_EQ(ZvSystem::FindType("Light"), nullptr);
}

TEST(ClientCode, OptionsHaveTheirDefaults) {
    EXPECT_EQ(Scene::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(Scene::s_type.GetClassSpec(), 1u);
    EXPECT_FALSE(Scene::s_type.HasCodec());
    EXPECT_EQ(Scene::s_type.CreateObject(), nullptr);
    EXPECT_EQ(Journal::s_type.GetSchema(), 0x80000002u);
    EXPECT_TRUE(Journal::s_type.HasCodec());
    EXPECT_EQ(Shape::s_type.GetSchema(), 0u);
    EXPECT_TRUE(Shape::s_type.IsInterface());
}

TEST(ClientCode, MethodIsFoundBySignatureAndCalled) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(2, nullptr);
    (*args)[0] = new ZvPrimitive<int>(3);
    (*args)[1] = new ZvPrimitive<int>(4);
    ZvMethod$ sum = Mesh::s_type.Find(new ZvString("Sum"), &ZvPrimitive<int>::s_type, args);
    ASSERT_TRUE(sum);
    Mesh$ mesh = new Mesh;
    ZvValue$ result;
    sum->Invoke(mesh.Get(), result, args);
    int value = 0;
    ASSERT_TRUE(result->GetValue(&value, ZvVtInt32, 0));
    EXPECT_EQ(value, 7);

    ZvArguments$ name = new ZvPrimArray<ZvObject$>(1, nullptr);
    (*name)[0] = new ZvString("bunny");
    ZvMethod$ rename = Mesh::s_type.Find(new ZvString("Rename"), &ZvVoid::s_type, name);
    ASSERT_TRUE(rename);
    rename->Invoke(mesh.Get(), result, name);
    EXPECT_TRUE(!result);
    EXPECT_TRUE(mesh->m_next == (*name)[0]);
}

TEST(ClientCode, ConstructorIsChosenByItsSignature) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(2, nullptr);
    (*args)[0] = new ZvPrimitive<int>(12);
    (*args)[1] = new ZvPrimitive<double>(0.5);
    Mesh$ mesh = ZvObject$(Mesh::s_type.Construct(args));
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->m_count, 12);
    EXPECT_EQ(mesh->m_detail.bias, 0.5);
    (*args)[0] = new ZvPrimitive<double>(12);
    EXPECT_EQ(Mesh::s_type.Construct(args), nullptr);
    EXPECT_TRUE(ZvObject$(Mesh::s_type.Construct(nullptr)));
    EXPECT_EQ(Journal::s_type.Construct(nullptr), nullptr);
}

TEST(ClientCode, ObjectAndInterfaceHandlesConvertToEachOther) {
    Square$ square = new Square;
    ZvObject$ o = square;
    Shape$ shape = o;
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->Area(), 4);
    EXPECT_EQ(square->ReferenceCount(), 3);
    EXPECT_NE(static_cast<void*>(shape.Get()), static_cast<void*>(o.Get()));
    ZvObject$ back = shape;
    EXPECT_TRUE(back == o);
    Square$ squareAgain = shape;
    EXPECT_TRUE(squareAgain == square);
    ZvIList$ list = o;
    EXPECT_TRUE(!list);
}

namespace {

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

ZvObject$ RoundTrip(const ZvObject$& o, ZvStreamingContext::States state) {
    Bytes bytes = new ZvPrimArray<unsigned char>(100000, nullptr);
    {
        ZvStream$ stream = new ZvMemoryStream(bytes);
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(state));
        coder->Write(stream, o);
    }
    ZvStream$ stream = new ZvMemoryStream(bytes);
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(state));
    ZvObject$ back;
    coder->Read(stream, back);
    return back;
}

}

TEST(ClientCode, DocumentGoesToMemoryAndComesBack) {
    Mesh$ mesh = new Mesh(12, 0.5);
    mesh->m_pivot = {1, 2, 3};
    mesh->m_weights[1] = 7.5f;
    mesh->m_detail.lod = -4;
    mesh->m_next = mesh;                             // a cycle
    Mesh$ back = RoundTrip(mesh, ZvStreamingContext::TrackObjects);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->m_count, 12);
    EXPECT_EQ(back->m_pivot.z, 3);
    EXPECT_EQ(back->m_weights[1], 7.5f);
    EXPECT_EQ(back->m_detail.lod, -4);
    EXPECT_EQ(back->m_detail.bias, 0);               // not a reflected field
    EXPECT_TRUE(back->m_next == back);
    mesh->m_next = nullptr;
    back->m_next = nullptr;
}

TEST(ClientCode, SerializableClassIsRebuiltThroughItsConstructor) {
    Camera$ camera = new Camera;
    camera->m_focus = new ZvPrimitive<double>(35.5);
    Camera$ back = RoundTrip(camera, ZvStreamingContext::States(0));
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->m_focus->Equals(camera->m_focus.Get()));
}

TEST(ClientCode, CodecAsksForTheVersionOfTheData) {
    Journal$ journal = new Journal;
    journal->m_entries = -5;
    Journal$ back = RoundTrip(journal, ZvStreamingContext::TrackObjects);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->m_entries, -5);
    EXPECT_EQ(back->m_version, 2u);
}
