// Random layouts of the past against the classes of today. The input chooses which fields a file's classes had, of which
// types, and their values; the file is written here byte by byte. It must read as the rules say: a stored field whose name and
// type the class still has is in its member, every other member is as the class's factory made it, and what follows in the
// file is read from its first byte. With a damaged byte in it the file must end in a value or in a ZvCoderException.

#include "serialization/CaseClasses.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

ZV_MODULE("App", nullptr, nullptr)

namespace {

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

/// The numbers that the input holds; zeros behind its end.
class Choices {
public:
    Choices(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    bool Any() const { return m_at < m_size; }
    uint8_t Byte() { return m_at < m_size ? m_data[m_at++] : 0; }
    size_t Below(size_t bound) { return Byte() % bound; }
    uint64_t Number() {
        uint64_t number = 0;
        for (size_t n = Below(9); n != 0; --n) number = number << 8 | Byte();
        return number;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_at = 0;
};

/// The format as it is documented, and nothing of the library.
struct File {
    std::string bytes;
    std::map<std::string, unsigned int> ids;         // of the types that stand in the file
    unsigned int nextId = 1;

    void Put(int byte) { bytes += static_cast<char>(byte); }
    void Raw(const void* data, size_t size) { bytes.append(static_cast<const char*>(data), size); }
    void Number(uint64_t number, int firstTag = 0xA0) {
        int count = 1;
        while (count < 8 && number >> (8 * count) != 0) ++count;
        Put(firstTag + count - 1);
        Raw(&number, static_cast<size_t>(count));
    }
    void Text(const std::string& text) {
        if (text.size() < 16) Put(static_cast<int>(0x88 + text.size()));
        else Number(text.size(), 0x98);
        bytes += text;
    }
    /// False where the type stands already, and is referred to.
    bool Type(const std::string& name, const char* module, int spec) {
        if (const auto known = ids.find(name); known != ids.end()) {
            Number(known->second, 0xA8);
            return false;
        }
        Put(0x87);
        Text(name);
        Text(module);
        Number(static_cast<uint64_t>(spec));
        ids[name] = nextId++;
        return true;
    }
    void BoxType(const std::string& name) {
        if (Type(name, "ZVC", 2)) Number(name == "ZvString" ? 0x80000001 : 1);
    }
    void StringObject(const std::string& text) {
        Put(0x84);
        BoxType("ZvString");
        Text(text);
    }
};

/// A type that a field can have: its name, and how a value of it is chosen, written, and put into a box.
struct Kind {
    const char* name;
    std::function<ZvObject$(Choices&, File&)> write;
};

template <class T>
ZvObject$ WriteInteger(Choices& choices, File& file) {
    const auto value = static_cast<T>(choices.Number());
    if (sizeof(T) == 1) {
        file.Put(0xA0);
        file.Raw(&value, 1);
    } else {
        file.Number(static_cast<std::make_unsigned_t<T>>(value));
    }
    return new ZvPrimitive<T>(value);
}

template <class T>
ZvObject$ WriteRaw(Choices& choices, File& file) {
    T value{};
    for (size_t i = 0; i < sizeof value; ++i) reinterpret_cast<uint8_t*>(&value)[i] = choices.Byte();
    file.Raw(&value, sizeof value);
    return new ZvPrimitive<T>(value);
}

ZvObject$ WriteBool(Choices& choices, File& file) {
    const bool value = choices.Below(2) != 0;
    file.Put(value ? 0x82 : 0x81);
    return new ZvPrimitive<bool>(value);
}

ZvObject$ WriteReference(Choices& choices, File& file) {
    ZvObject$ value;
    switch (choices.Below(3)) {
    case 0: file.Put(0x80); break;
    case 1: {
        const std::string text(choices.Below(40), 'x');
        file.StringObject(text);
        value = new ZvString(text.c_str());
        break;
    }
    default:
        file.Put(0x84);
        file.BoxType("ZvInt64");
        value = WriteInteger<long long>(choices, file);
    }
    return new ZvPrimitive<ZvObject$>(value);
}

const Kind Kinds[] = {
    {"ZvBoolean", WriteBool}, {"ZvSByte", WriteInteger<char>}, {"ZvByte", WriteInteger<unsigned char>},
    {"ZvInt16", WriteInteger<short>}, {"ZvUInt16", WriteInteger<unsigned short>}, {"ZvInt32", WriteInteger<int>},
    {"ZvUInt32", WriteInteger<unsigned int>}, {"ZvInt64", WriteInteger<long long>}, {"ZvUInt64", WriteInteger<unsigned long long>},
    {"ZvFloat", WriteRaw<float>}, {"ZvDouble", WriteRaw<double>}, {"ZvVec3f", WriteRaw<CG::vec3<float>>},
    {"ZvMat4d", WriteRaw<CG::mat4<double>>}, {"ZvColor", WriteRaw<zvcolor>}, {"ZvObjectRef", WriteReference},
};

struct Stored {
    std::string name;
    const Kind* kind;
};

void Fail(const char* what, const std::string& field) {
    std::fprintf(stderr, "%s: %s\n", what, field.c_str());
    std::abort();
}

class History {
public:
    explicit History(Choices& choices) : m_choices(choices) {}

    /// One object of a class of today, as some version of the class wrote it.
    void Write() {
        ZvType* const type = Classes()[m_choices.Below(Classes().size())];
        const std::string name = type->GetName()->CStr();
        m_file.Put(0x84);
        if (m_file.Type(name, "App", 1)) WriteLayout(type, name);
        std::map<std::string, ZvObject$> expected;
        for (const Stored& stored : m_layouts[name]) {
            const ZvObject$ value = stored.kind->write(m_choices, m_file);
            const ZvField$ field = type->FindField(new ZvString(stored.name.c_str()));
            if (field && *field->Type()->GetName() == stored.kind->name) expected[stored.name] = value;
        }
        m_objects.push_back({type, expected});
    }

    void Check(const std::string& bytes) {
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(static_cast<ZvStreamingContext::States>(0)));
        ZvStream$ stream = StreamOf(bytes);
        for (const Object& object : m_objects) {
            ZvObject$ read;
            coder->Read(stream, read);
            if (!read || read->GetType() != object.type) Fail("another object", object.type->GetName()->CStr());
            CheckFields(object, read);
        }
        ZvObject$ last;
        coder->Read(stream, last);
        if (!last || !last->Equals(ZvObject$(new ZvPrimitive<int>(Last)).Get())) Fail("the file went out of step", "");
    }

    static void ReadDamaged(const std::string& bytes) {
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(static_cast<ZvStreamingContext::States>(0)));
        ZvStream$ stream = StreamOf(bytes);
        try {
            for (int i = 0; i < 8; ++i) {
                ZvObject$ read;
                coder->Read(stream, read);
            }
        } catch (const ZvCoderException&) {
        }
    }

    std::string Finish() {
        m_file.Put(0x84);
        m_file.BoxType("ZvInt32");
        m_file.Number(Last);
        return m_file.bytes;
    }

private:
    static constexpr int Last = 0x1234567;
    struct Object {
        ZvType* type;
        std::map<std::string, ZvObject$> expected;
    };

    static const std::vector<ZvType*>& Classes() {
        static const std::vector<ZvType*> s_classes = {&GAll::s_type, &GMany::s_type, &GNode::s_type, &Pt::s_type,
                                                       &GBase::s_type, &GDerived::s_type, &GEmpty::s_type};
        return s_classes;
    }

    static ZvStream$ StreamOf(const std::string& bytes) {
        const Bytes array = new ZvPrimArray<unsigned char>(bytes.size() + 1, nullptr);
        std::memcpy(array->GetBaseAddress(), bytes.data(), bytes.size());
        (*array)[bytes.size()] = 0;
        Bytes handle = array;
        return new ZvMemoryStream(handle);
    }

    void WriteLayout(ZvType* type, const std::string& name) {
        std::vector<Stored> layout(m_choices.Below(12));
        for (Stored& stored : layout) {
            stored.kind = &Kinds[m_choices.Below(std::size(Kinds))];
            stored.name = "gone" + std::to_string(m_choices.Below(4));
            if (m_choices.Below(4) == 0) continue;
            ChooseField(type, stored);
        }
        m_file.Number(layout.size());
        for (const Stored& stored : layout) {
            m_file.StringObject(stored.name);
            m_file.BoxType(stored.kind->name);
        }
        m_layouts[name] = layout;
    }

    // A field of today, mostly with the type that it has today.
    void ChooseField(ZvType* type, Stored& stored) {
        std::vector<ZvField*> fields;
        for (ZvIDictionaryEnumerator$ e = type->GetFields()->GetEnumerator(); e->HasNext(); e->Next())
            fields.push_back(static_cast<ZvField*>(e->Value().Get()));
        if (fields.empty()) return;
        const ZvField* field = fields[m_choices.Below(fields.size())];
        stored.name = field->Name()->CStr();
        if (m_choices.Below(4) == 0) return;
        for (const Kind& kind : Kinds)
            if (*field->Type()->GetName() == kind.name) stored.kind = &kind;
    }

    static void CheckFields(const Object& object, const ZvObject$& read) {
        const ZvObject$ fresh = object.type->CreateObject();
        for (ZvIDictionaryEnumerator$ e = object.type->GetFields()->GetEnumerator(); e->HasNext(); e->Next()) {
            ZvField$ field = e->Value();
            const std::string name = field->Name()->CStr();
            const auto stored = object.expected.find(name);
            const ZvObject$ value = field->GetValue(read.Get());
            const ZvObject$ wanted = stored != object.expected.end() ? stored->second : field->GetValue(fresh.Get());
            if (!Same(value, wanted)) Fail("another value", name);
        }
    }

    static bool Same(const ZvObject$& a, const ZvObject$& b) {
        if (a->GetType() != &ZvPrimitive<ZvObject$>::s_type) return a->Equals(b.Get());
        const ZvObject$& x = static_cast<ZvPrimitive<ZvObject$>*>(a.Get())->value;
        const ZvObject$& y = static_cast<ZvPrimitive<ZvObject$>*>(b.Get())->value;
        return !x || !y ? x == y : x->Equals(y.Get());
    }

    Choices& m_choices;
    File m_file;
    std::map<std::string, std::vector<Stored>> m_layouts;
    std::vector<Object> m_objects;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Choices choices(data, size);
    const bool damaged = choices.Below(4) == 0;
    const size_t place = static_cast<size_t>(choices.Number());
    const uint8_t change = choices.Byte();
    History history(choices);
    for (size_t count = 0; count < 6 && (count == 0 || choices.Any()); ++count) history.Write();
    std::string bytes = history.Finish();
    if (damaged) {
        bytes[place % bytes.size()] ^= static_cast<char>(change | 1);
        History::ReadDamaged(bytes);
    } else {
        history.Check(bytes);
    }
    return 0;
}

extern "C" const char* __asan_default_options() { return "detect_leaks=0:allocator_may_return_null=1"; }
