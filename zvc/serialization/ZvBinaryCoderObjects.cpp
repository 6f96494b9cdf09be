// Types and objects: the upper half of the binary format.

#include "zvc/core/ZvPlugin.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/platform/StackBounds.h"
#include "zvc/serialization/ZvBinaryCoderImpl.h"
#include "zvc/serialization/ZvISerializable.h"
#include "zvc/serialization/ZvMarshalling.h"
#include "zvc/serialization/ZvSerializationInfo.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvString.h"

#include <cstring>

using Causes = ZvCoderException::Causes;
using zvc::detail::InputScope;
using zvc::detail::OutputScope;
using zvc::detail::RaiseCoder;

namespace {

// Nested far enough, a graph would run off the stack. The ends of the stack are known; what a few more levels, an
// exception and the client's own code take stays free.
inline bool StackIsLow() { return zvc::platform::StackIsLow(); }

/// Owns an object that is being decoded and has no owner yet. Done hands it over with count 0.
class Building {
public:
    explicit Building(ZvObject* object) : m_object(object) { m_object->Retain(); }
    ~Building() {
        if (m_object != nullptr) m_object->Release();
    }
    Building(const Building&) = delete;
    ZvObject* Get() const { return m_object; }
    ZvObject* Done() {
        ZvObject* object = m_object;
        m_object = nullptr;
        object->ReleaseNotDelete();
        return object;
    }

private:
    ZvObject* m_object;
};

// No handle: an object that lives by its scope has none, and would end with it.
ZvISerializable* AsSerializable(ZvObject* object, ZvType* type) {
    const size_t offset = type->CalcOffset(&ZvISerializable::s_type) - type->CalcOffset(&ZvObject::s_type);
    return reinterpret_cast<ZvISerializable*>(reinterpret_cast<uintptr_t>(object) + offset);
}

ZvType* AsType(ZvObject* object) {
    return object->IsKindOf(&ZvType::s_type) ? static_cast<ZvType*>(object) : nullptr;
}

}

ZvBinaryCoder::Plans::Plans(const Plans& other) : m_plans(other.m_plans) {
    for (Plan& plan : m_plans) m_byType.emplace(plan.type, &plan);
}

ZvBinaryCoder::Plan& ZvBinaryCoder::Plans::Look(ZvType* type) {
    auto found = m_byType.find(type);
    if (found == m_byType.end()) {
        Plan& plan = m_plans.emplace_back();
        plan.type = type;
        plan.isReference = zvc::detail::IsReference(type);
        plan.goesByReference = zvc::detail::GoesByReference(type);
        plan.isType = type->IsDerivedFrom(&ZvType::s_type);
        if (!type->HasCodec()) plan.kind = type->IsDerivedFrom(&ZvISerializable::s_type) ? Kind::Serializable : Kind::Fields;
        found = m_byType.emplace(type, &plan).first;
    }
    return *found->second;
}

// ---- the object tables: locked only where another thread may be in the same conversation ---------------------------------

long long ZvBinaryCoder::KnownId(const ZvObject* object) {
    if (m_channel == nullptr) return m_generator->Find(object);
    return m_generator->HasId(const_cast<ZvObject*>(object), nullptr);
}

long long ZvBinaryCoder::RegisterObject(ZvObject* object) {
    if (m_channel == nullptr) {
        long long id = m_generator->Find(object);
        if (id != 0) return id;
        id = m_generator->Enter(object);
        m_manager->Enter(object, id);
        return id;
    }
    bool first = false;
    const long long id = m_generator->GetId(object, &first);
    if (first) m_manager->RegistObject(object, id);
    return id;
}

ZvObject* ZvBinaryCoder::RegisteredObject(long long id) {
    return m_channel == nullptr ? m_manager->At(id) : m_manager->GetObjectA(id);
}

// ---- writing ------------------------------------------------------------------------------------------------------------

void ZvBinaryCoder::Write(ZvStream$& stream, const ZvInterface* object) {
    Write(stream, static_cast<const ZvObject*>(ZvInterface::ToObject(object)));
}
void ZvBinaryCoder::Write(ZvStream$& stream, const ZvInterface$& object) { Write(stream, object.Get()); }
void ZvBinaryCoder::Write(ZvStream$& stream, const ZvObject$& object) {
    Write(stream, static_cast<const ZvObject*>(object.Get()));
}

// Objects stay at home when they cross the border of a process: what goes by reference is written as its reference.
void ZvBinaryCoder::Write(ZvStream$& stream, const ZvObject* object) {
    if ((State() & (ZvStreamingContext::MarshalChannel | ZvStreamingContext::MarshalOther)) != 0 && object != nullptr &&
        m_writePlans->Of(object->GetType()).goesByReference)
        return EncodeReference(stream, object);
    EncodeObject(stream, const_cast<ZvObject*>(object));
}

void ZvBinaryCoder::EncodeReference(ZvStream$& stream, const ZvObject* object) {
    const ZvObject$ reference = zvc::detail::ReferenceInPlaceOf(object, m_channel);
    EncodeObject(stream, reference ? reference.Get() : const_cast<ZvObject*>(object));
}

void ZvBinaryCoder::EncodeType(ZvStream$& stream, const ZvType* type) {
    if (type == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::EncodeType");
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::EncodeType");
    auto* t = const_cast<ZvType*>(type);
    Plan& plan = m_writePlans->Of(t);
    if (plan.id == 0) plan.id = KnownId(type);
    if (plan.id == 0) return EncodeDefinition(stream, t, plan);
    PutForm(stream, TagType, static_cast<unsigned long long>(plan.id));
}

void ZvBinaryCoder::EncodeDefinition(ZvStream$& stream, ZvType* type, Plan& plan) {
    static const ZvString s_nameless;
    WriteTag(stream, TagNewType1);
    EncodeString(stream, type->GetName() ? *type->GetName() : s_nameless);
    EncodeString(stream, ZvString(type->GetModule() != nullptr ? type->GetModule()->name : ""));
    Write(stream, type->GetClassSpec());
    plan.id = RegisterObject(type);        // from here on a field of the type's own type is a back reference
    if (plan.kind == Kind::Codec) {
        Write(stream, type->GetSchema());
        return;
    }
    if (plan.kind == Kind::Serializable) return;

    LoadFields(plan);
    Write(stream, static_cast<unsigned int>(plan.fields.size()));
    for (size_t i = 0; i < plan.fields.size(); ++i) {
        const ZvField$ field = plan.fields[i];
        Write(stream, static_cast<const ZvObject$&>(field->Name()));
        EncodeType(stream, field->Type());
    }
}

void ZvBinaryCoder::LoadFields(Plan& plan) {
    if (plan.hasFields) return;
    plan.current = plan.type->GetFields();
    ZvIDictionaryEnumerator$ e = plan.current->GetEnumerator();
    for (; e->HasNext(); e->Next()) plan.fields.emplace_back(e->Value());
    plan.hasFields = true;
}

void ZvBinaryCoder::EncodeObject(ZvStream$& stream, ZvObject* object) {
    OutputScope scope(m_out, stream);
    EncodeOne(stream, object);
    scope.Finish();
}

void ZvBinaryCoder::EncodeOne(ZvStream$& stream, ZvObject* object) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::EncodeObject");
    if (object == nullptr) return WriteTag(stream, TagNull);
    // Without tracking a cycle has no end. It is told before the stack ends, and not after.
    if (StackIsLow()) RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::EncodeObject");
    ZvType* type = object->GetType();
    const bool tracked = IsTracked(type);
    if (tracked) {
        if (const long long id = KnownId(object); id > 0) return PutForm(stream, TagObject, static_cast<unsigned long long>(id));
    }
    Plan& plan = m_writePlans->Of(type);
    if (plan.isType) return EncodeType(stream, static_cast<ZvType*>(object));
    if (plan.id == 0 || plan.id > 0xFF || !PutFew(stream, TagNewObject, TagType, plan.id)) {
        WriteTag(stream, TagNewObject);
        EncodeType(stream, type);
    }
    EncodeContent(stream, object, plan, tracked);
}

void ZvBinaryCoder::EncodeContent(ZvStream$& stream, ZvObject* object, Plan& plan, bool tracked) {
    if (plan.kind == Kind::Serializable) {
        ZvSerializationInfo$ info = new ZvSerializationInfo;
        AsSerializable(object, plan.type)->GetObjectData(info);
        EncodeObject(stream, info.Get());
        if (tracked) RegisterObject(object);       // only now: a cycle through such an object does not end
        return;
    }
    if (tracked) RegisterObject(object);           // before the content, so that it may refer to the object
    if (plan.kind == Kind::Codec) return object->Encode(stream, this);
    LoadFields(plan);
    for (size_t i = 0; i < plan.fields.size(); ++i) plan.fields[i]->Encode(stream, this, object);
}

// ---- reading ------------------------------------------------------------------------------------------------------------

void ZvBinaryCoder::Read(ZvStream$& stream, ZvObject*& object) { object = DecodeObject(stream); }
void ZvBinaryCoder::Read(ZvStream$& stream, ZvObject$& object) { object = DecodeObject(stream); }

void ZvBinaryCoder::Read(ZvStream$& stream, ZvInterface*& object) {
    ZvObject* decoded = DecodeObject(stream);
    object = ZvInterface::FromObject(decoded);
    if (object == nullptr && decoded != nullptr) ZvObject$ dropped(decoded);
}

void ZvBinaryCoder::Read(ZvStream$& stream, ZvInterface$& object) {
    const ZvObject$ decoded = DecodeObject(stream);
    object = ZvInterface$(decoded);
}

ZvType* ZvBinaryCoder::DecodeType(ZvStream$& stream) {
    if (const unsigned char* form = ShortForm(stream, TagType)) {
        const Plans::Reference& reference = m_readPlans->ReferenceOf(form[1]);
        if (reference.id == form[1]) {
            m_in.Advance(2);
            return reference.type;
        }
    }
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::DecodeType");
    const unsigned char tag = ReadTag(stream);
    if (tag >= TagType && tag < TagObject) {
        const auto id = static_cast<long long>(TakeBytes(stream, tag - TagType + 1u));
        Plans::Reference& reference = m_readPlans->ReferenceOf(id);
        if (reference.id != id) {
            ZvObject* object = RegisteredObject(id);
            if (object == nullptr) RaiseCoder(Causes::UnknownReference, "ZvBinaryCoder::DecodeType");
            reference = {id, AsType(object)};
        }
        return reference.type;
    }
    if (tag != TagNewType && tag != TagNewType1) RaiseCoder(Causes::BadTag, "ZvBinaryCoder::DecodeType");
    if (StackIsLow()) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeType");
    return DecodeDefinition(stream, tag);
}

ZvType* ZvBinaryCoder::DecodeDefinition(ZvStream$& stream, unsigned char tag) {
    ZvType* type;
    {
        ZvString name, module;
        unsigned int spec = 0;                     // the writing side's: nothing depends on it
        DecodeString(stream, name);
        DecodeString(stream, module);
        Read(stream, spec);
        type = ResolveType(name, module);
    }
    RegisterObject(type);
    Plan& plan = m_readPlans->Of(type);
    if (plan.kind == Kind::Serializable) return type;
    if (plan.kind == Kind::Fields) return DecodeLayout(stream, plan) ? type : nullptr;

    unsigned int version = 1;                      // the older form has no word for it
    if (tag == TagNewType1) Read(stream, version);
    version &= 0x7FFFFFFF;
    if (version == (type->GetSchema() & 0x7FFFFFFF)) return type;
    if ((type->GetSchema() & 0x80000000) == 0) return nullptr;
    RegistSchema(type, version);
    return type;
}

// The name alone decides; a module that is not there is loaded as a plug-in first. A path is not a module's name: a
// stream never chooses a file to be loaded.
ZvType* ZvBinaryCoder::ResolveType(const ZvString& name, const ZvString& module) {
    if (ZvSystem::FindModule(module.CStr()) == nullptr) {
        if (std::strpbrk(module.CStr(), "/\\") != nullptr || module.Empty())
            RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeType");
        ZvPlugin* plugin = nullptr;
        try {
            plugin = ZvSystem::LoadPlugin(ZvString$(new ZvString(module)));
        } catch (const ZvPluginUnloadedException&) {
            plugin = nullptr;                      // told in the coder's own form below
        }
        if (plugin == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeType");
    }
    ZvType* type = ZvSystem::FindType(name.CStr());
    if (type == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeType");
    return type;
}

// False for a definition whose names are not strings. Of two definitions of a type the first counts.
bool ZvBinaryCoder::DecodeLayout(ZvStream$& stream, Plan& plan) {
    LoadFields(plan);
    unsigned int count = 0;
    Read(stream, count);
    Layout stored;                                 // the count is believed as fast as fields arrive
    for (unsigned int i = 0; i < count; ++i) {
        const ZvString$ name = ZvObject$(DecodeObject(stream));
        if (!name) return false;
        ZvType* type = DecodeType(stream);
        ZvField$ field = plan.current->Find(name);
        if (field && field->Type() != type) field = nullptr;
        stored.push_back({field, ZvType$(type)});
    }
    if (!m_layouts) m_layouts = std::make_shared<Layouts>();
    plan.stored = &m_layouts->try_emplace(plan.type, std::move(stored)).first->second;
    return true;
}

ZvObject* ZvBinaryCoder::DecodeObject(ZvStream$& stream) {
    InputScope scope(m_in, stream);
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::DecodeObject");
    const unsigned char tag = ReadTag(stream);
    switch (tag) {
        case TagNull: return nullptr;
        case TagNewObject:
        case TagNewObjRef: return DecodeNew(stream);
        case TagNewType:
        case TagNewType1:
        case TagType:
        case TagType + 1:
        case TagType + 2:
        case TagType + 3: PushTag(tag); return DecodeType(stream);
        case TagObject:
        case TagObject + 1:
        case TagObject + 2:
        case TagObject + 3: break;
        default: RaiseCoder(Causes::BadTag, "ZvBinaryCoder::DecodeObject");
    }
    long long id = 0;
    Read(stream, static_cast<void*>(&id), tag - TagObject + 1u);
    ZvObject* object = RegisteredObject(id);
    if (object == nullptr) RaiseCoder(Causes::UnknownReference, "ZvBinaryCoder::DecodeObject");
    return object;
}

ZvObject* ZvBinaryCoder::DecodeNew(ZvStream$& stream) {
    if (StackIsLow()) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeObject");
    ZvType* type = DecodeType(stream);
    if (type == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeObject");
    Plan& plan = m_readPlans->Of(type);
    if (plan.kind == Kind::Serializable) return DecodeSerializable(stream, type);

    ZvObject* created = type->CreateObject();
    if (created == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeObject");
    if (IsTracked(type)) {
        try {
            RegisterObject(created);               // before the content, as in the writer; from here on the table owns it
        } catch (...) {
            const ZvObject$ dropped(created);
            throw;
        }
        DecodeContent(stream, created, plan);
        return created;
    }
    Building object(created);
    DecodeContent(stream, created, plan);
    return object.Done();
}

void ZvBinaryCoder::DecodeContent(ZvStream$& stream, ZvObject* object, Plan& plan) {
    if (plan.isReference) zvc::detail::AttachReference(object, m_channel);
    if (plan.kind == Kind::Codec)
        object->Decode(stream, this);
    else
        DecodeFields(stream, object, plan);
}

ZvObject* ZvBinaryCoder::DecodeSerializable(ZvStream$& stream, ZvType* type) {
    const ZvSerializationInfo$ info = ZvObject$(DecodeObject(stream));
    if (!info) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeObject");
    auto* values = new ZvPrimArray<ZvObject$>(1, nullptr);
    ZvArguments$ arguments = values;
    (*values)[0] = new ZvPrimitive<ZvObject$>(info);
    ZvObject* created = type->Construct(arguments);
    if (created == nullptr) RaiseCoder(Causes::TypeUnavailable, "ZvBinaryCoder::DecodeObject");
    if (IsTracked(type)) RegisterObject(created);
    return created;
}

void ZvBinaryCoder::DecodeFields(ZvStream$& stream, ZvObject* object, Plan& plan) {
    // A coder that knows the type from writing it has not read how the other side lays it out.
    if (plan.stored == nullptr && m_layouts) {
        const auto known = m_layouts->find(plan.type);
        if (known != m_layouts->end()) plan.stored = &known->second;
    }
    if (plan.stored == nullptr) RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::DecodeObject");
    const Layout& layout = *plan.stored;
    for (size_t i = 0; i < layout.size(); ++i) {
        const StoredField& stored = layout[i];
        if (stored.field) {
            stored.field->Decode(stream, this, object);
        } else if (stored.type) {
            const ZvObject$ dropped = stored.type->CreateObject();
            if (dropped) dropped->Decode(stream, this);
        }
    }
}

// ---- versions -----------------------------------------------------------------------------------------------------------

void ZvBinaryCoder::RegistSchema(ZvType* type, unsigned int version) {
    if (!m_versions) m_versions = std::make_shared<Versions>();
    m_versions->try_emplace(type, version);        // the first that differs wins
}

unsigned int ZvBinaryCoder::FindFileVersion(ZvType* type) {
    if (m_versions)
        if (const auto found = m_versions->find(type); found != m_versions->end()) return found->second;
    return type->GetSchema() & 0x7FFFFFFF;
}
