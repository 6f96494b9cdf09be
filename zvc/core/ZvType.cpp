#include "zvc/core/ZvType.h"

#include "zvc/core/ZvDeclare.h"
#include "zvc/core/ZvField.h"
#include "zvc/core/ZvMethod.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/core/ZvSystemState.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvString.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

struct ZvType::OffsetMap {
    std::vector<Entry> entries;                // in the order found
    std::vector<Entry> table;                  // by address, open addressing, a power of two

    const Entry* Find(const ZvType* type) const {
        for (const Entry& e : entries)
            if (e.type == type) return &e;
        return nullptr;
    }
    void Add(const ZvType* type, size_t offset) {
        if (Find(type) == nullptr) entries.push_back({type, offset});
    }
};

namespace {

// The class's name stands behind the first "class ", wherever that stands, so that the names which some compilers give
// to types can be handed over as they are. "class ZvHandle<class X>" keeps what is inside.
const char* CutName(const char* name) {
    const char* found = std::strstr(name, "class ");
    return found != nullptr ? found + 6 : name;
}

// A descriptor's cache is read without a lock, so that what somebody may be looking at stays: of two threads that build one,
// the first sets it and the other takes it.
ZvDictionary* SetFirst(std::atomic<ZvDictionary*>& cache, const ZvDictionary$& built) {
    ZvDictionary* there = nullptr;
    built->Retain();
    if (cache.compare_exchange_strong(there, built.Get(), std::memory_order_acq_rel, std::memory_order_acquire)) return built.Get();
    built->Release();
    return there;
}

void Set(std::atomic<ZvDictionary*>& cache, ZvDictionary* replacement) {
    if (replacement != nullptr) replacement->Retain();
    ZvDictionary* const old = cache.exchange(replacement, std::memory_order_acq_rel);
    if (old != nullptr) old->Release();
}

template <class Map>
Map* Call(Map* (*function)()) {
    return function != nullptr ? function() : nullptr;
}

}

ZvType::ZvType() : m_typeInfo(&typeid(ZvType)) {}

ZvType::ZvType(const ZvString$& name) : m_name(name), m_hasCodec(true), m_typeInfo(&typeid(ZvType)) {}

ZvType::ZvType(const char* name, size_t size, unsigned int schema, ZvObject* (*create)(), ZvBase* bases,
               ZvConstructorMap* constructors, ZvFieldMap* fields, ZvMethodMap* methods, bool hasCodec,
               const std::type_info& typeInfo, ZvModuleState* module, unsigned int classSpec)
    : m_size(size), m_schema(schema), m_create(create), m_bases(bases), m_constructorMap(constructors),
      m_fieldMap(fields), m_methodMap(methods), m_hasCodec(hasCodec), m_typeInfo(&typeInfo), m_module(module),
      m_classSpec(classSpec), m_registered(true) {
    if (name != nullptr) m_name = new ZvString(CutName(name));
    if (bases != nullptr)
        while (bases[m_baseCount].type != nullptr) ++m_baseCount;
    if (module != nullptr) module->RegistType(this);
    ZvSystem::RegistType(this);
    Retain();
}

ZvType::ZvType(const char* name, size_t size, ZvBase* bases, const std::type_info& typeInfo, ZvModuleState* module,
               const ZvTypeOptions& options)
    : ZvType(name, size, options.schema, options.create, bases, Call(options.constructors), Call(options.fields),
             Call(options.methods), options.codec, typeInfo, module, options.spec) {
    m_identity = options.identity;
}

ZvType::ZvType(const ZvType& other)
    : ZvObject(other), m_name(other.m_name), m_size(other.m_size), m_schema(other.m_schema), m_create(other.m_create),
      m_baseCount(other.m_baseCount), m_bases(other.m_bases), m_constructorMap(other.m_constructorMap),
      m_fieldMap(other.m_fieldMap), m_methodMap(other.m_methodMap), m_hasCodec(other.m_hasCodec),
      m_nextInModule(other.m_nextInModule), m_typeInfo(other.m_typeInfo), m_module(other.m_module),
      m_classSpec(other.m_classSpec), m_offsets(other.m_offsets), m_identity(other.m_identity), m_compiled(other.m_compiled.load()),
      m_depth(other.m_depth.load()), m_table(other.m_table), m_tableMask(other.m_tableMask) {
    Set(m_fieldCache, other.m_fieldCache.load());
    Set(m_methodCache, other.m_methodCache.load());
    // In its own line the copy stands in the source's place.
    for (unsigned int i = 0; i < LineLength; ++i) {
        const ZvType* entry = other.m_line[i].load();
        m_line[i].store(entry == &other ? this : entry);
    }
}

ZvType::~ZvType() {
    auto& state = ZvSystemState::Get();
    // Empty descriptors and copies are not in the registry, unless somebody has put them there.
    if (m_registered || (!state.closing && ZvSystem::FindType(m_name) == this)) {
        ZvSystem::UnregistType(this);
        // Our methods go now, whoever has cached them: the map brings their counts down to its own table.
        if (m_methodMap != nullptr && m_methodMap->GetNumMethod() != 0)
            for (auto& [name, type] : state.types) Set(type->m_methodCache, nullptr);
    }
    Set(m_fieldCache, nullptr);
    Set(m_methodCache, nullptr);
    if (m_ownsOffsets) delete m_offsets;
}

ZvType* ZvType::GetType() const { return &s_type; }

ZvString$ ZvType::ToString() const {
    ZvString$ text = new ZvString;
    text->Format("address[0x%p] name = %s base = %s fieldMap = 0x%p", static_cast<const void*>(this), m_name->CStr(),
                 m_bases[0].type->GetName()->CStr(), static_cast<const void*>(m_fieldMap));
    return text;
}

ZvBase* ZvType::GetBaseArray() {
    static ZvBase s_table[] = {ZvBase(&ZvObject::s_type, 0), ZvBase()};
    return s_table;
}

ZvType* ZvType::GetBaseType() const {
    if (IsInterface() || m_bases == nullptr) return nullptr;
    return m_bases[0].type;
}

ZvObject* ZvType::CreateObject() { return m_create != nullptr ? m_create() : nullptr; }

size_t ZvType::CalcOffsetSlow(const ZvType* t) const {
    if (m_baseCount == 0) return ZvNoOffset;
    auto* self = const_cast<ZvType*>(this);      // the map is a cache: compiling changes nothing that callers see
    {
        ZvLock lock(this);
        while (!m_compiled.load(std::memory_order_relaxed)) {
            self->Compile();
            self->m_compiled.store(true, std::memory_order_release);
        }
    }
    return OffsetOf(*t);
}

void ZvType::Compile() {
    if (m_compiled.load(std::memory_order_acquire)) return;
    if (m_ownsOffsets) delete m_offsets;
    m_offsets = new OffsetMap;
    m_ownsOffsets = true;
    for (unsigned int i = 0; i < m_baseCount; ++i) m_offsets->Add(m_bases[i].type, m_bases[i].offset);
    for (unsigned int i = 0; i < m_baseCount; ++i) CompileBaseOffset(m_bases[i], 0);
    BuildTable();
}

void ZvType::CompileBaseOffset(ZvBase& base, size_t offset) {
    ZvBase* bases = base.type->m_bases;
    if (bases == nullptr) return;
    if (m_offsets == nullptr) {
        m_offsets = new OffsetMap;
        m_ownsOffsets = true;
    }
    for (ZvBase* c = bases; c->type != nullptr; ++c) m_offsets->Add(c->type, c->offset + base.offset + offset);
    for (ZvBase* c = bases; c->type != nullptr; ++c) CompileBaseOffset(*c, offset + base.offset);
}

// The chain of first bases, as far as it lies at offset 0, becomes the line, the root first; every other ancestor comes
// into the table. A type's depth is the same in every line that it stands in.
void ZvType::BuildTable() {
    std::vector<const ZvType*> chain{this};
    bool inLine = true;
    while (const ZvBase* first = chain.back()->m_bases) {
        if (first->type == nullptr) break;
        inLine = inLine && first->offset == 0;
        chain.push_back(first->type);
    }
    const auto depthOf = [&](size_t i) { return chain.size() - 1 - i; };
    const ZvType* line[LineLength] = {};
    for (size_t i = 0; inLine && i < chain.size(); ++i) {
        const size_t depth = depthOf(i);
        chain[i]->m_depth.store(static_cast<unsigned int>(depth < LineLength ? depth : LineLength), std::memory_order_relaxed);
        if (depth < LineLength) line[depth] = chain[i];
    }

    std::vector<Entry> rest;
    for (const Entry& e : m_offsets->entries) {
        const bool standsInLine = std::find(std::begin(line), std::end(line), e.type) != std::end(line);
        if (!standsInLine || e.offset != 0) rest.push_back(e);
        if (standsInLine && e.offset != 0) *std::find(std::begin(line), std::end(line), e.type) = nullptr;
    }
    for (size_t i = 0; i < LineLength; ++i) m_line[i].store(line[i], std::memory_order_relaxed);
    m_lineIsAll.store(rest.empty() && inLine && chain.size() <= LineLength, std::memory_order_release);
    if (rest.empty()) return;

    size_t slots = 4;
    while (slots < rest.size() * 3) slots *= 2;
    m_offsets->table.assign(slots, Entry{nullptr, 0});
    for (const Entry& e : rest) {
        size_t i = Slot(e.type) & (slots - 1);
        while (m_offsets->table[i].type != nullptr) i = (i + 1) & (slots - 1);
        m_offsets->table[i] = e;
    }
    m_table = m_offsets->table.data();
    m_tableMask = slots - 1;
}

inline ZvDictionary* ZvType::FieldCache() const {
    ZvDictionary* const cache = m_fieldCache.load(std::memory_order_acquire);
    return cache != nullptr ? cache : SetFirst(m_fieldCache, BuildFieldCache());
}

ZvDictionary* ZvType::MethodCache() const {
    ZvDictionary* const cache = m_methodCache.load(std::memory_order_acquire);
    return cache != nullptr ? cache : CreateMethodCache().Get();
}

ZvDictionary$ ZvType::GetFields() { return FieldCache(); }

// Of so few entries a look at each takes less time than a hash.
static constexpr size_t Few = 16;

ZvField$ ZvType::FindField(const ZvString$& name) {
    const auto& fields = FieldCache()->m_table;
    const zvc::detail::HashTable::Node* entry = nullptr;
    // Most ask by the interned name itself.
    if (fields.Count() <= Few) entry = fields.FindWhere([&](const ZvObject* key) { return key == name.Get(); });
    if (entry == nullptr) entry = fields.Find(name);
    return entry != nullptr ? ZvField$(entry->value) : ZvField$();
}

ZvDictionary$ ZvType::GetFieldValues(const ZvObject* o) {
    ZvDictionary$ values = new ZvDictionary;
    ZvIDictionaryEnumerator$ e = GetFields()->GetEnumerator();
    while (e->HasNext()) {
        ZvField$ field = e->Value();
        values->operator[](e->Key()) = field->GetValue(o);
        e->Next();
    }
    return values;
}

ZvDictionary$ ZvType::BuildFieldCache() const {
    ZvDictionary$ cache = new ZvDictionary;
    // From the class upward, each map replacing what is there: of two equal names the base's field wins.
    for (const ZvType* t = this; t != nullptr; t = t->m_bases != nullptr ? t->m_bases[0].type : nullptr)
        if (t->m_fieldMap != nullptr) t->m_fieldMap->GetFieldInfos(cache);
    return cache;
}

ZvDictionary$ ZvType::CreateFieldCache() const {
    ZvDictionary$ cache = BuildFieldCache();
    Set(m_fieldCache, cache.Get());
    return cache;
}

ZvDictionary$ ZvType::CreateMethodCache() const {
    if (ZvDictionary* const there = m_methodCache.load(std::memory_order_acquire)) return there;
    ZvDictionary$ cache = new ZvDictionary;
    // Of two equal signatures the first added stays, which is the class's own.
    for (const ZvType* t = this; t != nullptr; t = t->m_bases != nullptr ? t->m_bases[0].type : nullptr) {
        if (t->m_methodMap == nullptr) continue;
        ZvMethod$* methods = t->m_methodMap->GetMethods();
        for (unsigned int i = 0; i < t->m_methodMap->GetNumMethod(); ++i) cache->Add(methods[i], methods[i]);
    }
    return SetFirst(m_methodCache, cache);
}

// As the cache would find a key made of the three, but without making one: calls by name are many.
ZvMethod$ ZvType::Find(const ZvString$& name, ZvType$ result, const ZvArguments$& args) {
    const auto& methods = MethodCache()->m_table;
    const auto matches = [&](const ZvObject* key) {
        return key != nullptr && key->IsKindOf(&ZvMethod::s_type) &&
               static_cast<const ZvMethod*>(key)->Matches(name.Get(), result.Get(), args);
    };
    const auto* entry = methods.Count() <= Few
                            ? methods.FindWhere(matches)
                            : methods.FindLike(ZvMethod::HashOf(name.Get(), result.Get(), args), matches);
    return entry != nullptr ? ZvMethod$(entry->value) : ZvMethod$();
}

ZvObject* ZvType::Construct(ZvArguments$ args) {
    if (m_constructorMap == nullptr) return nullptr;
    const ZvConstructor key(args);
    ZvConstructor$* constructors = m_constructorMap->GetConstructors();
    for (unsigned int i = 0; i < m_constructorMap->GetNumConstructors(); ++i)
        if (*constructors[i] == key) return constructors[i]->Create(args);
    return nullptr;
}
