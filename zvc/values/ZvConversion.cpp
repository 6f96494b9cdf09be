#include "zvc/values/ZvConversion.h"

#include <cstring>
#include <emmintrin.h>
#include <type_traits>

namespace zvc::detail {

int TruncateTo32(double value) { return _mm_cvttsd_si32(_mm_set_sd(value)); }
long long TruncateTo64(double value) { return _mm_cvttsd_si64(_mm_set_sd(value)); }

unsigned long long TruncateToU64(double value) {
    constexpr double half = 9223372036854775808.0;
    if (value >= half) return static_cast<unsigned long long>(TruncateTo64(value - half)) + (1ull << 63);
    return static_cast<unsigned long long>(TruncateTo64(value));
}

namespace {

template <class T>
T Load(const void* source) {
    T value;
    std::memcpy(&value, source, sizeof value);
    return value;
}

template <class T>
void Store(void* target, T value) {
    std::memcpy(target, &value, sizeof value);
}

/// One scalar to another. bool is handled by its callers as the byte that it is stored in.
template <class To, class From>
To Convert(From value) {
    if constexpr (std::is_same_v<To, From>) {
        return value;
    } else if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        const double wide = value;
        if constexpr (std::is_same_v<To, unsigned long long>)
            return TruncateToU64(wide);
        else if constexpr (std::is_same_v<To, long long> || std::is_unsigned_v<To>)
            return static_cast<To>(TruncateTo64(wide));
        else
            return static_cast<To>(TruncateTo32(wide));
    } else if constexpr (std::is_same_v<From, unsigned long long> && std::is_floating_point_v<To>) {
        // As a signed number, and 2^64 on top where that came out negative: two roundings, as the machine does it.
        const auto to = static_cast<To>(static_cast<long long>(value));
        return (value >> 63) != 0 ? to + static_cast<To>(18446744073709551616.0) : to;
    } else {
        return static_cast<To>(value);
    }
}

template <class From>
bool ToBool(From value) {
    if constexpr (std::is_floating_point_v<From>)
        return value < 0 || value > 0;               // a NaN is neither
    else
        return value != 0;
}

template <class To, class From>
To FromStored(const void* source) {
    if constexpr (std::is_same_v<From, bool>)
        return static_cast<To>(Load<unsigned char>(source));
    else
        return Convert<To>(Load<From>(source));
}

/// Calls f with a null pointer of the scalar type that the kind names; false for any other kind.
template <class F>
bool WithScalar(ZvValueType type, F f) {
    switch (static_cast<int>(type)) {
        case ZvVtBoolean: f(static_cast<bool*>(nullptr)); return true;
        case ZvVtSByte: f(static_cast<char*>(nullptr)); return true;
        case ZvVtByte: f(static_cast<unsigned char*>(nullptr)); return true;
        case ZvVtInt16: f(static_cast<short*>(nullptr)); return true;
        case ZvVtUInt16: f(static_cast<unsigned short*>(nullptr)); return true;
        case ZvVtInt32: f(static_cast<int*>(nullptr)); return true;
        case ZvVtUInt32: f(static_cast<unsigned int*>(nullptr)); return true;
        case ZvVtInt64: f(static_cast<long long*>(nullptr)); return true;
        case ZvVtUInt64: f(static_cast<unsigned long long*>(nullptr)); return true;
        case ZvVtFloat: f(static_cast<float*>(nullptr)); return true;
        case ZvVtDouble: f(static_cast<double*>(nullptr)); return true;
        default: return false;
    }
}

template <class T>
bool SetScalar(T& target, const void* source, ZvValueType type) {
    return WithScalar(type, [&](auto* tag) {
        using From = std::remove_pointer_t<decltype(tag)>;
        if constexpr (std::is_same_v<T, bool>) {
            if constexpr (std::is_same_v<From, bool>)
                std::memcpy(&target, source, 1);     // whatever byte stands there: meant so
            else
                target = ToBool(Load<From>(source));
        } else if constexpr (sizeof(T) == 1 && std::is_integral_v<From>) {
            target = Load<T>(source);                // the first byte of whatever integer stands there
        } else {
            target = FromStored<T, From>(source);
        }
    });
}

template <class T>
bool GetScalar(const T& value, void* target, ZvValueType type) {
    return WithScalar(type, [&](auto* tag) {
        using To = std::remove_pointer_t<decltype(tag)>;
        if constexpr (std::is_same_v<T, bool>) {
            const auto byte = Load<unsigned char>(&value);
            if constexpr (sizeof(To) == 1)
                Store(target, byte);
            else
                Store(target, static_cast<To>(byte));
        } else if constexpr (std::is_same_v<To, bool>) {
            Store(target, static_cast<unsigned char>(ToBool(value) ? 1 : 0));
        } else {
            Store(target, Convert<To>(value));
        }
    });
}

/// Scalars of one shape in two element types, one after the other.
template <class To, class From>
void ConvertElements(void* target, const void* source, int count) {
    for (int i = 0; i < count; ++i)
        Store(static_cast<char*>(target) + static_cast<size_t>(i) * sizeof(To),
              Convert<To>(Load<From>(static_cast<const char*>(source) + static_cast<size_t>(i) * sizeof(From))));
}

/// The kinds of a shape: one per element type that the shape has.
template <template <class> class Family, class F>
bool WithFamily(ZvValueType type, F f) {
    if constexpr (KindNumber<Family<int>> != ZvVtInterface)
        if (type == KindNumber<Family<int>>) return f(static_cast<int*>(nullptr)), true;
    if (type == KindNumber<Family<float>>) return f(static_cast<float*>(nullptr)), true;
    if (type == KindNumber<Family<double>>) return f(static_cast<double*>(nullptr)), true;
    return false;
}

template <class T, class F> bool WithKindOf(const T*, ZvValueType, F) { return false; }
template <class E, class F> bool WithKindOf(const CG::vec2<E>*, ZvValueType t, F f) { return WithFamily<CG::vec2>(t, f); }
template <class E, class F> bool WithKindOf(const CG::vec3<E>*, ZvValueType t, F f) { return WithFamily<CG::vec3>(t, f); }
template <class E, class F> bool WithKindOf(const CG::vec4<E>*, ZvValueType t, F f) { return WithFamily<CG::vec4>(t, f); }
template <class E, class F> bool WithKindOf(const CG::mat3<E>*, ZvValueType t, F f) { return WithFamily<CG::mat3>(t, f); }
template <class E, class F> bool WithKindOf(const CG::mat4<E>*, ZvValueType t, F f) { return WithFamily<CG::mat4>(t, f); }
template <class E, class F> bool WithKindOf(const CG::rotation<E>*, ZvValueType t, F f) {
    return WithFamily<CG::rotation>(t, f);
}
template <class F>
bool WithKindOf(const zvcolor*, ZvValueType type, F f) {
    if (type == ZvVtColor || type == ZvVtVec3f) return f(static_cast<float*>(nullptr)), true;
    if (type == ZvVtVec3d) return f(static_cast<double*>(nullptr)), true;
    return false;
}

}

template <class T>
bool SetFrom(T& target, const void* source, ZvValueType type) {
    if constexpr (std::is_arithmetic_v<T>) {
        return SetScalar(target, source, type);
    } else if constexpr (std::is_same_v<T, ZvObject$> || std::is_same_v<T, ZvInterface$>) {
        if (type != ZvVtObjectRef) return false;
        target = *static_cast<const T*>(source);
        return true;
    } else if constexpr (std::is_pointer_v<T>) {
        if (type != ZvVtObjectPtr) return false;
        target = Load<T>(source);
        return true;
    } else {
        return WithKindOf(&target, type, [&](auto* tag) {
            ConvertElements<typename Shape<T>::Scalar, std::remove_pointer_t<decltype(tag)>>(&target, source, Shape<T>::count);
        });
    }
}

template <class T>
bool GetTo(const T& value, void* target, ZvValueType type) {
    if constexpr (std::is_arithmetic_v<T>) {
        return GetScalar(value, target, type);
    } else if constexpr (std::is_same_v<T, ZvObject$> || std::is_same_v<T, ZvInterface$>) {
        if (type != ZvVtObjectRef) return false;
        *static_cast<T*>(target) = value;
        return true;
    } else if constexpr (std::is_pointer_v<T>) {
        if (type != ZvVtObjectPtr) return false;
        Store(target, value);
        return true;
    } else {
        return WithKindOf(&value, type, [&](auto* tag) {
            ConvertElements<std::remove_pointer_t<decltype(tag)>, typename Shape<T>::Scalar>(target, &value, Shape<T>::count);
        });
    }
}

#define ZV_CONVERSION(...)                                                                 \
    template ZV_API bool SetFrom(__VA_ARGS__&, const void*, ZvValueType);                  \
    template ZV_API bool GetTo(__VA_ARGS__ const&, void*, ZvValueType);

#include "zvc/values/ZvElements.inc"
ZV_ELEMENTS_PLAIN(ZV_CONVERSION)
ZV_CONVERSION(ZvObject$)
ZV_CONVERSION(ZvObject*)
ZV_CONVERSION(ZvInterface$)
ZV_CONVERSION(ZvInterface*)

}
