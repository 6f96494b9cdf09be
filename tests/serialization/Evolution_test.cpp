// Old and new files read by the classes of today. The files under tests/data/evolution were made by hand; what each byte is
// stands here, beside the test that reads the file. A text in quotes stands for its string form: the tag, which holds the
// length, and the bytes.

#include "support/Graph.h"

#include <cstdio>

using namespace cases;

// ---- the classes as they are today ----------------------------------------------------------------------------------------

// What each field starts with is what the factory gives it: a member that the stream does not set keeps that.
CASE_FIELD_CLASS(OldShape, int width = 1; ZvObject$ name; double scale = 2.5; int depth = 7;);
CASE_FIELD_CLASS(OldWide, long long size = -4; int narrow = -5;);
CASE_FIELD_CLASS(OldHolder, ZvObject$ shape; int count = 3;);
CASE_FIELD_CLASS(OldArray, int values[3]{}; int tail = -4;);
CASE_FIELD_CLASS(OldRow, int x = -1; ZvObject$ last;);
CASE_FIELD_CLASS(OldBase, int moved = -1; int both = -2;);

class OldChild : public OldBase {
    ZV_DECLARE_CLASS(OldChild)
    ZV_DECLARE_CREATE(OldChild)
    ZV_DECLARE_TABLES()
public:
    int own = -3;
    int both = -4;
};
ZV_DECLARE_HANDLE(OldChild, OldBase$);

#define OLD_DEFINE(Name, Base)                                             \
    ZV_DEFINE_CLASS(Name, (Base), .create = &Create, ZV_TABLES)            \
    ZV_METHODS(Name)                                                       \
    ZV_CONSTRUCTORS(Name, ZV_CONSTRUCTOR())
OLD_DEFINE(OldShape, ZvObject)
ZV_FIELDS(OldShape, ZV_FIELD(width), ZV_FIELD(name), ZV_FIELD(scale), ZV_FIELD(depth))
OLD_DEFINE(OldWide, ZvObject)
ZV_FIELDS(OldWide, ZV_FIELD(size), ZV_FIELD(narrow))
OLD_DEFINE(OldHolder, ZvObject)
ZV_FIELDS(OldHolder, ZV_FIELD(shape), ZV_FIELD(count))
OLD_DEFINE(OldArray, ZvObject)
ZV_FIELDS(OldArray, ZV_FIELD_ARRAY(values), ZV_FIELD(tail))
OLD_DEFINE(OldRow, ZvObject)
ZV_FIELDS(OldRow, ZV_FIELD(x), ZV_FIELD(last))
OLD_DEFINE(OldBase, ZvObject)
ZV_FIELDS(OldBase, ZV_FIELD(moved), ZV_FIELD(both))
OLD_DEFINE(OldChild, OldBase)
ZV_FIELDS(OldChild, ZV_FIELD(own), ZV_FIELD(both))

/// A class with a codec that asks for the version of another type, too.
class OldAsker : public ZvObject {
    ZV_DECLARE_CLASS(OldAsker)
    ZV_DECLARE_CREATE(OldAsker)
public:
    void Encode(ZvStream$& stream, ZvCoder* coder) const override { coder->Write(stream, 0); }
    void Decode(ZvStream$& stream, ZvCoder* coder) override {
        int dummy = 0;
        coder->Read(stream, dummy);
        mine = FindFileVersion(coder, GetType());
        date = FindFileVersion(coder, &ZvDateTime::s_type);
        shape = FindFileVersion(coder, &OldShape::s_type);
        box = FindFileVersion(coder, &ZvPrimitive<int>::s_type);
    }
    unsigned int mine = 0, date = 0, shape = 0, box = 0;
};
ZV_DECLARE_HANDLE(OldAsker, ZvObject$);
ZV_DEFINE_CLASS(OldAsker, (ZvObject), .schema = 0x80000005, .codec = true, .create = &Create)

// The classes of the computed cases.
CASE_FIELD_CLASS(EvA, float y = 0; int x = 0;);
CASE_FIELD_CLASS(EvF, int x = -3;);
CASE_FIELD_CLASS(EvK, int x = 0;);
CASE_FIELD_CLASS(EvM, CG::vec3<float> x{}; int y = 0;);
OLD_DEFINE(EvA, ZvObject)
ZV_FIELDS(EvA, ZV_FIELD(y), ZV_FIELD(x))
OLD_DEFINE(EvF, ZvObject)
ZV_FIELDS(EvF, ZV_FIELD(x))
OLD_DEFINE(EvK, ZvObject)
ZV_FIELDS(EvK, ZV_FIELD(x))
OLD_DEFINE(EvM, ZvObject)
ZV_FIELDS(EvM, ZV_FIELD(x), ZV_FIELD(y))

namespace {

/// Bytes from pairs of hexadecimal digits and quoted texts.
std::string Bytes(const std::string& notation) {
    std::string bytes;
    for (size_t i = 0; i < notation.size();) {
        if (notation[i] == ' ') {
            ++i;
        } else if (notation[i] == '\'') {
            const size_t end = notation.find('\'', i + 1);
            const std::string text = notation.substr(i + 1, end - i - 1);
            if (text.size() < 16)
                bytes += static_cast<char>(0x88 + text.size());
            else
                bytes += std::string("\x98", 1) + static_cast<char>(text.size());
            bytes += text;
            i = end + 1;
        } else {
            bytes += static_cast<char>(std::stoi(notation.substr(i, 2), nullptr, 16));
            i += 2;
        }
    }
    return bytes;
}

std::string PathOf(const std::string& name) { return std::string(ZVC_TEST_DATA) + "/evolution/" + name + ".zvc"; }

/// An old file, which holds just the bytes that the test tells.
ZvStream$ OldFile(const std::string& name, const std::string& notation) {
    std::ifstream in(PathOf(name), std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(ToHex(content), ToHex(Bytes(notation))) << name;
    return new ZvFileStream(PathOf(name).c_str(), ZvFile::Read, ZvFile::Open);
}

struct Reader {
    explicit Reader(ZvStream$ from, int state = 0) : stream(std::move(from)), coder(Coder(state)) {}
    explicit Reader(const std::string& notation, int state = 0) : memory(Bytes(notation)), stream(memory.stream), coder(Coder(state)) {}
    ZvObject$ Next() {
        ZvObject$ o;
        coder->Read(stream, o);
        return o;
    }
    /// The next object is a ZvInt32: what stands before it was read to its end.
    void ExpectInt(int value) {
        const ZvObject$ o = Next();
        ASSERT_TRUE(o && o->GetType() == &ZvPrimitive<int>::s_type);
        EXPECT_EQ(static_cast<ZvPrimitive<int>*>(o.Get())->value, value);
    }
    void ExpectRaise(ZvCoderException::Causes cause, const std::string& function) {
        try {
            Next();
            ADD_FAILURE() << "nothing raised";
        } catch (const ZvCoderException& e) {
            EXPECT_EQ(e.cause, cause);
            EXPECT_EQ(e.function, function);
        }
    }
    Memory memory{std::string()};
    ZvStream$ stream;
    ZvBinaryCoder$ coder;
};

using Cause = ZvCoderException::Causes;
const char InDecodeType[] = "ZvBinaryCoder::DecodeType";
const char InDecodeObject[] = "ZvBinaryCoder::DecodeObject";

// Type definitions that many files hold: tag, name, module, class spec, schema.
const std::string String = "87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80 ";
const std::string Int32 = "87 'ZvInt32' 'ZVC' A0 02 A0 01 ";
const std::string Int64 = "87 'ZvInt64' 'ZVC' A0 02 A0 01 ";
const std::string Float = "87 'ZvFloat' 'ZVC' A0 02 A0 01 ";
const std::string Double = "87 'ZvDouble' 'ZVC' A0 02 A0 01 ";
const std::string ObjectRef = "87 'ZvObjectRef' 'ZVC' A0 02 A0 01 ";

/// The start of an object of a class in module "App" with that many fields, none of which is told yet.
std::string NewObject(const std::string& cls, int fields) {
    return "84 87 '" + cls + "' 'App' A0 01 A0 0" + std::to_string(fields) + " ";
}

}

// ---- fields ---------------------------------------------------------------------------------------------------------------

TEST(Evolution, FieldsOfAnOlderClassLandByNameAndNewOnesKeepTheirCreationValue) {
    Reader reader(OldFile("shape_v1",
        "84 87 'OldShape' 'App' A0 01"                   // new object; the class has id 1
        "A0 03"                                          // three fields
        "84 87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80"    // first name: a string, whose type has id 2
        "'height'"
        "87 'ZvFloat' 'ZVC' A0 02 A0 01"                 // of type id 3
        "84 A8 02 'name'"                                // second name
        "87 'ZvObjectRef' 'ZVC' A0 02 A0 01"             // of type id 4
        "84 A8 02 'width'"                               // third name
        "87 'ZvInt32' 'ZVC' A0 02 A0 01"                 // of type id 5
        "00 00 C0 3F"                                    // height 1.5, which the class has no more
        "84 A8 02 'box'"                                 // name
        "A0 05"                                          // width 5
        "84 A8 05 A1 E8 03"));                           // behind it: a ZvInt32 of 1000
    const OldShape$ shape = reader.Next();
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->width, 5);
    EXPECT_EQ(*ZvString$(shape->name), "box");
    EXPECT_EQ(shape->scale, 2.5);
    EXPECT_EQ(shape->depth, 7);
    reader.ExpectInt(1000);
}

TEST(Evolution, FieldsOfANewerClassAreReadAndDropped) {
    Reader reader(OldFile("shape_v9",
        "84 87 'OldShape' 'App' A0 41"                   // a class spec of tomorrow: nothing depends on it
        "A0 05"                                          // five fields
        "84 87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80"
        "'depth'"
        "87 'ZvInt32' 'ZVC' A0 02 A0 01"                 // id 3
        "84 A8 02 'pivot'"
        "87 'ZvVec3f' 'ZVC' A0 02 A0 01"                 // id 4
        "84 A8 02 'visible'"
        "87 'ZvBoolean' 'ZVC' A0 02 A0 01"               // id 5
        "84 A8 02 'scale'"
        "87 'ZvDouble' 'ZVC' A0 02 A0 01"                // id 6
        "84 A8 02 'owner'"
        "87 'ZvObjectRef' 'ZVC' A0 02 A0 01"             // id 7
        "A0 09"                                          // depth 9
        "00 00 80 3F 00 00 00 40 00 00 40 40"            // pivot 1, 2, 3: dropped
        "82"                                             // visible: dropped
        "00 00 00 00 00 00 E0 3F"                        // scale 0.5
        "84 A8 01"                                       // owner: another of the class, dropped with all its fields
        "A0 01 00 00 00 00 00 00 00 00 00 00 00 00 81 00 00 00 00 00 00 F0 3F 80"
        "84 A8 03 A0 2A"));                              // a ZvInt32 of 42
    const OldShape$ shape = reader.Next();
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->depth, 9);
    EXPECT_EQ(shape->scale, 0.5);
    EXPECT_EQ(shape->width, 1);
    EXPECT_TRUE(!shape->name);
    reader.ExpectInt(42);
}

TEST(Evolution, FieldOfAnotherTypeIsDroppedWithoutConversionEvenFromInt32ToInt64) {
    Reader reader(OldFile("wide_retyped",
        "84 87 'OldWide' 'App' A0 01 A0 02"              // two fields
        "84 87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80"
        "'size'"
        "87 'ZvInt32' 'ZVC' A0 02 A0 01"                 // it was 32 bits wide, and has 64 today
        "84 A8 02 'narrow'"
        "87 'ZvInt64' 'ZVC' A0 02 A0 01"                 // it was 64 bits wide, and has 32 today
        "A0 11"                                          // size 17
        "A0 12"                                          // narrow 18
        "84 A8 03 A0 13"));                              // a ZvInt32 of 19
    const OldWide$ wide = reader.Next();
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->size, -4);
    EXPECT_EQ(wide->narrow, -5);
    reader.ExpectInt(19);
}

TEST(Evolution, FieldsInAnotherOrderLandInTheRightMembers) {
    Reader reader(OldFile("shape_reordered",
        "84 87 'OldShape' 'App' A0 01 A0 04"
        "84 87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80"
        "'depth'"
        "87 'ZvInt32' 'ZVC' A0 02 A0 01"                 // id 3
        "84 A8 02 'scale'"
        "87 'ZvDouble' 'ZVC' A0 02 A0 01"                // id 4
        "84 A8 02 'name'"
        "87 'ZvObjectRef' 'ZVC' A0 02 A0 01"             // id 5
        "84 A8 02 'width'"
        "A8 03"
        "A0 01"                                          // depth 1
        "00 00 00 00 00 00 00 40"                        // scale 2
        "84 A8 02 'three'"                               // name
        "A0 04"                                          // width 4
        "84 A8 01"                                       // a second one, by its type's id
        "A0 05 00 00 00 00 00 00 18 40 80 A0 07"));      // 5, 6, null, 7
    const OldShape$ first = reader.Next();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->depth, 1);
    EXPECT_EQ(first->scale, 2.0);
    EXPECT_EQ(*ZvString$(first->name), "three");
    EXPECT_EQ(first->width, 4);
    const OldShape$ second = reader.Next();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->depth, 5);
    EXPECT_EQ(second->scale, 6.0);
    EXPECT_TRUE(!second->name);
    EXPECT_EQ(second->width, 7);
}

TEST(Evolution, ClassWithoutStoredFieldsKeepsAllCreationValues) {
    Reader reader(NewObject("OldWide", 0) + "84 " + Int32 + "A0 05");
    const OldWide$ wide = reader.Next();
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->size, -4);
    EXPECT_EQ(wide->narrow, -5);
    reader.ExpectInt(5);
}

TEST(Evolution, DroppedFieldOfEachKindIsConsumedWhole) {
    const struct {
        const char* type;
        const char* content;
    } kinds[] = {
        {"ZvBoolean", "82"}, {"ZvSByte", "A0 80"}, {"ZvByte", "A0 FF"}, {"ZvInt16", "A1 FE FF"}, {"ZvUInt16", "A0 01"},
        {"ZvInt32", "A3 FF FF FF FF"}, {"ZvUInt32", "A2 01 02 03"}, {"ZvInt64", "A7 FE FF FF FF FF FF FF FF"},
        {"ZvUInt64", "A4 01 02 03 04 05"}, {"ZvFloat", "84 84 84 84"}, {"ZvDouble", "84 84 84 84 84 84 84 84"},
        {"ZvVec2i", "A0 01 A1 00 01"}, {"ZvVec3i", "A0 01 A0 02 A0 03"}, {"ZvVec4i", "A0 01 A0 02 A0 03 A0 04"},
        {"ZvVec2f", "00 00 80 3F 00 00 80 3F"}, {"ZvVec3f", "00 00 80 3F 00 00 80 3F 00 00 80 3F"},
        {"ZvVec4f", "00 00 80 3F 00 00 80 3F 00 00 80 3F 00 00 80 3F"}, {"ZvVec2d", "01 02 03 04 05 06 07 08 01 02 03 04 05 06 07 08"},
        {"ZvObjectRef", "80"}, {"ZvObjectRef", "84 A8 02 'text'"}, {"ZvObjectPtr", "80"}, {"ZvInterfaceRef", "80"},
        {"ZvInterfacePtr", "80"}, {"ZvString", "'plain'"},
    };
    for (const auto& kind : kinds) {
        Reader reader(NewObject("OldRow", 2) + "84 " + String + "'gone' 87 '" + kind.type +
                      (std::string(kind.type) == "ZvString" ? "' 'ZVC' A0 02 A3 01 00 00 80 " : "' 'ZVC' A0 02 A0 01 ") +
                      "84 A8 02 'x' " + Int32 + kind.content + " A0 05 84 " + Int32 + "A0 06");
        const OldRow$ row = reader.Next();
        ASSERT_TRUE(row) << kind.type;
        EXPECT_EQ(row->x, 5) << kind.type;
        reader.ExpectInt(6);
    }
    const struct {
        const char* type;
        size_t bytes;
    } raw[] = {{"ZvVec3d", 24}, {"ZvVec4d", 32}, {"ZvMat3f", 36}, {"ZvMat3d", 72}, {"ZvMat4f", 64}, {"ZvMat4d", 128},
               {"ZvRotf", 16}, {"ZvRotd", 32}, {"ZvColor", 12}};
    for (const auto& kind : raw) {
        std::string content;
        for (size_t i = 0; i < kind.bytes; ++i) content += "3F ";
        Reader reader(NewObject("OldRow", 2) + "84 " + String + "'gone' 87 '" + kind.type + "' 'ZVC' A0 02 A0 01 84 A8 02 'x' " +
                      Int32 + content + "A0 05 84 " + Int32 + "A0 06");
        const OldRow$ row = reader.Next();
        ASSERT_TRUE(row) << kind.type;
        EXPECT_EQ(row->x, 5) << kind.type;
        reader.ExpectInt(6);
    }
}

TEST(Evolution, DroppedObjectKeepsItsIdInATrackedStream) {
    Reader reader(OldFile("row_tracked",
        "84 87 'OldRow' 'App' A0 01 A0 02"               // the class has id 1
        "84 87 'ZvString' 'ZVC' A0 02 A3 01 00 00 80"    // ZvString has id 2
        "'gone'"                                         // the name is an object as well: id 3
        "87 'ZvObjectRef' 'ZVC' A0 02 A0 01"             // id 4
        "84 A8 02 'last'"                                // the second name: id 5
        "A8 04"
                                                         // here the row gets id 6
        "84 A8 02 'kept'"                                // gone: a string with id 7, which the class drops
        "AC 07"),                                        // last: the same string
        ZvStreamingContext::TrackObjects);
    const OldRow$ row = reader.Next();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->x, -1);
    ASSERT_TRUE(row->last);
    EXPECT_EQ(*ZvString$(row->last), "kept");
}

TEST(Evolution, StoredTypeWithoutAFactoryConsumesNothing) {
    // No class could have a field of such a type: the layout is made by hand.
    Reader reader(NewObject("OldRow", 2) + "84 " + String + "'gone' 87 'ZvStream' 'ZVC' A0 01 A0 00 84 A8 02 'x' " + Int32 +
                  "A0 05 84 " + Int32 + "A0 06");
    const OldRow$ row = reader.Next();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->x, 5);
    reader.ExpectInt(6);
}

TEST(Evolution, FixedArrayOfTheSameNameAndTypeIsReadWithoutACount) {
    Reader reader(NewObject("OldArray", 2) + "84 " + String + "'values' 87 'ZvInt32Array' 'ZVC' A0 06 A0 01 84 A8 02 'tail' " + Int32 +
                  "A0 01 A0 02 A0 03 A0 04 84 " + Int32 + "A0 06");
    const OldArray$ array = reader.Next();
    ASSERT_TRUE(array);
    EXPECT_EQ(array->values[0], 1);
    EXPECT_EQ(array->values[2], 3);
    EXPECT_EQ(array->tail, 4);
    reader.ExpectInt(6);
}

TEST(Evolution, DroppedFixedArrayMisalignsTheStreamUntilATagRaises) {
    // Three elements without a count, taken for an array with one: 2 is the count, 3 and the tail are the elements.
    Reader reader(NewObject("OldRow", 2) + "84 " + String + "'gone' 87 'ZvInt32Array' 'ZVC' A0 06 A0 01 84 A8 02 'x' " + Int32 +
                  "A0 02 A0 03 A0 04 A0 05 84 " + Int32 + "A0 06");
    const OldRow$ row = reader.Next();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->x, 5);                                // by accident the element behind
    // Four elements that claim to be five: the last comes out of what follows.
    Reader longer(NewObject("OldRow", 2) + "84 " + String + "'gone' 87 'ZvInt32Array' 'ZVC' A0 06 A0 01 84 A8 02 'x' " + Int32 +
                  "A0 05 A0 03 A0 04 A0 05 84 " + Int32 + "A0 06");
    longer.ExpectRaise(Cause::BadTag, "ZvBinaryCoder::Read");
}

TEST(Evolution, FieldWhoseOwnClassChangedItsLayoutStillPairs) {
    Reader reader(NewObject("OldHolder", 2) + "84 " + String + "'shape' " + ObjectRef + "84 A8 02 'count' " + Int32 +
                  // shape: its class has a definition of its own, with the fields of another day
                  NewObject("OldShape", 2) + "84 A8 02 'height' " + Float + "84 A8 02 'depth' A8 04 " +
                  "00 00 C0 3F A0 08 "
                  "A0 09");                              // count
    const OldHolder$ holder = reader.Next();
    ASSERT_TRUE(holder);
    const OldShape$ shape = holder->shape;
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->depth, 8);
    EXPECT_EQ(shape->width, 1);
    EXPECT_EQ(holder->count, 9);
}

TEST(Evolution, FieldThatMovedToTheBaseLandsThereAndOfTwoEqualNamesTheBasesField) {
    Reader reader(NewObject("OldChild", 3) + "84 " + String + "'moved' " + Int32 + "84 A8 02 'both' A8 03 84 A8 02 'own' A8 03 " +
                  "A0 01 A0 02 A0 03");
    const OldChild$ child = reader.Next();
    ASSERT_TRUE(child);
    EXPECT_EQ(child->moved, 1);
    EXPECT_EQ(static_cast<OldBase*>(child.Get())->both, 2);
    EXPECT_EQ(child->both, -4);
    EXPECT_EQ(child->own, 3);
}

TEST(Evolution, OfTwoDefinitionsOfALayoutTheFirstWins) {
    Reader reader(NewObject("OldWide", 1) + "84 " + String + "'narrow' " + Int32 + "A0 11 " +
                  NewObject("OldWide", 1) + "84 A8 02 'size' " + Int64 + "A0 12 84 A8 03 A0 13");
    const OldWide$ first = reader.Next();
    EXPECT_EQ(first->narrow, 17);
    const OldWide$ second = reader.Next();
    EXPECT_EQ(second->narrow, 18);                       // read by the first layout
    EXPECT_EQ(second->size, -4);
    reader.ExpectInt(19);
}

TEST(Evolution, DroppedFieldOfATypeThatIsNotRegisteredRaises) {
    Reader reader(NewObject("OldRow", 1) + "84 " + String + "'gone' 87 'NeverDeclared' 'App' A0 01 A0 01");
    reader.ExpectRaise(Cause::TypeUnavailable, InDecodeType);
}

TEST(Evolution, DroppedFieldOfAModuleThatCannotBeLoadedRaises) {
    Reader reader(NewObject("OldRow", 1) + "84 " + String + "'gone' 87 'ZvInt32' 'NoSuchModule' A0 01 A0 01");
    reader.ExpectRaise(Cause::TypeUnavailable, InDecodeType);
}

TEST(Evolution, StoredNameThatIsNoStringFailsTheObject) {
    for (const char* name : {"80", "84 87 'ZvInt32' 'ZVC' A0 02 A0 01 A0 05"}) {
        Reader reader(NewObject("OldRow", 1) + name);
        reader.ExpectRaise(Cause::TypeUnavailable, InDecodeObject);
    }
    // As an object of its own such a definition is null, and nothing raises.
    Reader bare("87 'OldRow' 'App' A0 01 A0 01 80");
    EXPECT_TRUE(!bare.Next());
}

TEST(Evolution, CoderThatWroteTheDefinitionAndNeverReadItRaisesStreamFailed) {
    ZvBinaryCoder$ coder = Coder(0);
    Memory out;
    coder->Write(out.stream, ZvObject$(new OldWide));
    Reader reader("84 A8 01 A0 01 A0 02");               // an object of the type that only the writer knows
    reader.coder = coder;
    reader.ExpectRaise(Cause::StreamFailed, InDecodeObject);
}

TEST(Evolution, BothDirectionsOfOneCoderWorkOnceTheDefinitionWasRead) {
    Reader reader(NewObject("OldWide", 1) + "84 " + String + "'narrow' " + Int32 + "A0 11 84 A8 01 A0 12");
    EXPECT_EQ(OldWide$(reader.Next())->narrow, 17);
    Memory out;
    OldWide$ wide = new OldWide;
    wide->size = 1;
    wide->narrow = 2;
    reader.coder->Write(out.stream, wide);               // by the layout of today, for the type's id is known
    EXPECT_EQ(ToHex(out.Taken()), "84a801a001a002");
    EXPECT_EQ(OldWide$(reader.Next())->narrow, 18);      // and still by the stream's
}

// ---- bags -----------------------------------------------------------------------------------------------------------------

TEST(Evolution, BagOfAnotherDayGivesWhatTheConstructorKnows) {
    Reader reader("84 87 'GBag' 'App' A0 01 "
                  "84 87 'ZvSerializationInfo' 'ZVC' A0 01 A3 01 00 00 80 A0 02 "
                  "84 " + String + "'delta' 84 " + Int32 + "A0 01 "        // it knows no delta
                  "84 A8 03 'alpha' 84 A8 04 A0 02");                      // and misses beta and gamma
    const GBag$ bag = reader.Next();
    ASSERT_TRUE(bag);
    ASSERT_TRUE(bag->alpha);
    EXPECT_EQ(*bag->alpha->ToString(), "2");
    EXPECT_TRUE(!bag->beta);
    EXPECT_TRUE(!bag->gamma);
}

// ---- versions -------------------------------------------------------------------------------------------------------------

TEST(Evolution, StrictClassAtVersionTwoRefusesEachOtherVersion) {
    for (const char* word : {"A0 01", "A3 01 00 00 80", "A0 03", "A3 03 00 00 80", "A0 00"}) {
        Reader reader(std::string("84 87 'GStrict' 'App' A0 01 ") + word + " A0 05");
        reader.ExpectRaise(Cause::TypeUnavailable, InDecodeObject);
    }
    Reader older("84 83 'GStrict' 'App' A0 01 A0 05");   // the older form counts as version 1
    older.ExpectRaise(Cause::TypeUnavailable, InDecodeObject);
    Reader bare("87 'GStrict' 'App' A0 01 A0 01");       // the type itself as an object: null, and nothing raises
    EXPECT_TRUE(!bare.Next());
}

TEST(Evolution, TheWritersHighBitIsNotLookedAt) {
    for (const char* word : {"A0 02", "A3 02 00 00 80"}) {
        Reader reader(std::string("84 87 'GStrict' 'App' A0 01 ") + word + " A0 05");
        const GStrict$ strict = reader.Next();
        ASSERT_TRUE(strict) << word;
        EXPECT_EQ(strict->v, 5);
        EXPECT_EQ(strict->version, 2u);
    }
}

TEST(Evolution, OpenClassReadsOlderAndNewerVersionsAndFindsWhich) {
    Reader older(OldFile("open_v1",
        "84 87 'GOpen' 'App' A0 01"                      // new object of a class with a codec
        "A3 01 00 00 80"                                 // stored at version 1, and tolerant
        "A0 05"));                                       // its content
    GOpen$ open = older.Next();
    ASSERT_TRUE(open);
    EXPECT_EQ(open->v, 5);
    EXPECT_EQ(open->version, 1u);
    Reader newer(OldFile("open_v3",
        "84 87 'GOpen' 'App' A0 01"
        "A0 03"                                          // stored at version 3, by a class that tolerates nothing
        "A0 06"));
    open = newer.Next();
    ASSERT_TRUE(open);
    EXPECT_EQ(open->v, 6);
    EXPECT_EQ(open->version, 3u);
    Reader same("84 87 'GOpen' 'App' A0 01 A3 02 00 00 80 A0 07");
    EXPECT_EQ(GOpen$(same.Next())->version, 2u);
    Reader form("84 83 'GOpen' 'App' A0 01 A0 08");      // the older form of a definition, without a version: 1
    open = form.Next();
    EXPECT_EQ(open->v, 8);
    EXPECT_EQ(open->version, 1u);
}

TEST(Evolution, OfTwoVersionsOfATypeTheFirstThatDiffersWins) {
    const std::string head = "84 87 'GOpen' 'App' A0 01 ";
    Reader reader(head + "A0 01 A0 05 " + head + "A0 03 A0 06 " + head + "A0 02 A0 07");
    EXPECT_EQ(GOpen$(reader.Next())->version, 1u);
    EXPECT_EQ(GOpen$(reader.Next())->version, 1u);
    EXPECT_EQ(GOpen$(reader.Next())->version, 1u);
    Reader later(head + "A0 02 A0 05 " + head + "A0 03 A0 06");      // a version that is the class's own is not recorded
    EXPECT_EQ(GOpen$(later.Next())->version, 2u);
    EXPECT_EQ(GOpen$(later.Next())->version, 3u);
}

TEST(Evolution, FindFileVersionOfATypeThatDidNotOccurIsItsOwn) {
    Reader reader("84 87 'OldAsker' 'App' A0 01 A3 05 00 00 80 A0 00");
    OldAsker$ asker = reader.Next();
    ASSERT_TRUE(asker);
    EXPECT_EQ(asker->mine, 5u);
    EXPECT_EQ(asker->date, 2u);
    EXPECT_EQ(asker->shape, 1u);
    EXPECT_EQ(asker->box, 1u);
    // The versions are the coder's, and stay with it from stream to stream.
    Reader first("84 87 'ZvDateTime' 'ZVC' A0 02 A0 01 A1 D5 07 A0 04 A0 03 A0 06 A0 07 A0 09 00 00 00 00 00 00 21 40");
    first.Next();
    Reader second("84 87 'OldAsker' 'App' A0 01 A0 04 A0 00");
    second.coder = first.coder;
    asker = second.Next();
    EXPECT_EQ(asker->mine, 4u);
    EXPECT_EQ(asker->date, 1u);
}

TEST(Evolution, DateOfVersionOneHasNoFlagAndKeepsTheCreationValue) {
    Reader reader(OldFile("datetime_v1",
        "84 87 'ZvDateTime' 'ZVC' A0 02"
        "A3 01 00 00 80"                                 // version 1
        "A1 D5 07"                                       // 2005
        "A0 04 A0 03 A0 06 A0 07 A0 09"                  // month 4, day 3, 6 hours, 7 minutes, zone 9
        "00 00 00 00 00 00 21 40"                        // 8.5 seconds; no flag follows
        "84 87 'ZvInt32' 'ZVC' A0 02 A0 01 A0 05"));     // a ZvInt32 of 5
    const ZvDateTime$ date = reader.Next();
    ASSERT_TRUE(date);
    EXPECT_EQ(date->Year(), 2005);
    EXPECT_EQ(date->Month(), 4);
    EXPECT_EQ(date->Second(), 8.5);
    EXPECT_FALSE(date->ObservingDST());
    reader.ExpectInt(5);
}

TEST(Evolution, DateOfALaterVersionIsReadAsTheOneOfToday) {
    Reader reader("84 87 'ZvDateTime' 'ZVC' A0 02 A3 07 00 00 80 A1 D5 07 A0 04 A0 03 A0 06 A0 07 A0 09 00 00 00 00 00 00 21 40 82 "
                  "84 " + Int32 + "A0 05");
    const ZvDateTime$ date = reader.Next();
    ASSERT_TRUE(date);
    EXPECT_TRUE(date->ObservingDST());
    reader.ExpectInt(5);
}

TEST(Evolution, EachFamilyStatesItsSchema) {
    const struct {
        unsigned int schema;
        std::vector<const char*> names;
    } families[] = {
        {1, {"ZvInt32", "ZvObjectRef", "ZvFloatArray", "ZvObjectArray", "ZvByteVector", "ZvVec4dVector"}},
        {0x80000001, {"ZvArrayList", "ZvDictionary", "ZvHashSet", "ZvQueue", "ZvStack", "ZvData", "ZvEnum", "ZvString", "ZvSerializationInfo"}},
        {0x80000002, {"ZvDateTime"}},
        {0, {"ZvIList", "ZvISerializable", "ZvIEnumeratable"}},
    };
    for (const auto& family : families)
        for (const char* name : family.names) EXPECT_EQ(ZvSystem::FindType(name)->GetSchema(), family.schema) << name;
}

// ---- computed cases -------------------------------------------------------------------------------------------------------

TEST(Evolution, ComputedCasesOfStoredFields) {
    for (const Json& c : Group("coder_evolution", "fields")) {
        Memory in(FromHex(c["bytes"]));
        ZvBinaryCoder$ coder = Coder(c["state"]);
        for (const Json& expected : c["out"]) {
            const ZvObject$ o = coder->DecodeObject(in.stream);
            ASSERT_TRUE(o) << c["name"];
            EXPECT_EQ(expected["t"], o->GetType()->GetName()->CStr());
            if (expected.contains("v")) {
                EXPECT_EQ(static_cast<ZvPrimitive<int>*>(o.Get())->value, expected["v"].get<int>()) << c["name"];
                continue;
            }
            const ZvDictionary$ values = o->GetFieldValues();
            EXPECT_EQ(values->Count(), expected["fields"].size()) << c["name"];
            for (const auto& [name, value] : expected["fields"].items()) {
                const ZvValue$ box = values->Find(new ZvString(name.c_str()));
                ASSERT_TRUE(box) << c["name"] << name;
                if (value.is_array()) {
                    CG::vec3<float> v{};
                    box->GetValue(&v, ZvVtVec3f, 0);
                    EXPECT_TRUE(Same(v, Value<CG::vec3<float>>(value))) << c["name"];
                } else if (value.is_string()) {
                    float v = 0;
                    box->GetValue(&v, ZvVtFloat, 0);
                    EXPECT_TRUE(Same(v, Value<float>(value))) << c["name"];
                } else {
                    EXPECT_EQ(static_cast<ZvPrimitive<int>*>(box.Get())->value, value.get<int>()) << c["name"];
                }
            }
        }
        EXPECT_EQ(in.Taken().size(), c["consumed"].get<size_t>()) << c["name"];
    }
}
