#pragma once

#include "ByteStream.h"
#include "Node.h"

#include <deque>
#include <map>

namespace dump {

/// The reading stops here. It passes through the Decode of classes that know nothing of it.
struct Stop {
    size_t at;
    std::string reason;
};

/// A reader of the binary format that is independent of the library's own coder. Whatever a class's Decode asks for comes
/// into the tree of nodes, under the object that asks.
///
/// Of a class that is not here a layout of fields is read by the types that it names; the content of a codec cannot be.
class DumpCoder : public ZvCoder {
public:
    DumpCoder(const std::string& bytes, bool tracked, const Options& options, Node& root);

    /// Everything to the end. Raises Stop.
    void ReadAll();
    size_t Position() const { return m_bytes->Position(); }

    using ZvCoder::Read;
    using ZvCoder::Write;

    void Read(ZvStream$& stream, ZvInterface*& object) override;
    void Read(ZvStream$& stream, ZvInterface$& object) override;
    void Read(ZvStream$& stream, ZvObject*& object) override;
    void Read(ZvStream$& stream, ZvObject$& object) override;
    void Read(ZvStream$& stream, ZvString& text) override;
    void Read(ZvStream$& stream, unsigned int count, double* values) override;
    void Read(ZvStream$& stream, unsigned int count, float* values) override;
    void Read(ZvStream$& stream, double& value) override;
    void Read(ZvStream$& stream, float& value) override;
    void Read(ZvStream$& stream, unsigned long long& value) override;
    void Read(ZvStream$& stream, long long& value) override;
    void Read(ZvStream$& stream, unsigned int& value) override;
    void Read(ZvStream$& stream, int& value) override;
    void Read(ZvStream$& stream, unsigned short& value) override;
    void Read(ZvStream$& stream, short& value) override;
    void Read(ZvStream$& stream, unsigned char& value) override;
    void Read(ZvStream$& stream, char& value) override;
    void Read(ZvStream$& stream, bool& value) override;
    void Read(ZvStream$& stream, void* data, unsigned long long size) override;
    ZvObject* DecodeObject(ZvStream$& stream) override;

    // One value each, and not their elements.
#define DUMP_COMPOSITE(...)                                                                    \
    void Read(ZvStream$& stream, __VA_ARGS__& value) override {                                \
        ReadWhole(#__VA_ARGS__, [&] { ZvCoder::Read(stream, value); });                        \
    }
    DUMP_COMPOSITE(zvcolor)
    DUMP_COMPOSITE(CG::rotation<double>)
    DUMP_COMPOSITE(CG::rotation<float>)
    DUMP_COMPOSITE(CG::mat4<double>)
    DUMP_COMPOSITE(CG::mat4<float>)
    DUMP_COMPOSITE(CG::mat3<double>)
    DUMP_COMPOSITE(CG::mat3<float>)
    DUMP_COMPOSITE(CG::vec4<double>)
    DUMP_COMPOSITE(CG::vec4<float>)
    DUMP_COMPOSITE(CG::vec4<int>)
    DUMP_COMPOSITE(CG::vec3<double>)
    DUMP_COMPOSITE(CG::vec3<float>)
    DUMP_COMPOSITE(CG::vec3<int>)
    DUMP_COMPOSITE(CG::vec2<double>)
    DUMP_COMPOSITE(CG::vec2<float>)
    DUMP_COMPOSITE(CG::vec2<int>)
#undef DUMP_COMPOSITE

    // It never writes.
    void Write(ZvStream$&, const ZvInterface*) override {}
    void Write(ZvStream$&, const ZvInterface$&) override {}
    void Write(ZvStream$&, const ZvObject*) override {}
    void Write(ZvStream$&, const ZvObject$&) override {}
    void Write(ZvStream$&, const ZvString&) override {}
    void Write(ZvStream$&, unsigned int, const double*) override {}
    void Write(ZvStream$&, unsigned int, const float*) override {}
    void Write(ZvStream$&, double) override {}
    void Write(ZvStream$&, float) override {}
    void Write(ZvStream$&, unsigned long long) override {}
    void Write(ZvStream$&, long long) override {}
    void Write(ZvStream$&, unsigned int) override {}
    void Write(ZvStream$&, int) override {}
    void Write(ZvStream$&, unsigned short) override {}
    void Write(ZvStream$&, short) override {}
    void Write(ZvStream$&, unsigned char) override {}
    void Write(ZvStream$&, char) override {}
    void Write(ZvStream$&, bool) override {}
    void Write(ZvStream$&, const void*, unsigned long long) override {}
    void EncodeObject(ZvStream$&, ZvObject*) override {}

private:
    enum class Content { Codec, Bag, Fields };

    /// What the stream tells of a type, and the class where it is here.
    struct StoredType {
        struct Field {
            std::string name;
            StoredType* type;
        };
        std::string name;
        std::string module;
        unsigned int spec = 0;
        Content content = Content::Codec;
        unsigned int version = 1;
        bool defined = false;                    // its layout, or version, is known
        std::vector<Field> fields;
        ZvType* here = nullptr;
        std::string whyNot;                      // it is not here, or cannot be read
        long long id = 0;
    };

    /// An entry of the stream's one numbering of types and objects.
    struct Entry {
        StoredType* type = nullptr;              // of a type; else null
        ZvObject$ object;                        // null where the class is not here
        std::string typeName;
    };

    unsigned int FindFileVersion(ZvType* type) override;

    [[noreturn]] void Fail(size_t at, const std::string& reason) const { throw Stop{at, reason}; }
    void Take(void* to, size_t count, const char* what);
    unsigned char TakeTag(const char* what);
    unsigned long long TakeInteger(unsigned int maxBytes, const char* kind);
    std::string TakeString();
    void AddValue(const char* kind, size_t at, const std::string& text, size_t count = 1);
    template <class F>
    void ReadWhole(const char* kind, F read) {
        const size_t at = m_bytes->Position();
        m_collecting = true;
        m_collected.clear();
        read();                                  // a Stop ends everything: nothing is collected any more
        m_collecting = false;
        AddValue(kind, at, "(" + m_collected + ")");
    }

    StoredType& ReadType(bool isObject);
    StoredType& ReadDefinition();
    StoredType& TypeOf(const Node& definition);
    void Resolve(StoredType& type) const;
    void Classify(StoredType& type, Node& node);
    bool IsFieldName(size_t ahead) const;
    void ReadVersion(StoredType& type, Node& node, unsigned char tag, bool isFirst);
    void ReadLayout(StoredType& type, Node& node, bool isFirst);

    ZvObject* ReadNew(ZvStream$& stream, Node& node);
    ZvObject* ReadBag(ZvStream$& stream, StoredType& type, Node& node);
    void ReadField(ZvStream$& stream, const StoredType& type, const StoredType::Field& field, ZvObject* object);
    void ReadDropped(ZvStream$& stream, const StoredType& type, const StoredType::Field& field, Node& node);
    bool IsTracked(const StoredType& type) const;
    void Register(ZvObject* object, const StoredType& type, Node& node);
    ZvObject* Keep(ZvObject* object);
    Entry& EntryAt(long long id, size_t at);

    const Options& m_options;
    const bool m_tracked;
    ByteStream* m_bytes;
    ZvStream$ m_stream;
    Node* m_current;
    bool m_collecting = false;                   // the elements of one value
    std::string m_collected;
    std::deque<StoredType> m_types;
    std::map<std::string, StoredType*> m_byName;
    std::vector<Entry> m_entries{1};             // id 0 is null
    std::vector<ZvObject$> m_kept;               // what only a plain pointer refers to
};

}
