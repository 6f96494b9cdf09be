// Types and objects.

#include "DumpCoder.h"

#include <zvc/platform/Module.h>
#include <zvc/platform/StackBounds.h>

#include <cstdio>

namespace dump {

namespace {

using Coder = ZvBinaryCoder;

std::string Hex(unsigned int number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, number);
    return text;
}

/// Moves the type definitions behind a node to it, and drops the rest.
void KeepDefinitions(Node& from, std::vector<std::unique_ptr<Node>>& to) {
    for (auto& child : from.children) {
        if (child->kind == Node::Type)
            to.push_back(std::move(child));
        else
            KeepDefinitions(*child, to);
    }
}

/// What is read meanwhile comes under a node, which ends where the reading is then: where it stopped, too.
class Under {
public:
    Under(Node*& current, Node& node, const ByteStream& bytes) : m_current(current), m_before(current), m_node(node), m_bytes(bytes) {
        m_current = &node;
    }
    ~Under() {
        m_node.end = m_bytes.Position();
        m_current = m_before;
    }
    Under(const Under&) = delete;

private:
    Node*& m_current;
    Node* m_before;
    Node& m_node;
    const ByteStream& m_bytes;
};

}

DumpCoder::DumpCoder(const std::string& bytes, bool tracked, const Options& options, Node& root)
    : m_options(options), m_tracked(tracked), m_bytes(new ByteStream(bytes)), m_stream(m_bytes), m_current(&root) {}

void DumpCoder::ReadAll() {
    while (m_bytes->Left() != 0) {
        const size_t at = m_bytes->Position();
        const unsigned char tag = m_bytes->Peek(0);
        bool truth;
        ZvString text;
        if (tag == Coder::TagFalse || tag == Coder::TagTrue)
            Read(m_stream, truth);
        else if (tag >= Coder::TagStringLT16 && tag < Coder::TagReserve1)
            Read(m_stream, text);
        else if (tag >= Coder::TagInt && tag < Coder::TagType)
            AddValue("integer", at, std::to_string(TakeInteger(8, "an integer")));
        else
            DecodeObject(m_stream);
        m_current->end = m_bytes->Position();
    }
}

// ---- the tables -----------------------------------------------------------------------------------------------------------

DumpCoder::Entry& DumpCoder::EntryAt(long long id, size_t at) {
    if (id <= 0 || static_cast<size_t>(id) >= m_entries.size()) Fail(at, "a reference to #" + std::to_string(id) + ", which has not occurred");
    return m_entries[static_cast<size_t>(id)];
}

bool DumpCoder::IsTracked(const StoredType& type) const {
    const unsigned int spec = type.here != nullptr ? type.here->GetClassSpec() : type.spec;
    return m_tracked || (spec & ZvType::SpecMarshalByRef) != 0;
}

void DumpCoder::Register(ZvObject* object, const StoredType& type, Node& node) {
    if (!IsTracked(type)) return;
    node.id = static_cast<long long>(m_entries.size());
    m_entries.push_back({nullptr, object, type.name});
}

ZvObject* DumpCoder::Keep(ZvObject* object) {
    m_kept.emplace_back(object);
    return object;
}

unsigned int DumpCoder::FindFileVersion(ZvType* type) {
    const auto found = m_byName.find(type->GetName()->CStr());
    return found != m_byName.end() ? found->second->version : type->GetSchema() & 0x7FFFFFFF;
}

// ---- types ----------------------------------------------------------------------------------------------------------------

DumpCoder::StoredType& DumpCoder::ReadType(bool isObject) {
    const size_t at = m_bytes->Position();
    const unsigned char tag = m_bytes->Peek(0);
    if (m_bytes->Left() != 0 && (tag == Coder::TagNewType || tag == Coder::TagNewType1)) return ReadDefinition();
    TakeTag("a type");
    if (tag < Coder::TagType || tag >= Coder::TagObject) Fail(at, "tag " + Hex(tag, 2) + " where a type should be");
    long long id = 0;
    Take(&id, tag - Coder::TagType + 1u, "a type's id");
    const Entry& entry = EntryAt(id, at);
    if (entry.type == nullptr) Fail(at, "a type that is #" + std::to_string(id) + ", and that is an object");
    if (isObject) {
        Node& node = m_current->Add(Node::TypeReference, at);
        node.id = id;
        node.type = entry.type->name;
        node.end = m_bytes->Position();
    }
    return *entry.type;
}

DumpCoder::StoredType& DumpCoder::ReadDefinition() {
    const size_t at = m_bytes->Position();
    if (zvc::platform::StackIsLow()) Fail(at, "types nested deeper than the stack allows");
    Node& node = m_current->Add(Node::Type, at);
    Under under(m_current, node, *m_bytes);
    const unsigned char tag = TakeTag("a type");
    node.type = TakeString();
    node.module = TakeString();
    node.spec = static_cast<unsigned int>(TakeInteger(4, "a class spec"));
    StoredType& type = TypeOf(node);
    node.id = type.id;
    const bool isFirst = !type.defined;
    Classify(type, node);
    if (type.content == Content::Codec) ReadVersion(type, node, tag, isFirst);
    if (type.content == Content::Fields) ReadLayout(type, node, isFirst);
    type.defined = true;
    return type;
}

DumpCoder::StoredType& DumpCoder::TypeOf(const Node& definition) {
    StoredType*& known = m_byName[definition.type];
    if (known != nullptr) return *known;
    StoredType& type = m_types.emplace_back();
    known = &type;
    type.name = definition.type;
    type.module = definition.module;
    type.spec = definition.spec.value_or(0);
    Resolve(type);
    if (type.here != nullptr) type.version = type.here->GetSchema() & 0x7FFFFFFF;
    type.id = static_cast<long long>(m_entries.size());
    m_entries.push_back({&type, type.here, "ZvType"});
    return type;
}

// As the library's coder does it: a module that is not there is loaded as a plug-in, and the name alone decides then.
void DumpCoder::Resolve(StoredType& type) const {
    if (ZvSystem::FindModule(type.module.c_str()) == nullptr) {
        if (type.module.empty() || type.module.find_first_of("/\\") != std::string::npos) {
            type.whyNot = "what stands for its module is no name";
        } else if (!m_options.plugins) {
            type.whyNot = "its plug-in " + type.module + " is not loaded";
        } else {
            try {
                ZvSystem::LoadPlugin(new ZvString(type.module.c_str()));
            } catch (const ZvException&) {
                type.whyNot = "its plug-in " + type.module + " cannot be loaded (" + zvc::platform::LastLoadError() + ")";
            }
        }
    }
    if (type.whyNot.empty()) type.here = ZvSystem::FindType(type.name.c_str());
    if (type.here == nullptr && type.whyNot.empty()) type.whyNot = "there is no such class in " + type.module;
}

// What follows a definition is not told by the stream, but by the class. Where that is not here the bytes give it away: a
// layout goes on with a count and a string for a name, a codec with its schema; a bag has no number next, and may be the last
// thing in the file.
void DumpCoder::Classify(StoredType& type, Node& node) {
    if (type.here != nullptr) {
        type.content = type.here->HasCodec()                                   ? Content::Codec
                       : type.here->IsDerivedFrom(&ZvISerializable::s_type) ? Content::Bag
                                                                               : Content::Fields;
        return;
    }
    node.note = type.whyNot;
    const unsigned char tag = m_bytes->Peek(0);
    if (m_bytes->Left() == 0 || tag < Coder::TagInt || tag > Coder::TagInt + 3) {
        type.content = Content::Bag;
        return;
    }
    const size_t bytes = tag - Coder::TagInt + 1u;
    unsigned int word = 0;
    for (size_t i = 0; i < bytes && i < 4; ++i) word |= static_cast<unsigned int>(m_bytes->Peek(1 + i)) << (8 * i);
    const bool isLayout = word == 0 || ((word & 0x80000000) == 0 && IsFieldName(1 + bytes));
    type.content = isLayout ? Content::Fields : Content::Codec;
}

bool DumpCoder::IsFieldName(size_t ahead) const {
    const auto entry = [&](size_t at, unsigned char first) -> const Entry* {
        size_t id = 0;
        for (size_t i = 0; i <= static_cast<size_t>(m_bytes->Peek(at) - first); ++i)
            id |= static_cast<size_t>(m_bytes->Peek(at + 1 + i)) << (8 * i);
        return id < m_entries.size() ? &m_entries[id] : nullptr;
    };
    // Of a file that is cut in the name so much as is there has to fit.
    if (m_bytes->Left() <= ahead) return true;
    const unsigned char tag = m_bytes->Peek(ahead);
    if (tag >= Coder::TagObject && tag <= Coder::TagObject + 3) {
        const Entry* object = entry(ahead, Coder::TagObject);
        return object != nullptr && object->typeName == "ZvString";
    }
    if (tag != Coder::TagNewObject) return false;
    const unsigned char type = m_bytes->Peek(ahead + 1);
    if (type >= Coder::TagType && type < Coder::TagObject) {
        const Entry* known = entry(ahead + 1, Coder::TagType);
        return known != nullptr && known->type != nullptr && known->type->name == "ZvString";
    }
    const std::string definition = "\x90ZvString";
    const size_t left = m_bytes->Left() > ahead + 2 ? m_bytes->Left() - ahead - 2 : 0;
    for (size_t i = 0; i < std::min(definition.size(), left); ++i)
        if (m_bytes->Peek(ahead + 2 + i) != static_cast<unsigned char>(definition[i])) return false;
    return true;
}

void DumpCoder::ReadVersion(StoredType& type, Node& node, unsigned char tag, bool isFirst) {
    unsigned int schema = 1;
    if (tag == Coder::TagNewType1) schema = static_cast<unsigned int>(TakeInteger(4, "a schema"));
    const unsigned int version = schema & 0x7FFFFFFF;
    if (tag == Coder::TagNewType1) node.values = {std::to_string(schema)};
    if (tag == Coder::TagNewType) node.note = "a definition of the older form, without a version";
    if (type.here == nullptr) return;
    const unsigned int today = type.here->GetSchema();
    type.whyNot.clear();
    if (version == (today & 0x7FFFFFFF)) return;
    if (isFirst || type.version == (today & 0x7FFFFFFF)) type.version = version;
    node.note = "the class is at version " + std::to_string(today & 0x7FFFFFFF);
    if ((today & 0x80000000) != 0) return;
    type.whyNot = "it was stored at version " + std::to_string(version) + ", and the class reads version " + std::to_string(today) + " alone";
    node.note = type.whyNot;
}

void DumpCoder::ReadLayout(StoredType& type, Node& node, bool isFirst) {
    const auto count = static_cast<unsigned int>(TakeInteger(4, "a count of fields"));
    node.count = count;
    std::vector<StoredType::Field> fields;
    for (unsigned int i = 0; i < count; ++i) {
        const size_t at = m_bytes->Position();
        Node& stored = node.Add(Node::StoredField, at);
        Under under(m_current, stored, *m_bytes);
        ZvObject* name = DecodeObject(m_stream);
        if (name == nullptr || !name->IsKindOf(&ZvString::s_type)) Fail(at, "a field's name that is no string");
        stored.name = static_cast<ZvString*>(name)->CStr();
        StoredType& fieldType = ReadType(false);
        stored.type = fieldType.name;
        stored.id = fieldType.id;
        std::vector<std::unique_ptr<Node>> definitions;
        KeepDefinitions(stored, definitions);
        stored.children = std::move(definitions);
        fields.push_back({stored.name, &fieldType});
    }
    if (isFirst && !type.defined) type.fields = std::move(fields);             // of two layouts the first counts
}

// ---- objects --------------------------------------------------------------------------------------------------------------

ZvObject* DumpCoder::DecodeObject(ZvStream$& stream) {
    const size_t at = m_bytes->Position();
    if (zvc::platform::StackIsLow()) Fail(at, "objects nested deeper than the stack allows");
    if (m_bytes->Left() == 0) Fail(at, "the file ends where an object should be");
    const unsigned char tag = m_bytes->Peek(0);
    if (tag == Coder::TagNewType || tag == Coder::TagNewType1 || (tag >= Coder::TagType && tag < Coder::TagObject))
        return ReadType(true).here;
    TakeTag("an object");
    if (tag == Coder::TagNull) {
        m_current->Add(Node::Null, at).end = m_bytes->Position();
        return nullptr;
    }
    if (tag == Coder::TagNewObject || tag == Coder::TagNewObjRef) {
        Node& node = m_current->Add(Node::Object, at);
        return ReadNew(stream, node);
    }
    if (tag < Coder::TagObject || tag > Coder::TagObject + 3) Fail(at, "tag " + Hex(tag, 2) + " where an object should be");
    long long id = 0;
    Take(&id, tag - Coder::TagObject + 1u, "an object's id");
    const Entry& entry = EntryAt(id, at);
    Node& node = m_current->Add(Node::Reference, at);
    node.id = id;
    node.type = entry.typeName;
    node.end = m_bytes->Position();
    return entry.object.Get();
}

ZvObject* DumpCoder::ReadNew(ZvStream$& stream, Node& node) {
    Under under(m_current, node, *m_bytes);
    StoredType& type = ReadType(false);
    node.type = type.name;
    if (type.content == Content::Bag) return ReadBag(stream, type, node);
    const size_t at = m_bytes->Position();
    if (type.content == Content::Codec && !type.whyNot.empty())
        Fail(at, "the content of " + type.name + ", which only its class can read: " + type.whyNot);
    ZvObject* object = type.here != nullptr ? Keep(type.here->CreateObject()) : nullptr;
    if (object == nullptr && type.content == Content::Codec) Fail(at, "the content of " + type.name + ", which cannot be built");
    if (object == nullptr && type.here != nullptr) node.note = "the class cannot be built";
    Register(object, type, node);
    if (type.content == Content::Codec)
        object->Decode(stream, this);
    else
        for (const StoredType::Field& field : type.fields) ReadField(stream, type, field, object);
    return object;
}

ZvObject* DumpCoder::ReadBag(ZvStream$& stream, StoredType& type, Node& node) {
    const size_t at = m_bytes->Position();
    const ZvSerializationInfo$ info = ZvObject$(DecodeObject(stream));
    if (!info) Fail(at, "an object of " + type.name + " that holds no bag of values");
    ZvObject* object = nullptr;
    if (type.here != nullptr) {
        auto* values = new ZvPrimArray<ZvObject$>(1, nullptr);
        const ZvArguments$ arguments = values;
        (*values)[0] = new ZvPrimitive<ZvObject$>(info);
        object = Keep(type.here->Construct(arguments));
        if (object == nullptr) node.note = "the class has no constructor that takes it";
    }
    Register(object, type, node);
    return object;
}

void DumpCoder::ReadField(ZvStream$& stream, const StoredType& type, const StoredType::Field& field, ZvObject* object) {
    Node& node = m_current->Add(Node::Field, m_bytes->Position());
    node.name = field.name;
    node.type = field.type->name;
    Under under(m_current, node, *m_bytes);
    const ZvField$ today = object != nullptr ? type.here->FindField(new ZvString(field.name.c_str())) : ZvField$();
    if (today && today->Type() == field.type->here) {
        today->Decode(stream, this, object);
    } else {
        if (today)
            node.note = std::string("dropped: the class has it as ") + today->Type()->GetName()->CStr();
        else if (object != nullptr)
            node.note = "dropped: the class has no such field";
        ReadDropped(stream, type, field, node);
    }
}

// By the stored type alone: what a field writes is what the codec of its type reads, but for fixed arrays.
void DumpCoder::ReadDropped(ZvStream$& stream, const StoredType& type, const StoredType::Field& field, Node& node) {
    const StoredType& stored = *field.type;
    const size_t at = m_bytes->Position();
    if (stored.here == nullptr) Fail(at, "the field " + field.name + " of " + stored.name + ": " + stored.whyNot);
    if (type.here == nullptr && (stored.here->GetClassSpec() & ZvType::SpecArray) != 0)
        Fail(at, "the field " + field.name + ", a fixed array, whose length only the class knows: " + type.whyNot);
    ZvObject* dropped = Keep(stored.here->CreateObject());
    if (dropped != nullptr)
        dropped->Decode(stream, this);
    else
        node.note += std::string(node.note.empty() ? "" : "; ") + "its type cannot be built, and takes no bytes";
}

// ---- interfaces -----------------------------------------------------------------------------------------------------------

void DumpCoder::Read(ZvStream$& stream, ZvObject*& object) { object = DecodeObject(stream); }
void DumpCoder::Read(ZvStream$& stream, ZvObject$& object) { object = DecodeObject(stream); }
void DumpCoder::Read(ZvStream$& stream, ZvInterface*& object) { object = ZvInterface::FromObject(DecodeObject(stream)); }
void DumpCoder::Read(ZvStream$& stream, ZvInterface$& object) { object = ZvInterface::FromObject(DecodeObject(stream)); }

Result Read(const std::string& bytes, bool tracked, const Options& options) {
    Result result;
    result.tracked = tracked;
    DumpCoder coder(bytes, tracked, options, result.root);
    const auto stop = [&](size_t at, const std::string& reason) {
        result.stoppedAt = at;
        result.reason = reason;
    };
    try {
        coder.ReadAll();
        result.whole = true;
    } catch (const Stop& e) {
        stop(e.at, e.reason);
    } catch (const ZvCoderException& e) {
        stop(coder.Position(), std::string("a class's own reader raised cause ") + std::to_string(e.cause) + " in " + e.function);
    } catch (ZvException& e) {
        stop(coder.Position(), std::string("a class's own reader raised ") + e.GetType()->GetName()->CStr());
    } catch (const std::exception& e) {
        stop(coder.Position(), std::string("a class's own reader raised: ") + e.what());
    }
    return result;
}

}
