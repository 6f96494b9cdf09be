#pragma once

// The method and constructor tables of a class.
//
//     ZV_METHODS(Mesh, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Rename, "name"))
//     ZV_CONSTRUCTORS(Mesh, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int, double))
//
// Parameter and result types are deduced from the C++ signature; const T& counts as T. A value kind stands for its box, and
// an argument is such a box; ZvObject$ is the value kind of object references ("ZvObjectRef"); any other handle X$, on an
// object or an interface, stands for X::s_type, and an argument is the object itself, or null. A method without a result
// answers with null, one that returns a handle with a box of kind object reference.
//
// Find and Construct compare the types exactly. Invoke and Create themselves take what can be converted; where arguments are
// missing, too many or of a wrong class, or the target is no such object, nothing is called and the answer is null.

#include "zvc/core/ZvMethod.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvVoid.h"

#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace zvc::detail {

template <class T> using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

/// ZvInterface$ and ZvInterface* have a box, though no kind that finds it.
template <class T> constexpr bool IsInterfaceBox = std::is_same_v<T, ZvInterface$> || std::is_same_v<T, ZvInterface*>;
template <class T> constexpr bool IsBoxed = KindNumber<T> != ZvVtInterface || IsInterfaceBox<T>;
/// The boxes of references are taken as they are, and not converted: a pointer is not told from another by its kind.
template <class T> constexpr bool IsReferenceBox =
    IsInterfaceBox<T> || std::is_same_v<T, ZvObject$> || std::is_same_v<T, ZvObject*>;
/// A handle on a class or interface of its own.
template <class T> constexpr bool IsClassHandle =
    (std::is_base_of_v<ZvObject$, T> || std::is_base_of_v<ZvInterface$, T>) && !IsReferenceBox<T>;

/// A parameter's type, as a C++ signature may have it.
template <class T> constexpr bool IsParameter =
    (IsBoxed<Plain<T>> || IsClassHandle<Plain<T>>) &&
    (!std::is_reference_v<T> || (std::is_lvalue_reference_v<T> && std::is_const_v<std::remove_reference_t<T>>));
template <class T> constexpr bool IsResult = std::is_void_v<T> || IsBoxed<Plain<T>> || IsClassHandle<Plain<T>>;

/// The descriptor that stands for a parameter or a result.
template <class T>
ZvType* SignatureType() {
    using P = Plain<T>;
    if constexpr (std::is_void_v<P>)
        return &ZvVoid::s_type;
    else if constexpr (IsClassHandle<P>)
        return &Plain<decltype(*std::declval<P>())>::s_type;
    else
        return &ZvPrimitive<P>::s_type;
}

/// Whether an object is surely of class T itself. By address: a program may hold a description of a class of its own, which
/// costs such a program the short way and nothing else.
template <class T>
bool IsExactly(const ZvObject* o) {
    return &typeid(*o) == &typeid(T);
}

/// Puts a box with the value into result: a new one, or the one that stands there where nobody else has it.
template <class P>
void PutBox(ZvValue$& result, const P& value) {
    ZvValue* box = result.Get();
    if (box != nullptr && box->ZvObject::ReferenceCount() == 1 && IsExactly<ZvPrimitive<P>>(box))
        static_cast<ZvPrimitive<P>*>(box)->value = value;
    else
        result = new ZvPrimitive<P>(value);
}

/// Unpacks an argument that is not surely the very box of its kind. False when it is no such thing.
template <class P>
bool UnpackOther(ZvObject* argument, P& value) {
    if (argument == nullptr) return false;
    if (argument->GetType() == &ZvPrimitive<P>::s_type) {
        value = static_cast<ZvPrimitive<P>*>(argument)->value;
        return true;
    }
    if (IsReferenceBox<P> || !argument->IsKindOf(&ZvValue::s_type)) return false;
    const auto* box = static_cast<ZvValue*>(argument);
    return box->Count() != 0 && box->GetValue(&value, KindNumber<P>, 0);
}

/// Unpacks one argument. False when it is no such thing.
template <class P>
bool Unpack(ZvObject* argument, P& value) {
    if constexpr (IsClassHandle<P>) {
        value = P(ZvObject$(argument));
        return argument == nullptr || static_cast<bool>(value);
    } else {
        if (argument == nullptr || !IsExactly<ZvPrimitive<P>>(argument)) return UnpackOther(argument, value);
        value = static_cast<ZvPrimitive<P>*>(argument)->value;
        return true;
    }
}

template <class Tuple, size_t... I>
bool UnpackAll(const ZvArguments$& args, [[maybe_unused]] Tuple& values, std::index_sequence<I...>) {
    const unsigned long long count = args ? args->Count() : 0;
    return count == sizeof...(I) && (Unpack((*args)[I].Get(), std::get<I>(values)) && ...);
}

template <class Target, class Method, class Result, class... Parameters>
class MethodEntry : public ZvMethod {
public:
    MethodEntry(const char* name, Method method, std::initializer_list<const char*> names)
        : ZvMethod(&Target::s_type, name, {SignatureType<Result>(), SignatureType<Parameters>()...}, names), m_method(method) {}

    void Invoke(ZvObject* target, ZvValue$& result, ZvArguments$& args) override {
        std::tuple<Plain<Parameters>...> values{};
        if (target == nullptr || !target->GetType()->IsDerivedFrom(&Target::s_type) ||
            !UnpackAll(args, values, std::index_sequence_for<Parameters...>())) {
            result = ZvValue$();
            return;
        }
        std::apply([&](const auto&... value) { Call(static_cast<Target*>(target), result, value...); }, values);
    }

private:
    template <class... Values>
    void Call(Target* target, ZvValue$& result, const Values&... values) {
        using R = Plain<Result>;
        if constexpr (std::is_void_v<R>) {
            result = ZvValue$();
            (target->*m_method)(values...);
        } else if constexpr (IsClassHandle<R>) {
            PutBox<ZvObject$>(result, ZvObject$((target->*m_method)(values...)));
        } else {
            PutBox<R>(result, (target->*m_method)(values...));
        }
    }

    Method m_method;
};

template <class Owner, class Method, class Result, class... Parameters, class... Names>
ZvMethod* MakeEntry(const char* name, Method method, Names... names) {
    constexpr bool parametersFit = (IsParameter<Parameters> && ...);
    constexpr bool named = sizeof...(Names) == sizeof...(Parameters);
    static_assert(parametersFit, "ZV_METHOD: a parameter is a value kind or a handle, by value or by reference to const");
    static_assert(IsResult<Result>, "ZV_METHOD: a result is void, a value kind or a handle");
    static_assert(named, "ZV_METHOD: one name for each parameter");
    if constexpr (parametersFit && IsResult<Result> && named)
        return new MethodEntry<Owner, Method, Result, Parameters...>(name, method, {names...});
    else
        return nullptr;
}

/// Owner is the class of the table; the method may come from a base that is not reflected.
template <class Owner, class Class, class Result, class... Parameters, class... Names>
ZvMethod* MakeMethod(const char* name, Result (Class::*method)(Parameters...), Names... names) {
    return MakeEntry<Owner, decltype(method), Result, Parameters...>(name, method, names...);
}

template <class Owner, class Class, class Result, class... Parameters, class... Names>
ZvMethod* MakeMethod(const char* name, Result (Class::*method)(Parameters...) const, Names... names) {
    return MakeEntry<Owner, decltype(method), Result, Parameters...>(name, method, names...);
}

template <class Owner, class Function, class... Names>
    requires(!std::is_member_function_pointer_v<Function>)
ZvMethod* MakeMethod(const char*, Function, Names...) {
    static_assert(std::is_void_v<Function>, "ZV_METHOD: a method is a member function, and not static");
    return nullptr;
}

template <class Maker, class... Parameters>
class ConstructorEntry : public ZvConstructor {
public:
    explicit ConstructorEntry(Maker make)
        : ZvConstructor(std::initializer_list<ZvType*>{SignatureType<Parameters>()...}), m_make(make) {}

    ZvObject* Create(ZvArguments$& args) override {
        std::tuple<Plain<Parameters>...> values{};
        if (!UnpackAll(args, values, std::index_sequence_for<Parameters...>())) return nullptr;
        return std::apply(m_make, std::as_const(values));
    }

private:
    Maker m_make;
};

template <class... Parameters, class Maker>
ZvConstructor* MakeConstructor(Maker make) {
    constexpr bool parametersFit = (IsParameter<Parameters> && ...);
    static_assert(parametersFit, "ZV_CONSTRUCTOR: a parameter is a value kind or a handle, by value or by reference to const");
    if constexpr (parametersFit)
        return new ConstructorEntry<Maker, Parameters...>(make);
    else
        return nullptr;
}

}

/// One method and the names of its parameters. The method must not be overloaded.
#define ZV_METHOD(method, ...) zvc::detail::MakeMethod<Self>(#method, &Self::method __VA_OPT__(, ) __VA_ARGS__)

/// Defines Class::GetMethodMap(). The list may be empty.
#define ZV_METHODS(Class, ...)                                                      \
    ZvMethodMap* Class::GetMethodMap() {                                            \
        using Self [[maybe_unused]] = Class;                                        \
        static ZvMethod$ s_methods[] = {__VA_ARGS__ __VA_OPT__(, ) ZvMethod$()};    \
        static ZvMethodMap s_map(s_methods);                                        \
        return &s_map;                                                              \
    }

/// One constructor by the types of its parameters.
#define ZV_CONSTRUCTOR(...)                        \
    zvc::detail::MakeConstructor<__VA_ARGS__>(     \
        [](const auto&... values) -> ZvObject* { return new Self(values...); })

/// Defines Class::GetConstructorMap(). The list may be empty.
#define ZV_CONSTRUCTORS(Class, ...)                                                             \
    ZvConstructorMap* Class::GetConstructorMap() {                                              \
        using Self [[maybe_unused]] = Class;                                                    \
        static ZvConstructor$ s_constructors[] = {__VA_ARGS__ __VA_OPT__(, ) ZvConstructor$()}; \
        static ZvConstructorMap s_map(s_constructors);                                          \
        return &s_map;                                                                          \
    }
