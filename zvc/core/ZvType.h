#pragma once

#include "zvc/core/ZvHandle.h"

#include <atomic>
#include <cstdint>
#include <typeinfo>

class ZvConstructorMap;
class ZvFieldMap;
class ZvMethodMap;
class ZvTraverser;
struct ZvModuleState;
template <class T> class ZV_API ZvPrimArray;

/// The argument array of every reflected call.
using ZvArguments$ = ZvHandle<ZvPrimArray<ZvObject$>, ZvArrayValue$>;

/// What a class states about itself beyond its name and bases; the options of ZV_DEFINE_CLASS.
struct ZvTypeOptions {
    unsigned int schema = 0x80000001;                 ///< see ZvType
    unsigned int spec = 1;                            ///< ZvType::Spec bits
    bool codec = false;                               ///< codes itself by Encode and Decode
    ZvObject* (*create)() = nullptr;                  ///< makes an object by name
    ZvConstructorMap* (*constructors)() = nullptr;
    ZvFieldMap* (*fields)() = nullptr;
    ZvMethodMap* (*methods)() = nullptr;
    bool identity = false;                            ///< compared by identity; ZV_DEFINE_CLASS finds out by itself
};

/// Descriptor of a reflected class: one static object per class, made before any user code runs and registered by name.
///
/// The schema word is the class's stream version in its low 31 bits; the top bit says that the class reads older
/// versions too. 0x80000001 is version 1 with tolerance, 1 is version 1 with exact match, 0 is never stored.
///
/// A descriptor is immutable after its construction but for the map of its ancestors and two caches. The map is built
/// under the descriptor's own lock; the caches are built without one: two threads that meet an unbuilt cache may both build
/// it, and one of the two stays.
class ZV_API ZvType : public ZvObject {
public:
    /// Kind bits of the class-spec word.
    enum Spec : unsigned int {
        SpecClass = 0x1,
        SpecPrimitive = 0x2,          ///< a value family
        SpecArray = 0x4,              ///< with SpecPrimitive: an array family
        SpecInterface = 0x8,
        SpecMethod = 0x10,
        SpecMarshalByRef = 0x20,      ///< crosses a channel as a reference; always tracked by coders
        SpecOpaque = 0x40,            ///< a proxy must not stand in for it
        SpecConstructor = 0x80,
        SpecAsyncDeletion = 0x100
    };

    /// An empty descriptor: no name, run-time type ZvType, not registered.
    ZvType();

    /// A named empty descriptor: everything 0 or null but the codec flag, which is true; not registered.
    explicit ZvType(const ZvString$& name);

    /// The working form. name is cut behind the first "class " that it holds ("class Mesh" gives "Mesh"); bases ends with
    /// a null type. Links the descriptor at the head of module's list, sets the registry entry of the name (the last of
    /// two equal names wins) and retains the descriptor once, so that handles never delete it.
    ZvType(const char* name, size_t size, unsigned int schema, ZvObject* (*create)(), ZvBase* bases,
           ZvConstructorMap* constructors, ZvFieldMap* fields, ZvMethodMap* methods, bool hasCodec,
           const std::type_info& typeInfo, ZvModuleState* module, unsigned int classSpec);

    /// The same from a class's options: what ZV_DEFINE_CLASS uses.
    ZvType(const char* name, size_t size, ZvBase* bases, const std::type_info& typeInfo, ZvModuleState* module,
           const ZvTypeOptions& options);

    /// Copies every field; handles and the ancestor map are shared. The copy is not registered.
    ZvType(const ZvType& other);
    ~ZvType() override;

    ZvType* GetType() const override;

    /// "address[0x%p] name = %s base = %s fieldMap = 0x%p". Only for a type with a base.
    ZvString$ ToString() const override;

    const ZvString$& GetName() const { return m_name; }
    unsigned int GetSchema() const { return m_schema; }
    unsigned int GetBaseCount() const { return m_baseCount; }
    ZvBase* GetBases() { return m_bases; }
    const ZvBase* GetBases() const { return m_bases; }
    ZvFieldMap* GetFieldMap() const { return m_fieldMap; }
    ZvMethodMap* GetMethodMap() const { return m_methodMap; }
    bool HasCodec() const { return m_hasCodec; }
    const std::type_info& TypeID() const { return *m_typeInfo; }
    ZvModuleState* GetModule() const { return m_module; }
    unsigned int GetClassSpec() const { return m_classSpec; }
    bool IsPrimitive() const { return (m_classSpec & SpecPrimitive) != 0; }
    bool IsMarshalByRef() const { return (m_classSpec & SpecMarshalByRef) != 0; }
    bool IsTransparent() const { return (m_classSpec & SpecOpaque) == 0; }
    bool IsInterface() const { return (m_classSpec & SpecInterface) != 0; }
    bool IsAsyncNeedDeletion() const { return (m_classSpec & SpecAsyncDeletion) != 0; }

    /// Whether o, of this class, compares by identity: nothing overrides GetHashCode and Equals of ZvObject. False in doubt.
    bool ComparesByIdentity(const ZvObject* o) const { return m_identity && typeid(*o) == *m_typeInfo; }

    /// The descriptor behind this one in its module's list, newest first; null at the end.
    ZvType* NextInModule() const { return m_nextInModule; }

    /// The base table of ZvType itself.
    static ZvBase* GetBaseArray();

    /// The primary base; null for an interface and for a class without bases.
    ZvType* GetBaseType() const;

    /// A new object with count 0; null when the class has no factory.
    ZvObject* CreateObject();

    /// Offset of the base t within this class, 0 for the class itself, all ones when t is no base. Any thread; after
    /// the first call without a lock and without allocation.
    size_t CalcOffset(const ZvType* t) const { return t == nullptr ? ZvNoOffset : OffsetOf(*t); }

    /// CalcOffset differs from all ones. A class is derived from itself.
    bool IsDerivedFrom(const ZvType* t) const { return CalcOffset(t) != ZvNoOffset; }

    /// Fill the map of ancestors: direct bases first, then depth first; an entry never changes once set, so that a base
    /// reached twice keeps the offset of the object branch. The first CalcOffset does it; what is added by hand is gone then,
    /// and behind it is not looked at.
    void Compile();
    void CompileBaseOffset(ZvBase& base, size_t offset);

    /// Name to field, own and inherited (clones of the table's fields); built when missing. A base's field replaces an
    /// equally named one of the class.
    ZvDictionary$ GetFields();
    ZvField$ FindField(const ZvString$& name);
    ZvDictionary$ GetFieldValues(const ZvObject* o);
    /// Builds it anew, in place of what was there: not while another thread uses the fields.
    ZvDictionary$ CreateFieldCache() const;

    /// The method with exactly this name, result and arguments, own or inherited; null when there is none.
    ZvMethod$ Find(const ZvString$& name, ZvType$ result, const ZvArguments$& args);
    /// Method to method, own and inherited; built when missing.
    ZvDictionary$ CreateMethodCache() const;

    /// A new object by the constructor that takes exactly args; null without a match. Bases are not searched.
    ZvObject* Construct(ZvArguments$ args);

    /// The fields' part of a walk over the objects behind o.
    void Traverse(ZvTraverser& traverser, ZvObject$& o);

    static ZvType s_type;

private:
    friend struct ZvModuleState;
    friend ZvObject* zvc::detail::CastObject(ZvObject*, const ZvType&);

    // Ancestors at offset 0 on the object branch stand in a line by depth; all others in a small table by address.
    struct Entry { const ZvType* type; size_t offset; };
    struct OffsetMap;
    static constexpr unsigned int LineLength = 10;

    // CalcOffset on what is no null. An entry of the line never changes once it is set, so that a hit needs nothing else;
    // a miss is final where the line was complete before we looked at it.
    size_t OffsetOf(const ZvType& t) const {
        const bool lineIsAll = m_lineIsAll.load(std::memory_order_acquire);
        if (m_line[t.m_depth.load(std::memory_order_relaxed)].load(std::memory_order_relaxed) == &t) return 0;
        return lineIsAll ? ZvNoOffset : OffsetBesideLine(&t);
    }
    size_t OffsetBesideLine(const ZvType* t) const {
        if (t == this) return 0;
        return m_compiled.load(std::memory_order_acquire) ? Probe(t) : CalcOffsetSlow(t);
    }
    size_t Probe(const ZvType* t) const {
        if (m_tableMask == 0) return ZvNoOffset;
        for (size_t i = Slot(t) & m_tableMask;; i = (i + 1) & m_tableMask) {
            const Entry& e = m_table[i];
            if (e.type == t) return e.offset;
            if (e.type == nullptr) return ZvNoOffset;
        }
    }
    static size_t Slot(const ZvType* t) {
        auto a = reinterpret_cast<uintptr_t>(t);
        return static_cast<size_t>((a >> 4) ^ (a >> 9));
    }
    size_t CalcOffsetSlow(const ZvType* t) const;
    void BuildTable();
    ZvDictionary$ BuildFieldCache() const;
    ZvDictionary* FieldCache() const;
    ZvDictionary* MethodCache() const;

    ZvString$ m_name;
    size_t m_size = 0;
    unsigned int m_schema = 0;
    ZvObject* (*m_create)() = nullptr;
    unsigned int m_baseCount = 0;
    ZvBase* m_bases = nullptr;
    ZvConstructorMap* m_constructorMap = nullptr;
    ZvFieldMap* m_fieldMap = nullptr;
    ZvMethodMap* m_methodMap = nullptr;
    bool m_hasCodec = false;
    ZvType* m_nextInModule = nullptr;
    const std::type_info* m_typeInfo = nullptr;
    ZvModuleState* m_module = nullptr;
    unsigned int m_classSpec = 0;
    OffsetMap* m_offsets = nullptr;            // everything Compile found
    bool m_identity = false;
    bool m_registered = false;                 // a working descriptor, not an empty one or a copy
    std::atomic<bool> m_compiled{false};
    bool m_ownsOffsets = false;                // m_offsets is of our making: a copy shares the map that it came with
    mutable std::atomic<unsigned int> m_depth{0};
    std::atomic<bool> m_lineIsAll{false};      // compiled, and every ancestor stands in the line, the class itself too
    std::atomic<const ZvType*> m_line[LineLength + 1] = {};  // one entry more, always null, for types deeper than the line
    const Entry* m_table = nullptr;
    size_t m_tableMask = 0;
    mutable std::atomic<ZvDictionary*> m_fieldCache{nullptr};    // counted, and read without a lock
    mutable std::atomic<ZvDictionary*> m_methodCache{nullptr};
};

inline ZvObject* zvc::detail::CastObject(ZvObject* o, const ZvType& type) {
    return o != nullptr && o->GetType()->OffsetOf(type) != ZvNoOffset ? o : nullptr;
}
