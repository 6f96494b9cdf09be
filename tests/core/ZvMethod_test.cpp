#include <zvc/zvc.h>

#include "../support/Arguments.h"
#include "../support/Coding.h"
#include "../support/RecordingCoder.h"
#include "../support/TypeWithHash.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace method_test {

// Not reflected: a table may list what it inherits from anywhere.
class Mixin {
public:
    int Half(int value) const noexcept { return value / 2; }
};

class Named : public ZvInterface {
    ZV_DECLARE_INTERFACE(Named)
public:
    virtual ZvString$ GetName() = 0;
};
ZV_DECLARE_INTERFACE_HANDLE(Named, ZvInterface$);

class Shape;
ZV_DECLARE_HANDLE(Shape, ZvObject$);

class Shape : public ZvObject, public Mixin {
    ZV_DECLARE_CLASS(Shape)
    ZV_DECLARE_CREATE(Shape)
    ZV_DECLARE_TABLES()
public:
    int Sum(int a, int b) { return a + b; }
    double Scale(const double& factor) const { return 2 * factor; }
    void Rename(const ZvString$& name) { m_name = name; }
    ZvString$ GetName() { return m_name; }
    ZvObject$ Echo(ZvObject$ o) { return o; }
    ZvObject* Raw(ZvObject* o) { return o; }
    const CG::vec3<float>& Pivot() const { return m_pivot; }
    Shape$ Join(const Shape$& other) { return other; }                  // its own class, not constructed with the table
    Named$ Ask(Named$ named) { return named; }
    void Fail(int code) { throw code; }
    int Overridden() { return 1; }
    bool Swallow(ZvInterface$ i) { return static_cast<bool>(i); }

    ZvString$ m_name;
    CG::vec3<float> m_pivot{1, 2, 3};
};

class Circle : public Shape {
    ZV_DECLARE_CLASS(Circle)
    ZV_DECLARE_CREATE(Circle)
    ZV_DECLARE_TABLES()
public:
    int Overridden() { return 2; }
    char Kind() { return 'c'; }
};
ZV_DECLARE_HANDLE(Circle, Shape$);

class Label : public ZvObject, public Named {
    ZV_DECLARE_CLASS(Label)
public:
    ZvString$ GetName() override { return new ZvString("label"); }
};

template <class... T>
struct Kinds {};

class EveryKind : public ZvObject {
    ZV_DECLARE_CLASS(EveryKind)
    ZV_DECLARE_CREATE(EveryKind)
    ZV_DECLARE_TABLES()
public:
    template <class T> T Back(T value) const { return value; }
};

}

// The derived class stands first, so that its descriptor outlives the methods of its base, which it has in its cache.
ZV_DEFINE_CLASS(method_test::Circle, (method_test::Shape), .create = &Create, ZV_TABLES)
ZV_FIELDS(method_test::Circle)
ZV_METHODS(method_test::Circle, ZV_METHOD(Overridden), ZV_METHOD(Kind))
ZV_CONSTRUCTORS(method_test::Circle)

ZV_DEFINE_CLASS(method_test::Shape, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(method_test::Shape)
ZV_METHODS(method_test::Shape,
    ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Scale, "factor"), ZV_METHOD(Rename, "name"), ZV_METHOD(GetName),
    ZV_METHOD(Echo, "o"), ZV_METHOD(Raw, "o"), ZV_METHOD(Pivot), ZV_METHOD(Join, "other"), ZV_METHOD(Ask, "named"),
    ZV_METHOD(Fail, "code"), ZV_METHOD(Overridden), ZV_METHOD(Swallow, "i"), ZV_METHOD(Half, "value"))
ZV_CONSTRUCTORS(method_test::Shape)

ZV_DEFINE_INTERFACE(method_test::Named, (ZvInterface))
ZV_DEFINE_CLASS(method_test::Label, (ZvObject, method_test::Named))

ZV_DEFINE_CLASS(method_test::EveryKind, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(method_test::EveryKind)
ZV_CONSTRUCTORS(method_test::EveryKind)
ZV_METHODS(method_test::EveryKind,
    ZV_METHOD(Back<bool>, "v"), ZV_METHOD(Back<char>, "v"), ZV_METHOD(Back<unsigned char>, "v"), ZV_METHOD(Back<short>, "v"),
    ZV_METHOD(Back<unsigned short>, "v"), ZV_METHOD(Back<int>, "v"), ZV_METHOD(Back<unsigned int>, "v"),
    ZV_METHOD(Back<long long>, "v"), ZV_METHOD(Back<unsigned long long>, "v"), ZV_METHOD(Back<float>, "v"),
    ZV_METHOD(Back<double>, "v"), ZV_METHOD(Back<CG::vec2<int>>, "v"), ZV_METHOD(Back<CG::vec2<float>>, "v"),
    ZV_METHOD(Back<CG::vec2<double>>, "v"), ZV_METHOD(Back<CG::vec3<int>>, "v"), ZV_METHOD(Back<CG::vec3<float>>, "v"),
    ZV_METHOD(Back<CG::vec3<double>>, "v"), ZV_METHOD(Back<CG::vec4<int>>, "v"), ZV_METHOD(Back<CG::vec4<float>>, "v"),
    ZV_METHOD(Back<CG::vec4<double>>, "v"), ZV_METHOD(Back<CG::mat3<float>>, "v"), ZV_METHOD(Back<CG::mat3<double>>, "v"),
    ZV_METHOD(Back<CG::mat4<float>>, "v"), ZV_METHOD(Back<CG::mat4<double>>, "v"), ZV_METHOD(Back<CG::rotation<float>>, "v"),
    ZV_METHOD(Back<CG::rotation<double>>, "v"), ZV_METHOD(Back<zvcolor>, "v"), ZV_METHOD(Back<ZvObject$>, "v"),
    ZV_METHOD(Back<ZvObject*>, "v"), ZV_METHOD(Back<ZvInterface$>, "v"), ZV_METHOD(Back<ZvInterface*>, "v"))

using namespace method_test;

namespace {

template <class T>
ZvType* BoxType() { return &ZvPrimitive<T>::s_type; }

ZvMethod$ FindIn(ZvType& type, const char* name, ZvType* result, const ZvArguments$& args) {
    return type.Find(new ZvString(name), result, args);
}

template <class T>
T ValueOf(const ZvValue$& box) {
    EXPECT_TRUE(box) << "no answer";
    if (!box) return T{};
    EXPECT_EQ(box->GetType(), &ZvPrimitive<T>::s_type);
    return static_cast<ZvPrimitive<T>*>(box.Get())->value;
}

/// Finds by the arguments' own types, and calls.
ZvValue$ Call(ZvObject* target, const char* name, ZvType* result, ZvArguments$ args) {
    ZvMethod$ method = FindIn(*target->GetType(), name, result, args);
    EXPECT_TRUE(method) << name;
    ZvValue$ answer;
    if (method) method->Invoke(target, answer, args);
    return answer;
}

}

TEST(ZvMethod, IsCalledWithBoxedArguments) {
    Shape$ shape = new Shape;
    EXPECT_EQ(ValueOf<int>(Call(shape.Get(), "Sum", BoxType<int>(), Arguments({Box(3), Box(4)}))), 7);
}

TEST(ZvMethod, ConstMethodAndConstReferenceCountAsPlain) {
    Shape$ shape = new Shape;
    EXPECT_EQ(ValueOf<double>(Call(shape.Get(), "Scale", BoxType<double>(), Arguments({Box(1.5)}))), 3.0);
    const auto pivot = ValueOf<CG::vec3<float>>(Call(shape.Get(), "Pivot", BoxType<CG::vec3<float>>(), nullptr));
    EXPECT_EQ(pivot.z, 3.0f);
}

TEST(ZvMethod, AnswerGoesIntoTheBoxThatStandsThereAndNobodyElseHolds) {
    Shape$ shape = new Shape;
    ZvArguments$ args = Arguments({Box(3), Box(4)});
    ZvMethod$ sum = FindIn(Shape::s_type, "Sum", BoxType<int>(), args);
    ZvValue$ result;
    sum->Invoke(shape.Get(), result, args);
    const ZvValue* first = result.Get();
    (*args)[0] = Box(5);
    sum->Invoke(shape.Get(), result, args);
    EXPECT_EQ(result.Get(), first);
    EXPECT_EQ(ValueOf<int>(result), 9);
    const ZvValue$ kept = result;
    (*args)[0] = Box(6);
    sum->Invoke(shape.Get(), result, args);
    EXPECT_EQ(ValueOf<int>(kept), 9);
    EXPECT_EQ(ValueOf<int>(result), 10);
    result = new ZvPrimitive<double>(0.5);
    sum->Invoke(shape.Get(), result, args);
    EXPECT_EQ(ValueOf<int>(result), 10);
}

TEST(ZvMethod, WithoutResultAnswersWithNull) {
    Shape$ shape = new Shape;
    ZvString$ name = new ZvString("cube");
    EXPECT_TRUE(!Call(shape.Get(), "Rename", &ZvVoid::s_type, Arguments({name})));
    EXPECT_TRUE(shape->m_name == name);
}

TEST(ZvMethod, HandleResultComesInAReferenceBox) {
    Shape$ shape = new Shape;
    shape->m_name = new ZvString("cube");
    const auto held = ValueOf<ZvObject$>(Call(shape.Get(), "GetName", &ZvString::s_type, nullptr));
    EXPECT_TRUE(held == shape->m_name);
}

TEST(ZvMethod, ObjectHandleIsTheReferenceKind) {
    Shape$ shape = new Shape;
    ZvObject$ o = new ZvString("x");
    EXPECT_TRUE(ValueOf<ZvObject$>(Call(shape.Get(), "Echo", BoxType<ZvObject$>(), Arguments({Box(o)}))) == o);
    EXPECT_EQ(ValueOf<ZvObject*>(Call(shape.Get(), "Raw", BoxType<ZvObject*>(), Arguments({Box(o.Get())}))), o.Get());
    EXPECT_TRUE(!FindIn(Shape::s_type, "Echo", BoxType<ZvObject$>(), Arguments({o})));
}

TEST(ZvMethod, HandleParameterIsTheObjectItself) {
    Shape$ a = new Shape, b = new Shape;
    const auto joined = ValueOf<ZvObject$>(Call(a.Get(), "Join", &Shape::s_type, Arguments({b})));
    EXPECT_TRUE(joined == b);
}

TEST(ZvMethod, InterfaceHandleIsFoundByItsDescriptor) {
    Shape$ shape = new Shape;
    ZvMethod$ ask = FindIn(Shape::s_type, "Ask", &Named::s_type, Arguments({&Named::s_type}));
    ASSERT_TRUE(ask);
    ZvObject$ label = new Label;
    ZvArguments$ args = Arguments({label});
    ZvValue$ answer;
    ask->Invoke(shape.Get(), answer, args);
    EXPECT_TRUE(ValueOf<ZvObject$>(answer) == label);
    args = Arguments({new ZvString("no Named")});
    ask->Invoke(shape.Get(), answer, args);
    EXPECT_TRUE(!answer);
}

TEST(ZvMethod, MayComeFromABaseThatIsNotReflected) {
    Shape$ shape = new Shape;
    EXPECT_EQ(ValueOf<int>(Call(shape.Get(), "Half", BoxType<int>(), Arguments({Box(8)}))), 4);
}

TEST(ZvMethod, ExceptionOfTheMethodPasses) {
    Shape$ shape = new Shape;
    EXPECT_THROW(Call(shape.Get(), "Fail", &ZvVoid::s_type, Arguments({Box(5)})), int);
}

TEST(ZvMethod, EveryValueKindIsParameterAndResult) {
    ZvObject$ target = new EveryKind;
    ZvMethod$* methods = EveryKind::GetMethodMap()->GetMethods();
    ASSERT_EQ(EveryKind::GetMethodMap()->GetNumMethod(), 31u);
    for (unsigned int i = 0; i < 31; ++i) {
        ZvMethod& method = *methods[i];
        EXPECT_EQ(method.ParameterType(0), method.ReturnType());
        ZvObject$ box = method.ReturnType()->CreateObject();
        ZvArguments$ args = Arguments({box});
        ZvMethod$ found = EveryKind::s_type.Find(method.Name(), method.ReturnType(), args);
        ASSERT_TRUE(found == methods[i]) << method.Name()->CStr();
        ZvValue$ answer;
        found->Invoke(target.Get(), answer, args);
        ASSERT_TRUE(answer) << method.Name()->CStr();
        EXPECT_EQ(answer->GetType(), box->GetType());
        EXPECT_TRUE(answer->Equals(box.Get())) << method.Name()->CStr();
    }
    EXPECT_TRUE(!methods[31]);
}

TEST(ZvMethod, OfTheBaseIsFoundAndOfTwoEqualTheClassesOwn) {
    Circle$ circle = new Circle;
    EXPECT_EQ(ValueOf<int>(Call(circle.Get(), "Sum", BoxType<int>(), Arguments({Box(3), Box(4)}))), 7);
    EXPECT_EQ(ValueOf<int>(Call(circle.Get(), "Overridden", BoxType<int>(), nullptr)), 2);
    EXPECT_EQ(ValueOf<char>(Call(circle.Get(), "Kind", BoxType<char>(), nullptr)), 'c');
    EXPECT_TRUE(!FindIn(Shape::s_type, "Kind", BoxType<char>(), nullptr));
}

TEST(ZvMethod, DerivedArgumentDoesNotMatchTheBase) {
    ZvObject$ circle = new Circle;
    EXPECT_TRUE(!FindIn(Shape::s_type, "Join", &Shape::s_type, Arguments({circle})));
    ZvMethod$ join = FindIn(Shape::s_type, "Join", &Shape::s_type, Arguments({&Shape::s_type}));
    ASSERT_TRUE(join);
    Shape$ target = new Shape;
    ZvArguments$ args = Arguments({circle});
    ZvValue$ answer;
    join->Invoke(target.Get(), answer, args);
    EXPECT_TRUE(ValueOf<ZvObject$>(answer) == circle);
}

TEST(ZvMethod, MatchingIsExact) {
    const ZvArguments$ two = Arguments({Box(1), Box(2)});
    EXPECT_TRUE(FindIn(Shape::s_type, "Sum", BoxType<int>(), two));
    EXPECT_TRUE(!FindIn(Shape::s_type, "sum", BoxType<int>(), two));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<double>(), two));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1)})));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1), Box(2), Box(3)})));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1), Box(short(2))})));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<int>(), nullptr));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", nullptr, two));
    EXPECT_TRUE(!FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1), nullptr})));
    EXPECT_TRUE(!Shape::s_type.Find(nullptr, BoxType<int>(), two));
    EXPECT_TRUE(!FindIn(ZvString::s_type, "Sum", BoxType<int>(), two));
}

TEST(ZvMethod, WrongArgumentsOfACallThatSkippedTheSearchAreIgnored) {
    Shape$ shape = new Shape;
    const auto answers = [&](ZvMethod* method, ZvObject* target, ZvArguments$ args) {
        ZvValue$ answer = new ZvPrimitive<int>(99);
        method->Invoke(target, answer, args);
        return static_cast<bool>(answer);
    };
    ZvMethod$ sum = FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1), Box(2)}));
    ZvMethod$ join = FindIn(Shape::s_type, "Join", &Shape::s_type, Arguments({&Shape::s_type}));
    ZvMethod$ echo = FindIn(Shape::s_type, "Echo", BoxType<ZvObject$>(), Arguments({BoxType<ZvObject$>()}));
    ZvMethod$ raw = FindIn(Shape::s_type, "Raw", BoxType<ZvObject*>(), Arguments({BoxType<ZvObject*>()}));
    ZvMethod$ swallow = FindIn(Shape::s_type, "Swallow", BoxType<bool>(), Arguments({BoxType<ZvInterface$>()}));
    ASSERT_TRUE(sum && join && echo && raw && swallow);
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), nullptr));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1)})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), Box(2), Box(3)})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), nullptr})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), new ZvString("2")})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), Box(CG::vec2<int>{1, 2})})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), new ZvPrimArray<int>})));
    EXPECT_FALSE(answers(sum.Get(), shape.Get(), Arguments({Box(1), new ZvVoid})));
    EXPECT_FALSE(answers(sum.Get(), nullptr, Arguments({Box(1), Box(2)})));
    ZvString$ other = new ZvString("no Shape");
    EXPECT_FALSE(answers(sum.Get(), other.Get(), Arguments({Box(1), Box(2)})));
    EXPECT_FALSE(answers(join.Get(), shape.Get(), Arguments({other})));
    EXPECT_TRUE(answers(join.Get(), shape.Get(), Arguments({nullptr})));
    // The kinds of references and pointers do not tell objects from interfaces: only the very box is taken.
    EXPECT_FALSE(answers(echo.Get(), shape.Get(), Arguments({Box(ZvInterface$(ZvObject$(new Label)))})));
    EXPECT_FALSE(answers(raw.Get(), shape.Get(), Arguments({Box(static_cast<ZvInterface*>(nullptr))})));
    EXPECT_FALSE(answers(swallow.Get(), shape.Get(), Arguments({Box(ZvObject$(other))})));
}

TEST(ZvMethod, ArgumentOfAnotherKindIsConvertedWhenTheSearchWasSkipped) {
    Shape$ shape = new Shape;
    ZvMethod$ sum = FindIn(Shape::s_type, "Sum", BoxType<int>(), Arguments({Box(1), Box(2)}));
    ZvArguments$ args = Arguments({Box(2.75), Box(short(5))});
    ZvValue$ answer;
    sum->Invoke(shape.Get(), answer, args);
    EXPECT_EQ(ValueOf<int>(answer), 7);
}

TEST(ZvMethod, BaseClassDoesNothing) {
    ZvMethod method;
    ZvValue$ answer = new ZvPrimitive<int>(5);
    const ZvValue$ before = answer;
    ZvArguments$ args;
    method.Invoke(nullptr, answer, args);
    EXPECT_TRUE(answer == before);
    EXPECT_EQ(method.Count(), 0);
    EXPECT_EQ(method.ReturnType(), nullptr);
    EXPECT_EQ(method.ReferenceCount(), 0);
}

TEST(ZvMethod, EntryFormTakesKindsAndNames) {
    ZvMethod entry(&Shape::s_type, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtDouble, "b");
    EXPECT_EQ(entry.ReferenceCount(), 1);
    EXPECT_TRUE(entry.Name() == $L("Sum"));
    EXPECT_EQ(entry.Owner(), &Shape::s_type);
    EXPECT_EQ(entry.ReturnType(), BoxType<int>());
    ASSERT_EQ(entry.Count(), 2);
    EXPECT_EQ(entry.ParameterType(0), BoxType<int>());
    EXPECT_EQ(entry.ParameterType(1), BoxType<double>());
    EXPECT_EQ(*entry.ParameterName(1), "b");
    ZvMethod nothing(&Shape::s_type, "Stop", ZvVtVoid, 0);
    EXPECT_EQ(nothing.ReturnType(), &ZvVoid::s_type);
}

TEST(ZvMethod, EntriesOfTheTableAreCountedForTheirHandleAndThemselves) {
    ZvMethodMap* map = Circle::GetMethodMap();
    EXPECT_EQ(map, Circle::GetMethodMap());
    ASSERT_EQ(map->GetNumMethod(), 2u);
    EXPECT_EQ(*map->GetMethods()[0]->Name(), "Overridden");
    EXPECT_EQ(*map->GetMethods()[1]->Name(), "Kind");
    EXPECT_TRUE(!map->GetMethods()[2]);
    EXPECT_EQ(Shape::GetMethodMap()->GetMethods()[0]->Owner(), &Shape::s_type);
    EXPECT_EQ(*Shape::GetMethodMap()->GetMethods()[0]->ParameterName(1), "b");
    EXPECT_EQ(ZvPlugin::GetMethodMap()->GetNumMethod(), 0u);
}

TEST(ZvMethodMap, LeavesEachEntryToItsStaticHandle) {
    ZvMethod$ table[] = {new ZvMethod(nullptr, "a", ZvVtVoid, 0), new ZvMethod(nullptr, "b", ZvVtVoid, 0), ZvMethod$()};
    const ZvMethod$ more = table[1];
    EXPECT_EQ(table[0]->ReferenceCount(), 2);
    EXPECT_EQ(table[1]->ReferenceCount(), 3);
    auto* map = new ZvMethodMap(table);
    EXPECT_EQ(map->GetNumMethod(), 2u);
    EXPECT_EQ(map->GetMethods(), table);
    delete map;
    EXPECT_EQ(table[0]->ReferenceCount(), 1);
    EXPECT_EQ(table[1]->ReferenceCount(), 1);
    table[1]->Retain();                              // gives `more` its count back
}

TEST(ZvMethod, ClassSpecIsThatOfAMethodByReference) {
    EXPECT_EQ(ZvMethod::s_type.GetClassSpec(), 0x30u);
    EXPECT_EQ(ZvMethod::s_type.GetSchema(), 0x80000001u);
    EXPECT_FALSE(ZvMethod::s_type.HasCodec());
    EXPECT_TRUE(ZvMethod::s_type.IsMarshalByRef());
    EXPECT_EQ(ZvMarshalByRefObject::s_type.GetClassSpec(), 1u);
    EXPECT_TRUE(ZvMethod::s_type.IsDerivedFrom(&ZvMarshalByRefObject::s_type));
}

TEST(ZvMethod, ParameterNamesOwnerAndClassPlayNoPartInEquality) {
    ZvMethod a(&Shape::s_type, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtInt32, "b");
    ZvMethod b(nullptr, "Sum", ZvVtInt32, 2, ZvVtInt32, "x", ZvVtInt32, "y");
    ZvMethod key(new ZvString("Sum"), BoxType<int>(), Arguments({Box(0), Box(0)}));
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a.Equals(&b));
    EXPECT_TRUE(key.Equals(Shape::GetMethodMap()->GetMethods()[0].Get()));       // of a derived class
    EXPECT_TRUE(Shape::GetMethodMap()->GetMethods()[0]->Equals(&key));
    EXPECT_EQ(a.GetHashCode(), b.GetHashCode());
    EXPECT_EQ(a.GetHashCode(), key.GetHashCode());
    EXPECT_TRUE(!key.ParameterName(0));
}

TEST(ZvMethod, EmptyOneEqualsAKeyOfNothing) {
    const ZvMethod empty;
    const ZvMethod key(nullptr, nullptr, nullptr);
    EXPECT_TRUE(empty == key);
    EXPECT_EQ(empty.GetHashCode(), key.GetHashCode());
}

TEST(ZvMethod, EachPartOfTheSignatureCounts) {
    const ZvMethod sum(nullptr, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtInt32, "b");
    const ZvMethod name(nullptr, "Som", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtInt32, "b");
    const ZvMethod result(nullptr, "Sum", ZvVtFloat, 2, ZvVtInt32, "a", ZvVtInt32, "b");
    const ZvMethod count(nullptr, "Sum", ZvVtInt32, 1, ZvVtInt32, "a");
    const ZvMethod type(nullptr, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtFloat, "b");
    for (const ZvMethod* other : {&name, &result, &count, &type}) {
        EXPECT_FALSE(sum == *other);
        EXPECT_FALSE(sum.Equals(other));
        EXPECT_NE(sum.GetHashCode(), other->GetHashCode());
    }
    EXPECT_TRUE(sum.Equals(&sum));
    EXPECT_FALSE(sum.Equals(nullptr));
    const ZvString text("Sum");
    EXPECT_FALSE(sum.Equals(&text));
}

TEST(ZvMethod, HashFollowsTheFormulaOfSignatures) {
    const struct {
        const char* name;
        size_t result;
        std::vector<size_t> parameters;
        size_t hash;
    } cases[] = {
        {"method0", 0x00000e0f22b8ca5a, {0x00000f8237c741ee}, 0xc4434c8dd7eb5332},
        {"method5", 0x0000090523443461, {0x0000093944a62a6b, 0x0000033da27d44a5, 0x00000296d9451a89, 0x000001d001bde1e4},
         0x8cf50ab4e2efe868},
        {"method10", 0x00000d1dfbb1befa, {0x000005964ce67bde, 0x00000ea76337512c}, 0x0f7bdfa51e7524bc},
        {"method15", 0x00000b4c5247e258, {0x000009a09e0ca703, 0x00000a21ee84d0aa}, 0xc425d1a1aec359e0},
    };
    for (const auto& c : cases) {
        ZvType$ result = new TypeWithHash(c.result);
        ZvArguments$ args = new ZvPrimArray<ZvObject$>(c.parameters.size(), nullptr);
        for (size_t i = 0; i < c.parameters.size(); ++i) (*args)[i] = new TypeWithHash(c.parameters[i]);
        const ZvMethod key(new ZvString(c.name), result.Get(), args);
        EXPECT_EQ(key.GetHashCode(), c.hash) << c.name;
    }
}

TEST(ZvMethod, KeyKeepsTheDescriptorsThatItWasGiven) {
    auto key = std::make_unique<ZvMethod>(new ZvString("f"), new TypeWithHash(1), Arguments({new TypeWithHash(2)}));
    const ZvMethod copy(*key);
    key.reset();
    // ((((0x811d69050c5d1f ^ name) * p ^ 1) * p ^ 1) * p ^ 2), p = 16777619
    constexpr size_t p = 16777619;
    const size_t name = ZvString("f").GetHashCode();
    EXPECT_EQ(copy.GetHashCode(), ((((0x811d69050c5d1f ^ name) * p ^ 1) * p ^ 1) * p) ^ 2);
}

TEST(ZvMethod, GoesThroughACoderWithTypesAndNames) {
    ZvMethod$ method = Shape::GetMethodMap()->GetMethods()[0];
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(2000, nullptr);
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    {
        ZvStream$ stream = new ZvMemoryStream(bytes);
        method->Encode(stream, coder.Get());
        ZvMethod(new ZvString("Key"), BoxType<int>(), Arguments({Box(1)})).Encode(stream, coder.Get());
    }
    ZvStream$ stream = new ZvMemoryStream(bytes);
    coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    ZvMethod read;
    read.Decode(stream, coder.Get());
    EXPECT_TRUE(read == *method);
    EXPECT_EQ(*read.ParameterName(0), "a");
    EXPECT_EQ(*read.ParameterName(1), "b");
    EXPECT_EQ(read.Owner(), nullptr);
    read.Decode(stream, coder.Get());
    EXPECT_EQ(*read.Name(), "Key");
    EXPECT_EQ(read.Count(), 1);
    EXPECT_TRUE(!read.ParameterName(0));
}

TEST(ZvMethod, WritesNameResultCountAndAPairForEachParameter) {
    class Naming : public RecordingCoder {
    public:
        using RecordingCoder::Write;
        void Write(ZvStream$&, const ZvObject$& o) override {
            if (!o)
                calls += "null ";
            else if (o->GetType() == &ZvType::s_type)
                calls += ZvType$(o)->GetName()->CStr() + std::string(" ");
            else
                calls += ZvString$(o)->CStr() + std::string(" ");
        }
    };
    ZvStream$ none;
    Naming coder;
    ZvMethod(&Shape::s_type, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtDouble, "b").Encode(none, &coder);
    EXPECT_EQ(coder.calls, "Sum ZvInt32 u2 ZvInt32 a ZvDouble b ");
    coder.calls.clear();
    ZvMethod().Encode(none, &coder);
    EXPECT_EQ(coder.calls, "null null u0 ");
}

TEST(ZvMethod, CountThatTheStreamDoesNotBearOutRaises) {
    // No name, no result, and parameters of null types and names, which then are no tag, or never end.
    for (const char* hex : {"8080a3ffffffff808000", "8080a3ffffffff8080"}) {
        ZvStream$ stream = StreamOf(hex);
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::States(0)));
        ZvMethod read(nullptr, "kept", ZvVtInt32, 0);
        EXPECT_THROW(read.Decode(stream, coder.Get()), ZvCoderException) << hex;
        EXPECT_EQ(*read.Name(), "kept");
    }
}

TEST(ZvMethod, CacheIsBuiltOnceForTheChainOfFirstBases) {
    ZvDictionary$ cache = Circle::s_type.CreateMethodCache();
    EXPECT_TRUE(cache == Circle::s_type.CreateMethodCache());
    EXPECT_EQ(cache->Count(), 2u + 13u - 1u);        // one of the base's has an equal in the class
    for (unsigned int i = 0; i < 2; ++i) {
        ZvMethod$ own = Circle::GetMethodMap()->GetMethods()[i];
        EXPECT_TRUE(cache->Find(own) == own);
    }
    EXPECT_EQ(ZvString::s_type.CreateMethodCache()->Count(), 0u);
}

TEST(ZvMethodMacros, KnowWhatASignatureMayHold) {
    using namespace zvc::detail;
    static_assert(IsParameter<int> && IsParameter<const int&> && IsParameter<const ZvString$&> && IsParameter<ZvInterface*>);
    static_assert(!IsParameter<int&> && !IsParameter<int&&> && !IsParameter<ZvString$&> && !IsParameter<int*>);
    static_assert(!IsParameter<const char*> && !IsParameter<std::string> && !IsParameter<long double> && !IsParameter<ZvString>);
    static_assert(IsResult<void> && IsResult<const int&> && IsResult<Named$> && !IsResult<const char*> && !IsResult<method_test::Shape*>);
}
