// What each operation of the binary coder raises on a stream that cannot be written or read.

#include "support/Cases.h"
#include "support/OtherStream.h"

#include <functional>

using namespace cases;

namespace {

/// A stream that answers as it is told, and counts what reaches it.
class Closed : public OtherStream {
public:
    long long Write(const void*, long long count) override {
        moved += count;
        return count;
    }
    long long moved = 0;
};

using Operation = std::function<void(ZvBinaryCoder$&, ZvStream$&)>;

template <class T>
Operation WriteOf(T value = T()) {
    return [value](ZvBinaryCoder$& coder, ZvStream$& stream) { coder->Write(stream, value); };
}

template <class T>
Operation ReadOf() {
    return [](ZvBinaryCoder$& coder, ZvStream$& stream) {
        T value{};
        coder->Read(stream, value);
    };
}

struct Row {
    const char* name;
    Operation operation;
    int cause;
    const char* function;
};

const char Write[] = "ZvBinaryCoder::Write";
const char Read[] = "ZvBinaryCoder::Read";

/// Causes 2 and 4 stand where they stand: programs tell the operations apart by them.
std::vector<Row> Rows() {
    const auto floats = [](ZvBinaryCoder$& coder, ZvStream$& stream) {
        const float values[2]{};
        coder->Write(stream, 2u, values);
    };
    const auto doubles = [](ZvBinaryCoder$& coder, ZvStream$& stream) {
        const double values[2]{};
        coder->Write(stream, 2u, values);
    };
    const auto readFloats = [](ZvBinaryCoder$& coder, ZvStream$& stream) {
        float values[2]{};
        coder->Read(stream, 2u, values);
    };
    const auto readDoubles = [](ZvBinaryCoder$& coder, ZvStream$& stream) {
        double values[2]{};
        coder->Read(stream, 2u, values);
    };
    return {
        {"Write(S, data, size)", [](ZvBinaryCoder$& c, ZvStream$& s) { c->Write(s, static_cast<const void*>("ab"), 2ull); }, 2, Write},
        {"Write(S, bool)", WriteOf<bool>(), 2, Write},
        {"Write(S, char)", WriteOf<char>(), 2, Write},
        {"Write(S, unsigned char)", WriteOf<unsigned char>(), 2, Write},
        {"Write(S, short)", WriteOf<short>(), 2, Write},
        {"Write(S, unsigned short)", WriteOf<unsigned short>(), 2, Write},
        {"Write(S, int)", WriteOf<int>(), 2, Write},
        {"Write(S, unsigned int)", WriteOf<unsigned int>(), 2, Write},
        {"Write(S, long long)", WriteOf<long long>(), 4, Write},
        {"Write(S, unsigned long long)", WriteOf<unsigned long long>(), 4, Write},
        {"Write(S, float)", WriteOf<float>(), 4, Write},
        {"Write(S, double)", WriteOf<double>(), 4, Write},
        {"Write(S, count, const float *)", floats, 4, Write},
        {"Write(S, count, const double *)", doubles, 4, Write},
        {"Write(S, const ZvString &)", [](ZvBinaryCoder$& c, ZvStream$& s) { c->Write(s, ZvString("text")); }, 2, Write},
        {"EncodeObject(S, object)", [](ZvBinaryCoder$& c, ZvStream$& s) { c->EncodeObject(s, ZvObject$(new ZvString).Get()); }, 2,
         "ZvBinaryCoder::EncodeObject"},
        {"EncodeObject(S, null)", [](ZvBinaryCoder$& c, ZvStream$& s) { c->EncodeObject(s, nullptr); }, 2, "ZvBinaryCoder::EncodeObject"},
        {"Write(S, const ZvObject$ &)", [](ZvBinaryCoder$& c, ZvStream$& s) { c->Write(s, ZvObject$()); }, 2, "ZvBinaryCoder::EncodeObject"},
        {"Read(S, data, size)", [](ZvBinaryCoder$& c, ZvStream$& s) { char to[2]; c->Read(s, static_cast<void*>(to), 2ull); }, 2, Read},
        {"Read(S, bool &)", ReadOf<bool>(), 4, Read},
        {"Read(S, char &)", ReadOf<char>(), 4, Read},
        {"Read(S, unsigned char &)", ReadOf<unsigned char>(), 4, Read},
        {"Read(S, short &)", ReadOf<short>(), 4, Read},
        {"Read(S, unsigned short &)", ReadOf<unsigned short>(), 4, Read},
        {"Read(S, int &)", ReadOf<int>(), 4, Read},
        {"Read(S, unsigned int &)", ReadOf<unsigned int>(), 4, Read},
        {"Read(S, long long &)", ReadOf<long long>(), 4, Read},
        {"Read(S, unsigned long long &)", ReadOf<unsigned long long>(), 4, Read},
        {"Read(S, float &)", ReadOf<float>(), 4, Read},
        {"Read(S, double &)", ReadOf<double>(), 4, Read},
        {"Read(S, count, float *)", readFloats, 4, Read},
        {"Read(S, count, double *)", readDoubles, 4, Read},
        {"Read(S, ZvString &)", [](ZvBinaryCoder$& c, ZvStream$& s) { ZvString text; c->Read(s, text); }, 4, Read},
        {"DecodeObject(S)", [](ZvBinaryCoder$& c, ZvStream$& s) { ZvObject$ o = c->DecodeObject(s); }, 4, "ZvBinaryCoder::DecodeObject"},
    };
}

void ExpectRaise(const Row& row, ZvBinaryCoder$ coder, ZvStream$ stream, int cause, const std::string& function) {
    try {
        row.operation(coder, stream);
        ADD_FAILURE() << "nothing raised: " << row.name;
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(static_cast<int>(e.cause), cause) << row.name;
        EXPECT_EQ(e.function, function) << row.name;
        EXPECT_STREQ(e.file, "ZvBinaryCoder") << row.name;
        EXPECT_GT(e.line, 0u) << row.name;
        EXPECT_EQ(*ZvCoderException(e).What(), "") << row.name;
    }
}

}

/// A field that does not say what its type is.
class NamelessKind : public ZvFieldPrimitive<int> {
public:
    NamelessKind(ZvType* owner, const char* name, int ZvObject::* member) : ZvFieldPrimitive(owner, name, member) {
        m_valueType = nullptr;
    }
    ZvObject* Clone() const override { return new NamelessKind(*this); }
};

class Untyped : public ZvObject {
    ZV_DECLARE_CLASS(Untyped)
    ZV_DECLARE_CREATE(Untyped)
    ZV_DECLARE_TABLES()
public:
    int value = 0;
};

ZV_DEFINE_CLASS(Untyped, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Untyped, new NamelessKind(&Untyped::s_type, "value", static_cast<int ZvObject::*>(&Untyped::value)))
ZV_METHODS(Untyped)
ZV_CONSTRUCTORS(Untyped)

TEST(CoderErrors, StreamThatCannotBeWrittenOrRead) {
    for (const Row& row : Rows()) {
        auto* closed = new Closed;
        ExpectRaise(row, Coder(0), closed, row.cause, row.function);
    }
}

TEST(CoderErrors, NothingIsWrittenBeforeTheStreamIsAsked) {
    for (const Row& row : Rows()) {
        auto* closed = new Closed;
        ZvStream$ stream = closed;
        ZvBinaryCoder$ coder = Coder(0);
        EXPECT_THROW(row.operation(coder, stream), ZvCoderException) << row.name;
        EXPECT_EQ(closed->moved, 0) << row.name;
    }
}

TEST(CoderErrors, NullTypeRaisesInEncodeType) {
    Memory out;
    try {
        Coder(0)->Write(out.stream, ZvObject$(new Untyped));
        ADD_FAILURE() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::TypeUnavailable);
        EXPECT_STREQ(e.function, "ZvBinaryCoder::EncodeType");
    }
}

TEST(CoderErrors, ComputedCasesOfStreams) {
    const std::vector<Row> rows = Rows();
    for (const Json& c : Group("coder_errors", "streams")) {
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return c["operation"] == r.name; });
        ASSERT_NE(row, rows.end()) << c;
        ExpectRaise(*row, Coder(0), new Closed, c["cause"].get<int>(), c["function"]);
    }
}
