// The binary format, byte by byte. The bytes are worked out by hand from the format's description.

#include "support/Graph.h"
#include "support/OtherStream.h"

using namespace cases;

/// Goes as a bag, and has no constructor that takes one.
class Unbuildable : public ZvObject, public ZvISerializable {
    ZV_DECLARE_CLASS(Unbuildable)
    ZV_DECLARE_TABLES()
public:
    void GetObjectData(ZvSerializationInfo$&) override {}
};
ZV_DEFINE_CLASS(Unbuildable, (ZvObject, ZvISerializable), ZV_TABLES)
ZV_FIELDS(Unbuildable)
ZV_METHODS(Unbuildable)
ZV_CONSTRUCTORS(Unbuildable)

namespace {

/// Pairs of digits, with blanks and with texts in single quotes, which stand for their bytes.
std::string Hex(const std::string& notation) {
    std::string hex;
    bool text = false;
    for (const char c : notation) {
        if (c == '\'')
            text = !text;
        else if (text)
            hex += ToHex(std::string(1, c));
        else if (c != ' ')
            hex += static_cast<char>(std::tolower(c));
    }
    return hex;
}

template <class... T>
std::string Written(int state, const T&... values) {
    Memory out;
    ZvBinaryCoder$ coder = Coder(state);
    (coder->Write(out.stream, values), ...);
    return ToHex(out.Taken());
}

template <class T>
T ReadOne(const std::string& notation) {
    Memory in(FromHex(Hex(notation)));
    T value{};
    Coder(0)->Read(in.stream, value);
    return value;
}

template <class F>
void ExpectRaise(int cause, const char* function, F f, const std::string& what) {
    try {
        f();
        ADD_FAILURE() << "nothing raised: " << what;
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(static_cast<int>(e.cause), cause) << what;
        EXPECT_STREQ(e.function, function) << what;
        EXPECT_STREQ(e.file, "ZvBinaryCoder") << what;
        EXPECT_GT(e.line, 0u) << what;
    }
}

/// The next objects of a stream, read with one coder.
std::vector<ZvObject$> Objects(const std::string& notation, size_t count, int state = 0) {
    Memory in(FromHex(Hex(notation)));
    ZvBinaryCoder$ coder = Coder(state);
    std::vector<ZvObject$> objects(count);
    for (ZvObject$& o : objects) coder->Read(in.stream, o);
    EXPECT_EQ(ToHex(in.Taken()), Hex(notation));
    return objects;
}

const char InDecodeType[] = "ZvBinaryCoder::DecodeType";
const char InDecodeObject[] = "ZvBinaryCoder::DecodeObject";

/// Takes and gives everything, and answers Fail and the questions for its direction as it is told.
class Told : public OtherStream {
public:
    long long Write(const void* data, long long count) override {
        written.append(static_cast<const char*>(data), static_cast<size_t>(count));
        return count;
    }
    long long Read(void* data, long long count) override {
        const std::string part = given.substr(0, static_cast<size_t>(count));
        given.erase(0, part.size());
        std::memcpy(data, part.data(), part.size());
        return static_cast<long long>(part.size());
    }
    bool Fail() const override { return fails; }
    bool CanWrite() const override { return asked++ < yes; }
    bool CanRead() const override { return asked++ < yes; }

    std::string written, given;
    bool fails = false;
    int yes = 1 << 30;               // so many questions are answered with true
    mutable int asked = 0;
};

}

// ---- scalars and strings --------------------------------------------------------------------------------------------------

TEST(ZvBinaryCoder, TagsAreFixedNumbers) {
    const struct {
        const unsigned char& tag;                // as a client may use them: by reference
        int number;
    } tags[] = {{ZvBinaryCoder::TagAscii, 0x00},      {ZvBinaryCoder::TagNull, 0x80},       {ZvBinaryCoder::TagFalse, 0x81},
                {ZvBinaryCoder::TagTrue, 0x82},       {ZvBinaryCoder::TagNewType, 0x83},    {ZvBinaryCoder::TagNewObject, 0x84},
                {ZvBinaryCoder::TagNewSymbol, 0x85},  {ZvBinaryCoder::TagNewObjRef, 0x86},  {ZvBinaryCoder::TagNewType1, 0x87},
                {ZvBinaryCoder::TagStringLT16, 0x88}, {ZvBinaryCoder::TagStringGE16, 0x98}, {ZvBinaryCoder::TagReserve1, 0x9C},
                {ZvBinaryCoder::TagInt, 0xA0},        {ZvBinaryCoder::TagType, 0xA8},       {ZvBinaryCoder::TagObject, 0xAC},
                {ZvBinaryCoder::TagReserve3, 0xB0}};
    for (const auto& t : tags) EXPECT_EQ(t.tag, t.number);
}

TEST(ZvBinaryCoder, IntegersTakeTheirSignificantBytes) {
    EXPECT_EQ(Written(0, 0u), "a000");
    EXPECT_EQ(Written(0, 0xFFu), "a0ff");
    EXPECT_EQ(Written(0, 0x100u), "a10001");
    EXPECT_EQ(Written(0, 0x10000u), "a2000001");
    EXPECT_EQ(Written(0, 0x1000000u), "a300000001");
    EXPECT_EQ(Written(0, 1000), "a1e803");
    EXPECT_EQ(Written(0, -1), "a3ffffffff");
    EXPECT_EQ(Written(0, -1ll), "a7ffffffffffffffff");
    EXPECT_EQ(Written(0, 0x100000000ull), "a40000000001");
    EXPECT_EQ(Written(0, 0x0001000000000000ull), "a600000000000001");
    EXPECT_EQ(Written(0, static_cast<short>(-2)), "a1feff");
    EXPECT_EQ(Written(0, static_cast<unsigned short>(7)), "a007");
    EXPECT_EQ(Written(0, static_cast<char>(-1)), "a0ff");
    EXPECT_EQ(Written(0, static_cast<unsigned char>(0)), "a000");
}

TEST(ZvBinaryCoder, FloatsAreRawAndBoolsAreTags) {
    EXPECT_EQ(Written(0, 1.5f), "0000c03f");
    EXPECT_EQ(Written(0, -2.0), "00000000000000c0");
    EXPECT_EQ(Written(0, true, false), "8281");
    EXPECT_TRUE(ReadOne<bool>("82"));
    EXPECT_FALSE(ReadOne<bool>("81"));
    for (const char* form : {"A0 00", "A0 01", "80", "83"})
        ExpectRaise(8, "ZvBinaryCoder::Read", [&] { ReadOne<bool>(form); }, form);
}

TEST(ZvBinaryCoder, NarrowValuesAreNeverSignExtended) {
    EXPECT_EQ(ReadOne<long long>("A3 FF FF FF FF"), 4294967295);
    EXPECT_EQ(ReadOne<int>("A3 FF FF FF FF"), -1);
    EXPECT_EQ(ReadOne<int>("A1 FF FF"), 65535);
    EXPECT_EQ(ReadOne<int>("A0 FF"), 255);
    EXPECT_EQ(ReadOne<short>("A1 FE FF"), -2);
    EXPECT_EQ(ReadOne<unsigned long long>("A0 05"), 5u);
    ExpectRaise(8, "ZvBinaryCoder::Read", [] { ReadOne<int>("A4 01 00 00 00 00"); }, "a wider one");
}

TEST(ZvBinaryCoder, StringsStateTheirLengthInTheTagOrBehindIt) {
    const struct {
        size_t length;
        const char* head;
    } rows[] = {{0, "88"},          {1, "89"},           {15, "97"},             {16, "9810"},         {255, "98ff"},
                {256, "990001"},    {65535, "99ffff"},   {65536, "9a000001"}};
    for (const auto& row : rows) {
        const std::string text(row.length, 'x');
        const std::string bytes = row.head + ToHex(text);
        EXPECT_EQ(Written(0, ZvString(text.c_str())), bytes) << row.length;
        Memory in(FromHex(bytes));
        ZvString back("old text");
        Coder(0)->Read(in.stream, back);
        EXPECT_EQ(back, text.c_str()) << row.length;
    }
}

TEST(ZvBinaryCoder, WhatStandsBehindAZeroInAStringIsLost) {
    ZvString text;
    std::memcpy(text.GetBuffer(6), "ab\0cde", 7);
    EXPECT_EQ(Written(0, text), "8a6162");
}

TEST(ZvBinaryCoder, OtherTagsAreNoString) {
    for (int tag = 0; tag < 256; ++tag) {
        if (tag >= 0x88 && tag <= 0x9B) continue;
        const std::string form = ToHex(std::string(1, static_cast<char>(tag))) + "0000000000000000";
        ExpectRaise(8, "ZvBinaryCoder::DecodeString", [&] {
            Memory in(FromHex(form));
            ZvString text;
            Coder(0)->Read(in.stream, text);
        }, form);
    }
}

TEST(ZvBinaryCoder, OnlyRawTransfersAskForAFailure) {
    const auto run = [](const std::function<void(ZvBinaryCoder$&, ZvStream$&)>& f, const std::string& given = {}) {
        auto* told = new Told;
        told->fails = true;
        told->given = FromHex(Hex(given));
        ZvStream$ stream = told;
        ZvBinaryCoder$ coder = Coder(0);
        f(coder, stream);
    };
    const char In[] = "ZvBinaryCoder::Write";
    const float floats[] = {1};
    const double doubles[] = {1};
    ExpectRaise(1, In, [&] { run([](auto& c, auto& s) { c->Write(s, static_cast<const void*>("ab"), 2ull); }); }, "raw");
    ExpectRaise(1, In, [&] { run([](auto& c, auto& s) { c->Write(s, 5u); }); }, "unsigned int");
    ExpectRaise(1, In, [&] { run([](auto& c, auto& s) { c->Write(s, 5); }); }, "int");
    ExpectRaise(1, In, [&] { run([](auto& c, auto& s) { c->Write(s, 5.0); }); }, "double");
    ExpectRaise(1, In, [&] { run([&](auto& c, auto& s) { c->Write(s, 1u, floats); }); }, "floats");
    ExpectRaise(1, In, [&] { run([&](auto& c, auto& s) { c->Write(s, 1u, doubles); }); }, "doubles");
    run([](auto& c, auto& s) {
        c->Write(s, true);
        c->Write(s, 'c');
        c->Write(s, static_cast<unsigned short>(5));
        c->Write(s, 5ull);
        c->Write(s, 5.0f);
        c->Write(s, ZvString("text"));
        c->Write(s, ZvObject$());
    });
    ExpectRaise(1, "ZvBinaryCoder::Read", [&] { run([](auto& c, auto& s) { char to[1]; c->Read(s, static_cast<void*>(to), 1ull); }, "41"); }, "raw");
    ExpectRaise(1, "ZvBinaryCoder::Read", [&] { run([](auto& c, auto& s) { c->DecodeObject(s); }, "AC 01"); }, "back reference");
    run([](auto& c, auto& s) {
        int number = 0;
        double real = 0;
        ZvString text;
        c->Read(s, number);
        c->Read(s, real);
        c->Read(s, text);
        EXPECT_EQ(number, 5);
        EXPECT_EQ(real, -2.0);
        EXPECT_EQ(text, "x");
    }, "A0 05 00 00 00 00 00 00 00 C0 89 'x'");
}

// ---- types and objects ----------------------------------------------------------------------------------------------------

TEST(ZvBinaryCoder, BoxStatesItsTypeOnceAndItsValueEachTime) {
    const ZvObject$ box = new ZvPrimitive<int>(1000);
    const std::string first = "84"                      // a new object
                              "87"                      // of a type that is defined here
                              "8F 'ZvInt32'"            // its name, 7 bytes
                              "8B 'ZVC'"                // its module, 3 bytes
                              "A0 02"                   // class spec 2: the type has id 1 from here on
                              "A0 01"                   // schema 1
                              "A1 E8 03";               // 1000
    const std::string second = "84 A8 01 A1 E8 03";     // type 1; the object again, for it is not tracked
    EXPECT_EQ(Written(0, box), Hex(first));
    EXPECT_EQ(Written(0, box, box), Hex(first + second));
    const auto back = Objects(first + second, 2);
    for (const ZvObject$& o : back) EXPECT_TRUE(box->Equals(o.Get()));
    EXPECT_TRUE(back[0] != back[1]);
}

TEST(ZvBinaryCoder, ObjectWithFieldsStatesItsLayoutOnce) {
    Pt$ point = new Pt;
    point->x = 5;
    point->y = 1.5f;
    const std::string first = "84"
                              "87"
                              "8A 'Pt'"
                              "8B 'App'"
                              "A0 01"                                     // class spec 1: the class has id 1
                              "A0 02"                                     // two fields
                              "84"                                        // the name of the first, an object
                              "87 90 'ZvString' 8B 'ZVC'"                 // whose type is new
                              "A0 02"                                     // class spec 2: id 2
                              "A3 01 00 00 80"                            // schema 0x80000001
                              "89 'x'"                                    // the name
                              "87 8F 'ZvInt32' 8B 'ZVC' A0 02"            // its type: id 3
                              "A0 01"
                              "84 A8 02"                                  // the name of the second, of type 2
                              "89 'y'"
                              "87 8F 'ZvFloat' 8B 'ZVC' A0 02"            // its type: id 4
                              "A0 01"
                              "A0 05"                                     // x
                              "00 00 C0 3F";                              // y
    const std::string second = "84 A8 01 A0 05 00 00 C0 3F";
    EXPECT_EQ(Written(0, ZvObject$(point), ZvObject$(point)), Hex(first + second));
    for (const ZvObject$& o : Objects(first + second, 2)) {
        const Pt$ back = o;
        ASSERT_TRUE(back);
        EXPECT_EQ(back->x, 5);
        EXPECT_EQ(back->y, 1.5f);
    }
}

TEST(ZvBinaryCoder, TrackedListMayHoldItself) {
    ZvArrayList$ list = new ZvArrayList;
    list->Add(list);
    const std::string bytes = "84"
                              "87"
                              "93 'ZvArrayList'"
                              "8B 'ZVC'"
                              "A0 01"                   // class spec 1: the type has id 1
                              "A3 01 00 00 80"          // schema 0x80000001; the list has id 2, and nothing says so
                              "A0 01"                   // one element
                              "AC 02";                  // the list
    EXPECT_EQ(Written(1, ZvObject$(list)), Hex(bytes));
    const ZvArrayList$ back = Objects(bytes, 1, 1)[0];
    ASSERT_TRUE(back);
    ASSERT_EQ(back->Count(), 1u);
    EXPECT_TRUE((*back)[0] == back);
    list->Clear();
    back->Clear();
}

TEST(ZvBinaryCoder, ClassWithoutFieldsStillWritesItsCount) {
    EXPECT_EQ(Written(0, ZvObject$(new GEmpty)), Hex("84 87 8E 'GEmpty' 8B 'App' A0 01 A0 00"));
}

TEST(ZvBinaryCoder, TypeIsADefinitionFirstAndAnObjectReferenceThen) {
    const ZvObject$ type = &ZvPrimitive<int>::s_type;
    const std::string definition = "87 8F 'ZvInt32' 8B 'ZVC' A0 02 A0 01";
    for (int state : {0, 1}) {
        EXPECT_EQ(Written(state, type, type), Hex(definition + "AC 01"));
        for (const ZvObject$& back : Objects(definition + "AC 01 A8 01", 3, state)) EXPECT_TRUE(back == type);
    }
}

TEST(ZvBinaryCoder, SharedListIsCopiedOrSharedByTheState) {
    const ZvObject$ list = new ZvArrayList;
    const std::string definition = "87 93 'ZvArrayList' 8B 'ZVC' A0 01 A3 01 00 00 80";
    EXPECT_EQ(Written(0, list, list), Hex("84" + definition + "A0 00 84 A8 01 A0 00"));
    EXPECT_EQ(Written(1, list, list), Hex("84" + definition + "A0 00 AC 02"));
    const auto copies = Objects("84" + definition + "A0 00 84 A8 01 A0 00", 2, 0);
    EXPECT_FALSE(copies[0] == copies[1]);
    const auto shared = Objects("84" + definition + "A0 00 AC 02", 2, 1);
    EXPECT_TRUE(shared[0] == shared[1]);
}

TEST(ZvBinaryCoder, TrackedObjectMayReferToItselfThroughAField) {
    GTracked$ object = new GTracked;             // of a class that goes by reference: tracked in every state
    object->self = object;
    object->n = 3;
    Memory out;
    Coder(0)->Write(out.stream, ZvObject$(object));
    Memory in(out.Taken());
    ZvObject$ read;
    Coder(0)->Read(in.stream, read);
    GTracked$ back = read;
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->self == back);
    EXPECT_EQ(back->n, 3);
    object->self = back->self = nullptr;
}

TEST(ZvBinaryCoder, SerializableObjectHasItsIdBehindItsContent) {
    const ZvObject$ bag = new GBag;
    Memory out;
    ZvBinaryCoder$ coder = Coder(1);
    coder->Write(out.stream, bag);
    coder->Write(out.stream, bag);
    // ids: GBag 1, ZvSerializationInfo 2, the info 3, ZvString 4, three names 5 to 7, and only then the object.
    EXPECT_EQ(ToHex(out.Taken()), Hex("84 87 8C 'GBag' 8B 'App' A0 01"
                                      "84 87 98 13 'ZvSerializationInfo' 8B 'ZVC' A0 01 A3 01 00 00 80"
                                      "A0 03"
                                      "84 87 90 'ZvString' 8B 'ZVC' A0 02 A3 01 00 00 80 8D 'alpha' 80"
                                      "84 A8 04 8D 'gamma' 80"              // the table's order and not that of SetValue
                                      "84 A8 04 8C 'beta' 80"
                                      "AC 08"));
    Memory in(out.Taken());
    ZvBinaryCoder$ reader = Coder(1);
    ZvObject$ first, second;
    reader->Read(in.stream, first);
    reader->Read(in.stream, second);
    EXPECT_TRUE(first == second);
    EXPECT_TRUE(GBag$(first));
}

TEST(ZvBinaryCoder, IdsOf256AndMoreTakeTwoBytes) {
    std::vector<ZvObject$> objects;
    for (int i = 0; i < 300; ++i) objects.push_back(new GEmpty);
    Memory out;
    ZvBinaryCoder$ coder = Coder(1);
    for (const ZvObject$& o : objects) coder->Write(out.stream, o);          // the class has id 1, object i has id i + 2
    const size_t before = out.Taken().size();
    coder->Write(out.stream, objects[253]);
    coder->Write(out.stream, objects[254]);
    coder->Write(out.stream, ZvObject$(new ZvPrimitive<int>(0)));             // a type with id 302
    coder->Write(out.stream, ZvObject$(new ZvPrimitive<int>(0)));
    EXPECT_EQ(ToHex(out.Taken().substr(before)),
              Hex("AC FF AD 00 01 84 87 8F 'ZvInt32' 8B 'ZVC' A0 02 A0 01 A0 00 84 A9 2E 01 A0 00"));
    Memory in(out.Taken());
    ZvBinaryCoder$ reader = Coder(1);
    std::vector<ZvObject$> back(304);
    for (ZvObject$& o : back) reader->Read(in.stream, o);
    EXPECT_TRUE(back[300] == back[253]);
    EXPECT_TRUE(back[301] == back[254]);
    EXPECT_EQ(ToHex(in.Taken()), ToHex(out.Taken()));
}

TEST(ZvBinaryCoder, InterfacesAndPointersAreTheSameBytesAsHandles) {
    const ZvObject$ list = new ZvArrayList;
    const ZvInterface$ interface = list;
    const std::string bytes = Hex("84 87 93 'ZvArrayList' 8B 'ZVC' A0 01 A3 01 00 00 80 A0 00");
    EXPECT_EQ(Written(0, list), bytes);
    EXPECT_EQ(Written(0, static_cast<const ZvObject*>(list.Get())), bytes);
    EXPECT_EQ(Written(0, interface), bytes);
    EXPECT_EQ(Written(0, static_cast<const ZvInterface*>(interface.Get())), bytes);
    EXPECT_EQ(Written(0, ZvObject$(), ZvInterface$(), static_cast<const ZvObject*>(nullptr), static_cast<const ZvInterface*>(nullptr)),
              "80808080");

    Memory in(FromHex(bytes + bytes.substr(0, 2) + "a801a000" + bytes.substr(0, 2) + "a801a000" + Hex("84 87 8F 'ZvInt32' 8B 'ZVC' A0 02 A0 01 A0 07")));
    ZvBinaryCoder$ coder = Coder(0);
    ZvInterface$ handle;
    coder->Read(in.stream, handle);
    EXPECT_TRUE(ZvArrayList$(ZvObject$(handle)));
    ZvInterface* pointer = nullptr;
    coder->Read(in.stream, pointer);
    const ZvInterface$ owner = pointer;
    EXPECT_TRUE(ZvArrayList$(ZvObject$(owner)));
    ZvObject* object = nullptr;
    coder->Read(in.stream, object);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->ReferenceCount(), 0);
    const ZvObject$ kept = object;
    coder->Read(in.stream, handle);              // a box implements no interface
    EXPECT_TRUE(!handle);
}

TEST(ZvBinaryCoder, OlderFormsAreRead) {
    // 86 is read as 84; a type of the form 83 states no schema and is of version 1.
    const ZvObject$ box = Objects("86 83 8F 'ZvInt32' 8B 'ZVC' A0 02 A0 07", 1)[0];
    EXPECT_TRUE(ZvObject$(new ZvPrimitive<int>(7))->Equals(box.Get()));
    const Pt$ point = Objects("84 83 8A 'Pt' 8B 'App' A0 01 A0 00", 1)[0];
    EXPECT_TRUE(point);
}

TEST(ZvBinaryCoder, DefinitionReadTwiceGivesOneId) {
    const std::string definition = "87 8F 'ZvInt32' 8B 'ZVC' A0 02 A0 01";
    const auto objects = Objects("84" + definition + "A0 01 84" + definition + "A0 02 84 87 8F 'ZvFloat' 8B 'ZVC' A0 02 A0 01 00 00 C0 3F"
                                 "84 A8 01 A0 03 84 A8 02 00 00 C0 3F", 5);
    EXPECT_EQ(objects[3]->GetType(), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(objects[4]->GetType(), &ZvPrimitive<float>::s_type);
}

TEST(ZvBinaryCoder, WritersClassSpecIsThrownAway) {
    EXPECT_TRUE(Objects("84 87 8F 'ZvInt32' 8B 'ZVC' A3 FF FF FF FF A0 01 A0 07", 1)[0]);
}

TEST(ZvBinaryCoder, NameOfTheTypeAloneDecides) {
    // The class is the library's, and is found in whatever known module the file says.
    EXPECT_TRUE(Objects("84 87 8F 'ZvInt32' 8B 'App' A0 02 A0 01 A0 07", 1)[0]);
}

TEST(ZvBinaryCoder, TypeOfAVersionThatIsRefusedIsNullByItself) {
    const ZvObject$ type = Objects("87 8F 'GStrict' 8B 'App' A0 01 A0 03", 1)[0];
    EXPECT_TRUE(!type);
}

TEST(ZvBinaryCoder, DamagedObjectsRaiseByTheirPlace) {
    const struct {
        const char* what;
        const char* bytes;
        int good;                    // so many objects come first
        int cause;
        const char* function;
    } rows[] = {
        {"module neither known nor loadable", "84 87 8F 'ZvInt32' 90 'nomodule' A0 02", 0, 6, InDecodeType},
        {"module that is a path", "84 87 8F 'ZvInt32' 8D './App' A0 02", 0, 6, InDecodeType},
        {"type that is not registered", "84 87 8E 'NoType' 8B 'App' A0 01", 0, 6, InDecodeType},
        {"type reference that is not known", "84 A8 05", 0, 5, InDecodeType},
        {"type reference 0", "84 A8 00", 0, 5, InDecodeType},
        {"null for a type", "84 80", 0, 8, InDecodeType},
        {"object for a type", "84 84", 0, 8, InDecodeType},
        {"object reference for a type", "84 AC 01", 0, 8, InDecodeType},
        {"type of a refused version", "84 87 8F 'GStrict' 8B 'App' A0 01 A0 01", 0, 6, InDecodeObject},
        {"type reference to what is no type", "84 87 8E 'GEmpty' 8B 'App' A0 01 A0 00 84 A8 02", 1, 6, InDecodeObject},
        {"bag that is none", "84 87 8C 'GBag' 8B 'App' A0 01 80", 0, 6, InDecodeObject},
        {"bag that nothing takes", "84 87 93 'Unbuildable' 8B 'App' A0 01 84 87 98 13 'ZvSerializationInfo' 8B 'ZVC' A0 01 A3 01 00 00 80 A0 00",
         0, 6, InDecodeObject},
        {"object reference that is not known", "AC 07", 0, 5, InDecodeObject},
        {"object reference 0", "AC 00", 0, 5, InDecodeObject},
        {"name of a field that is no string", "84 87 8A 'Pt' 8B 'App' A0 01 A0 01 80", 0, 6, InDecodeObject},
        {"type name that is no string", "84 87 A0 01", 0, 8, "ZvBinaryCoder::DecodeString"},
        {"class spec that is no number", "84 87 8A 'Pt' 8B 'App' 80", 0, 8, "ZvBinaryCoder::Read"},
        {"nothing", "", 0, 8, InDecodeObject},
    };
    for (const auto& row : rows) {
        Memory in(FromHex(Hex(row.bytes)));
        ZvBinaryCoder$ coder = Coder(1);
        std::vector<ZvObject$> kept(static_cast<size_t>(row.good));
        for (ZvObject$& o : kept) coder->Read(in.stream, o);
        ZvObject$ object;
        ExpectRaise(row.cause, row.function, [&] { coder->Read(in.stream, object); }, row.what);
    }
}

TEST(ZvBinaryCoder, OtherTagsAreNoObject) {
    for (int tag = 0; tag < 256; ++tag) {
        const bool isObject = tag == 0x80 || tag == 0x83 || tag == 0x84 || tag == 0x86 || tag == 0x87 || (tag >= 0xA8 && tag <= 0xAF);
        if (isObject) continue;
        Memory in(std::string(1, static_cast<char>(tag)) + std::string(8, '\0'));
        ExpectRaise(8, InDecodeObject, [&] { ZvObject$ o = Coder(0)->DecodeObject(in.stream); }, std::to_string(tag));
    }
}

TEST(ZvBinaryCoder, StreamThatClosesInTheMiddleRaisesWhereItIsAsked) {
    auto* told = new Told;
    told->yes = 1;                               // EncodeObject has asked; the type is next
    ZvStream$ stream = told;
    ExpectRaise(2, "ZvBinaryCoder::EncodeType", [&] { Coder(0)->Write(stream, ZvObject$(new GEmpty)); }, "writing");
    EXPECT_EQ(ToHex(told->written), "84");
    told = new Told;
    told->yes = 1;
    told->given = FromHex(Hex("84 87"));
    stream = told;
    ExpectRaise(4, InDecodeType, [&] { ZvObject$ o = Coder(0)->DecodeObject(stream); }, "reading");
    EXPECT_EQ(ToHex(told->given), "87");
}

TEST(ZvBinaryCoder, CopyGoesOnWithTheSameConversation) {
    const std::string first = "84 87 8A 'Pt' 8B 'App' A0 01 A0 00";
    const std::string later = "84 87 8D 'GBase' 8B 'App' A0 01 A0 00";
    Memory in(FromHex(Hex(first + later + "84 A8 01 84 A8 02")));
    ZvBinaryCoder$ coder = Coder(0);
    ZvObject$ o;
    coder->Read(in.stream, o);
    ZvBinaryCoder$ copy = new ZvBinaryCoder(*coder);
    coder->Read(in.stream, o);                   // the copy learns of it as well: the layouts are shared
    copy->Read(in.stream, o);
    EXPECT_TRUE(Pt$(o));
    copy->Read(in.stream, o);
    EXPECT_TRUE(GBase$(o));
    ZvBinaryCoder$ assigned = Coder(0);
    *assigned = *copy;
    Memory again(FromHex(Hex("84 A8 02")));
    assigned->Read(again.stream, o);
    EXPECT_TRUE(GBase$(o));
}

TEST(ZvBinaryCoder, LevelsAndTabsLeaveNothingInTheStream) {
    Memory out;
    ZvBinaryCoder$ coder = Coder(0);
    coder->PushLevel();
    coder->WriteTab();
    coder->Write(out.stream, 5);
    coder->PopLevel();
    EXPECT_EQ(ToHex(out.Taken()), "a005");
}
