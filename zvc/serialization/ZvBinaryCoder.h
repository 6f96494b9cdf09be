#pragma once

#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvCoderException.h"
#include "zvc/serialization/ZvCoderWindow.h"
#include "zvc/serialization/ZvObjectIDGenerator.h"
#include "zvc/serialization/ZvObjectManager.h"
#include "zvc/serialization/ZvStreamingContext.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace zvc::detail {
struct RunAccess;
}

/// The library's binary object format, for files and for the messages of a channel (docs/format.md tells the bytes).
///
/// A coder is one conversation: it numbers types and tracked objects in the order in which they first appear, and what it
/// learned goes on from call to call, across streams, until it is destroyed. A document that was written with one coder is
/// read with one coder, from its first byte, in the same order of calls. There is no reset: make a new coder.
///
/// With the context state TrackObjects every object has an identity in the stream: shared objects stay shared, and cycles
/// work. Otherwise each occurrence is a copy, apart from the classes that go by reference; a cycle never ends, and
/// raises StreamFailed when the stack is used up.
///
/// Everything that goes wrong is a ZvCoderException with the file "ZvBinaryCoder" and an empty message. Nothing is rolled
/// back: a conversation that failed in the middle cannot go on.
///
/// Within one outermost call on a file (exactly a ZvFileStream) bytes are gathered and read ahead; nothing of that outlives
/// the call. One thread at a time, but for a channel, where one thread may write while another reads.
class ZV_API ZvBinaryCoder : public ZvCoder {
    ZV_DECLARE_CLASS(ZvBinaryCoder)
public:
    static const unsigned char TagAscii = 0x00;         ///< reserved, never written, never accepted
    static const unsigned char TagNull = 0x80;          ///< null object reference
    static const unsigned char TagFalse = 0x81;
    static const unsigned char TagTrue = 0x82;
    static const unsigned char TagNewType = 0x83;       ///< type definition of the older form, without a schema; read only
    static const unsigned char TagNewObject = 0x84;     ///< a type, then the object's content
    static const unsigned char TagNewSymbol = 0x85;     ///< reserved; refused
    static const unsigned char TagNewObjRef = 0x86;     ///< read as TagNewObject, never written
    static const unsigned char TagNewType1 = 0x87;      ///< type definition
    static const unsigned char TagStringLT16 = 0x88;    ///< to 0x97: a string of tag - 0x88 bytes
    static const unsigned char TagStringGE16 = 0x98;    ///< to 0x9B: tag - 0x97 bytes of length, then the bytes
    static const unsigned char TagReserve1 = 0x9C;
    static const unsigned char TagInt = 0xA0;           ///< to 0xA7: an integer of tag - 0x9F bytes
    static const unsigned char TagType = 0xA8;          ///< to 0xAB: back reference to a type, tag - 0xA7 bytes of id
    static const unsigned char TagObject = 0xAC;        ///< to 0xAF: back reference to an object, tag - 0xAB bytes of id
    static const unsigned char TagReserve3 = 0xB0;

    explicit ZvBinaryCoder(ZvStreamingContext$ context);
    /// Copies share the context, both object tables and what was learned from the stream: the copy goes on with the same
    /// conversation.
    ZvBinaryCoder(const ZvBinaryCoder& other);
    ZvBinaryCoder& operator=(const ZvBinaryCoder& other);
    ~ZvBinaryCoder() override;

    using ZvCoder::Read;
    using ZvCoder::Write;

    void Write(ZvStream$& stream, const ZvInterface* object) override;
    void Write(ZvStream$& stream, const ZvInterface$& object) override;
    void Write(ZvStream$& stream, const ZvObject* object) override;
    void Write(ZvStream$& stream, const ZvObject$& object) override;
    void Write(ZvStream$& stream, const ZvString& text) override;
    void Write(ZvStream$& stream, unsigned int count, const double* values) override;
    void Write(ZvStream$& stream, unsigned int count, const float* values) override;
    void Write(ZvStream$& stream, double value) override;
    void Write(ZvStream$& stream, float value) override;
    void Write(ZvStream$& stream, unsigned long long value) override;
    void Write(ZvStream$& stream, long long value) override;
    void Write(ZvStream$& stream, unsigned int value) override;
    void Write(ZvStream$& stream, int value) override;
    void Write(ZvStream$& stream, unsigned short value) override;
    void Write(ZvStream$& stream, short value) override;
    void Write(ZvStream$& stream, unsigned char value) override;
    void Write(ZvStream$& stream, char value) override;
    void Write(ZvStream$& stream, bool value) override;
    void Write(ZvStream$& stream, const void* data, unsigned long long size) override;

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

    /// Writes object with all that it refers to; null is one byte.
    void EncodeObject(ZvStream$& stream, ZvObject* object) override;

    /// The next object of the stream, or null for a null reference. An object that is not tracked has count 0: put it
    /// into a handle. Hostile bytes end in ZvCoderException, also where they nest deeper than the stack allows.
    ZvObject* DecodeObject(ZvStream$& stream) override;

    /// Nothing in the format depends on the level.
    void PushLevel() { ++m_level; }
    void PopLevel() { --m_level; }
    void WriteTab() {}

private:
    friend struct zvc::detail::RunAccess;
    struct StoredField;
    using Layout = std::vector<StoredField>;                             // a stream's layout of a type, in its order
    using Layouts = std::unordered_map<const ZvType*, Layout>;
    using Versions = std::unordered_map<const ZvType*, unsigned int>;    // a stream's, where they are not the classes' own
    struct Plan;                 // what the coder knows of a type
    class Plans;                 // plans by type
    enum class Kind : unsigned char { Codec, Serializable, Fields };

    unsigned int FindFileVersion(ZvType* type) override;

    void EncodeString(ZvStream$& stream, const ZvString& text);
    void DecodeString(ZvStream$& stream, ZvString& text);
    void WriteTag(ZvStream$& stream, unsigned char tag);
    unsigned char ReadTag(ZvStream$& stream);
    unsigned char TakeTag(ZvStream$& stream);
    const unsigned char* ShortForm(ZvStream$& stream, unsigned char tag);
    void PushTag(unsigned char tag);
    static unsigned int CalcSignificantByte(unsigned long long value);

    void EncodeType(ZvStream$& stream, const ZvType* type);
    void EncodeDefinition(ZvStream$& stream, ZvType* type, Plan& plan);
    void EncodeReference(ZvStream$& stream, const ZvObject* object);
    void EncodeOne(ZvStream$& stream, ZvObject* object);
    void EncodeContent(ZvStream$& stream, ZvObject* object, Plan& plan, bool tracked);
    ZvType* DecodeType(ZvStream$& stream);
    ZvType* DecodeDefinition(ZvStream$& stream, unsigned char tag);
    ZvType* ResolveType(const ZvString& name, const ZvString& module);
    void LoadFields(Plan& plan);
    void RegistSchema(ZvType* type, unsigned int version);
    bool DecodeLayout(ZvStream$& stream, Plan& plan);
    ZvObject* DecodeNew(ZvStream$& stream);
    ZvObject* DecodeSerializable(ZvStream$& stream, ZvType* type);
    void DecodeContent(ZvStream$& stream, ZvObject* object, Plan& plan);
    void DecodeFields(ZvStream$& stream, ZvObject* object, Plan& plan);

    // The context is asked each time: whoever holds it may assign to it.
    int State() const { return m_context ? m_context->m_state : 0; }
    bool IsTracked(const ZvType* type) const { return type->IsMarshalByRef() || State() == ZvStreamingContext::TrackObjects; }
    long long KnownId(const ZvObject* object);
    long long RegisterObject(ZvObject* object);
    ZvObject* RegisteredObject(long long id);

    void PutForm(ZvStream$& stream, unsigned char firstTag, unsigned long long value, unsigned int bytes, bool checked);
    void PutForm(ZvStream$& stream, unsigned char firstTag, unsigned long long value);
    unsigned long long TakeInteger(ZvStream$& stream, unsigned int maxBytes);
    unsigned long long TakeBytes(ZvStream$& stream, unsigned int bytes);
    unsigned long long TakeNumber(ZvStream$& stream, unsigned int bytes);
    void Put(ZvStream$& stream, const void* data, size_t size);
    template <class... Bytes>
    bool PutFew(ZvStream$& stream, Bytes... bytes);
    bool PutTagged(ZvStream$& stream, unsigned char tag, unsigned long long value, unsigned int bytes);
    size_t Take(ZvStream$& stream, void* data, size_t size);
    bool TakeHere(ZvStream$& stream, void* data, size_t size);
    size_t TakeThere(ZvStream$& stream, void* data, size_t size, bool* failed = nullptr);
    void RequireWrite(ZvStream$& stream, ZvCoderException::Causes cause, const char* function);
    void RequireRead(ZvStream$& stream, ZvCoderException::Causes cause, const char* function);

    ZvStreamingContext$ m_context;
    ZvObjectIDGenerator$ m_generator;
    ZvObjectManager$ m_manager;
    std::unique_ptr<Plans> m_writePlans;      // two sets: on a channel one thread writes while another reads
    std::unique_ptr<Plans> m_readPlans;
    std::shared_ptr<Layouts> m_layouts;       // both made when first needed; from then on copies of the coder share them
    std::shared_ptr<Versions> m_versions;
    std::vector<unsigned char> m_tagStack;
    unsigned long long m_level = 0;
    unsigned long long m_taken = 0;           // bytes that streams gave when they were asked: those of a window are not in it
    zvc::detail::OutputWindow m_out;
    zvc::detail::InputWindow m_in;
};

ZV_DECLARE_HANDLE(ZvBinaryCoder, ZvObject$);
