#include "zvc/values/ZvPrimitive.h"

#include "zvc/core/ZvDeclare.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvSequence.h"
#include "zvc/values/ZvVoid.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <type_traits>

ZV_DEFINE_CLASS(ZvValue, (ZvObject))

ZvValue::~ZvValue() = default;
unsigned long long ZvValue::Count() const { return 1; }

using zvc::detail::KindNumber;
using zvc::detail::Shape;

namespace {

template <class T> constexpr bool IsHandle = std::is_same_v<T, ZvObject$> || std::is_same_v<T, ZvInterface$>;
template <class T> constexpr bool IsReference = IsHandle<T> || std::is_pointer_v<T>;
template <class T> constexpr bool IsInterfaceKind = std::is_same_v<T, ZvInterface$> || std::is_same_v<T, ZvInterface*>;
template <class T> constexpr bool IsComposite = std::is_class_v<T> && !IsHandle<T>;
template <class T> using ScalarOf = typename Shape<T>::Scalar;

template <class T>
const ScalarOf<T>* Elements(const T& value) {
    return reinterpret_cast<const ScalarOf<T>*>(&value);
}
template <class T>
ScalarOf<T>* Elements(T& value) {
    return reinterpret_cast<ScalarOf<T>*>(&value);
}

template <class T>
T DefaultOf() {
    if constexpr (IsReference<T>) {
        return nullptr;
    } else if constexpr (requires(T t) { t.axis; }) {
        return T{0, {1, 0, 0}};
    } else {
        T value{};
        if constexpr (Shape<T>::count == 9 || Shape<T>::count == 16) {
            constexpr int side = Shape<T>::count == 9 ? 3 : 4;
            for (int i = 0; i < side; ++i) value.m[i][i] = 1;
        }
        return value;
    }
}

/// The folding of sequences: multiply by the prime, exclusive-or the element.
size_t Fold(size_t h, uint64_t element) { return h * 16777619 ^ element; }

template <class T>
uint64_t HashElement(T e) {
    if constexpr (std::is_integral_v<T>)
        return static_cast<uint64_t>(static_cast<int64_t>(e));
    else
        return zvc::detail::TruncateToU64(e);
}

/// The byte of a bool: a caller's may be there, which is neither 0 nor 1.
unsigned char ByteOf(const bool& v) {
    unsigned char byte;
    std::memcpy(&byte, &v, sizeof byte);
    return byte;
}

template <class T>
size_t HashOf(const T& v) {
    if constexpr (std::is_same_v<T, bool>) {
        return ByteOf(v) != 0 ? 1231 : 1237;
    } else if constexpr (std::is_same_v<T, float>) {
        return std::bit_cast<uint32_t>(v);
    } else if constexpr (std::is_same_v<T, long long>) {
        return static_cast<size_t>((v >> 32) ^ v);
    } else if constexpr (std::is_same_v<T, unsigned long long> || std::is_same_v<T, double>) {
        const auto bits = std::bit_cast<uint64_t>(v);
        return (bits >> 32) ^ bits;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<size_t>(static_cast<int64_t>(v)) ^ 0xDEADBEEF;      // a signed one is extended by its sign
    } else if constexpr (IsInterfaceKind<T>) {
        if constexpr (IsHandle<T>)
            return reinterpret_cast<uintptr_t>(v.Get());
        else
            return reinterpret_cast<uintptr_t>(v);
    } else if constexpr (IsReference<T>) {
        const ZvObject* held;
        if constexpr (IsHandle<T>)
            held = v.Get();
        else
            held = v;
        zvc::detail::NestedWalk walk("ZvPrimitive::GetHashCode");
        return zvc::detail::Needed(held, "ZvPrimitive::GetHashCode")->GetHashCode();
    } else {
        size_t h = 0x811C9DC5;
        for (int i = 0; i < Shape<T>::count; ++i) h = Fold(h, HashElement(Elements(v)[i]));
        return h;
    }
}

template <class T>
bool EqualValues(const T& a, const T& b) {
    if constexpr (std::is_floating_point_v<T>) {
        return !(a < b) && !(a > b);
    } else if constexpr (std::is_same_v<T, bool>) {
        return ByteOf(a) == ByteOf(b);
    } else if constexpr (IsComposite<T>) {
        for (int i = 0; i < Shape<T>::count; ++i)
            if (Elements(a)[i] < Elements(b)[i] || Elements(a)[i] > Elements(b)[i]) return false;
        return true;
    } else {
        return a == b;
    }
}

}

template <class T> ZvBase* ZvPrimitive<T>::GetBases() {
    static zvc::detail::BaseTable<ZvPrimitive<T>, ZvValue> s_table;
    return s_table.entries;
}
template <class T> long ZvPrimitive<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvPrimitive<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvPrimitive<T>::Release() { ZvObject::Release(); }
template <class T> ZvPrimitive<T>::ZvPrimitive() noexcept : value(DefaultOf<T>()) {}

template <class T>
ZvObject* ZvPrimitive<T>::CreateInstance() {
    void* block = std::malloc(sizeof(ZvPrimitive));                // the class's own new would raise
    return block != nullptr ? new (block) ZvPrimitive : nullptr;
}

template <class T>
ZvObject* ZvPrimitive<T>::CreateFromPtr(void* source, unsigned int) {
    return new ZvPrimitive(*static_cast<const T*>(source));
}

template <class T>
ZvValue$ ZvPrimitive<T>::Parse(const ZvString$& text) {
    if constexpr (IsReference<T>) {
        return nullptr;
    } else if constexpr (std::is_same_v<T, bool>) {
        const bool isTrue = *text == "true";
        if (!isTrue && *text != "false") return nullptr;
        return new ZvPrimitive(isTrue);
    } else {
        std::istringstream in(text->CStr());
        T parsed = DefaultOf<T>();
        for (int i = 0; i < Shape<T>::count; ++i) {
            if constexpr (std::is_same_v<T, unsigned char>) {
                char c = 0;
                in >> c;
                parsed = static_cast<unsigned char>(c);
            } else {
                in >> Elements(parsed)[i];
            }
        }
        if (in.fail()) return nullptr;
        return new ZvPrimitive(parsed);
    }
}

template <class T> size_t ZvPrimitive<T>::GetHashCode() const { return HashOf(value); }

template <class T>
bool ZvPrimitive<T>::Equals(const ZvObject* other) const {
    if (other == this) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return EqualValues(value, static_cast<const ZvPrimitive*>(other)->value);
}

template <class T> ZvObject* ZvPrimitive<T>::Clone() const { return new ZvPrimitive(*this); }

template <class T>
ZvString$ ZvPrimitive<T>::ToString() const {
    if constexpr (IsInterfaceKind<T>) {
        return nullptr;
    } else if constexpr (IsReference<T>) {
        return value->ToString();
    } else if constexpr (std::is_same_v<T, bool>) {
        return new ZvString(ByteOf(value) != 0 ? "1" : "0");
    } else {
        std::ostringstream out;
        for (int i = 0; i < Shape<T>::count; ++i) {
            if (i != 0) out << ' ';
            out << Elements(value)[i];
        }
        out << std::ends;
        return new ZvString(out.str().c_str());
    }
}

template <class T>
void ZvPrimitive<T>::Encode(ZvStream$& stream, ZvCoder* coder) const {
    if constexpr (std::is_same_v<T, bool>)
        coder->Write(stream, ByteOf(value) != 0);
    else
        coder->Write(stream, value);
}

template <class T> void ZvPrimitive<T>::Decode(ZvStream$& stream, ZvCoder* coder) { coder->Read(stream, value); }

template <class T>
bool ZvPrimitive<T>::SetValue(const void* source, ZvValueType type, int) {
    return zvc::detail::SetFrom(value, source, type);
}
template <class T>
bool ZvPrimitive<T>::GetValue(void* target, ZvValueType type, int) const {
    return zvc::detail::GetTo(value, target, type);
}

// The registered names. They stand in files.
#define ZV_BOX(name, ...)                                                                                             \
    template <> ZvType ZvPrimitive<__VA_ARGS__>::s_type(                                                              \
        name, sizeof(ZvPrimitive<__VA_ARGS__>), ZvPrimitive<__VA_ARGS__>::GetBases(), typeid(__VA_ARGS__), ZvThisModule(), \
        {.schema = 1, .spec = ZvType::SpecPrimitive, .codec = true, .create = &ZvPrimitive<__VA_ARGS__>::CreateInstance}); \
    template class ZvPrimitive<__VA_ARGS__>;

ZV_BOX("ZvBoolean", bool)
ZV_BOX("ZvSByte", char)
ZV_BOX("ZvByte", unsigned char)
ZV_BOX("ZvInt16", short)
ZV_BOX("ZvUInt16", unsigned short)
ZV_BOX("ZvInt32", int)
ZV_BOX("ZvUInt32", unsigned int)
ZV_BOX("ZvInt64", long long)
ZV_BOX("ZvUInt64", unsigned long long)
ZV_BOX("ZvFloat", float)
ZV_BOX("ZvDouble", double)
ZV_BOX("ZvVec2i", CG::vec2<int>)
ZV_BOX("ZvVec2f", CG::vec2<float>)
ZV_BOX("ZvVec2d", CG::vec2<double>)
ZV_BOX("ZvVec3i", CG::vec3<int>)
ZV_BOX("ZvVec3f", CG::vec3<float>)
ZV_BOX("ZvVec3d", CG::vec3<double>)
ZV_BOX("ZvVec4i", CG::vec4<int>)
ZV_BOX("ZvVec4f", CG::vec4<float>)
ZV_BOX("ZvVec4d", CG::vec4<double>)
ZV_BOX("ZvMat3f", CG::mat3<float>)
ZV_BOX("ZvMat3d", CG::mat3<double>)
ZV_BOX("ZvMat4f", CG::mat4<float>)
ZV_BOX("ZvMat4d", CG::mat4<double>)
ZV_BOX("ZvRotf", CG::rotation<float>)
ZV_BOX("ZvRotd", CG::rotation<double>)
ZV_BOX("ZvColor", zvcolor)
ZV_BOX("ZvObjectRef", ZvObject$)
ZV_BOX("ZvObjectPtr", ZvObject*)
ZV_BOX("ZvInterfaceRef", ZvInterface$)
ZV_BOX("ZvInterfacePtr", ZvInterface*)

#include "zvc/values/ZvElements.inc"

ZvType* ZvValue::FindType(ZvValueType type) {
    if (type == ZvVtVoid) return &ZvVoid::s_type;
#define ZV_FIND(...) if (type == KindNumber<__VA_ARGS__>) return &ZvPrimitive<__VA_ARGS__>::s_type;
    ZV_ELEMENTS_PLAIN(ZV_FIND)
    ZV_FIND(ZvObject$)
    ZV_FIND(ZvObject*)
#undef ZV_FIND
    return nullptr;
}

ZvType* ZvValue::FindArrayType(ZvValueType type) {
    if (type == ZvVtVoid) return &ZvVoid::s_type;
#define ZV_FIND(...) if (type == KindNumber<__VA_ARGS__>) return &ZvPrimArray<__VA_ARGS__>::s_type;
    ZV_ELEMENTS_PLAIN(ZV_FIND)
    ZV_FIND(ZvObject$)
    ZV_FIND(ZvObject*)
#undef ZV_FIND
    return nullptr;
}
