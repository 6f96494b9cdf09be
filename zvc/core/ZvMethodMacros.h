#pragma once

// The method and constructor tables of a class.
//
//     ZV_METHODS(Mesh, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Rename, "name"))
//     ZV_CONSTRUCTORS(Mesh, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int, double))
//
// Parameter and result types are deduced from the C++ signature; const T& counts as T. A value kind stands for its box, and
// an argument is such a box; ZvObject$ is the value kind of object references ("ZvObjectRef"); any other handle X$ stands for
// X::s_type, and an argument is the object itself. A method without a result answers with null, one that returns a handle
// with a box of kind object reference. Arguments of a wrong number or class make a null answer.

#include "zvc/core/ZvMethod.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvVoid.h"

#include <tuple>
#include <type_traits>
#include <utility>

namespace zvc::detail {

template <class T> constexpr bool IsHandleParameter = std::is_base_of_v<ZvObject$, T> && !std::is_same_v<T, ZvObject$>;
template <class T> using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

/// The class that a handle class refers to.
template <class Handle> using Referred = Plain<decltype(*std::declval<Handle>())>;

template <class T>
ZvType* ParameterType() {
    using P = Plain<T>;
    if constexpr (std::is_void_v<P>) {
        return &ZvVoid::s_type;
    } else if constexpr (IsHandleParameter<P>) {
        return &Referred<P>::s_type;
    } else {
        static_assert(KindNumber<P> != ZvVtInterface, "ZV_METHOD, ZV_CONSTRUCTOR: this type cannot be a reflected parameter or result");
        static_assert(!std::is_lvalue_reference_v<T> || std::is_const_v<std::remove_reference_t<T>>,
                      "ZV_METHOD, ZV_CONSTRUCTOR: a reflected parameter is a value or a reference to const");
        return &ZvPrimitive<P>::s_type;
    }
}

/// Unpacks one argument. False when it is no such thing.
template <class P>
bool Unpack(const ZvObject$& argument, P& value) {
    if constexpr (IsHandleParameter<P>) {
        value = P(argument);
        return static_cast<bool>(value) || !argument;
    } else {
        const ZvValue$ box = argument;
        return box && box->GetValue(&value, KindNumber<P>, 0);
    }
}

template <class Tuple, size_t... I>
bool UnpackAll(const ZvArguments$& args, Tuple& values, std::index_sequence<I...>) {
    const unsigned long long count = args ? args->Count() : 0;
    return count == sizeof...(I) && (Unpack((*args)[I], std::get<I>(values)) && ...);
}

template <class Owner, class Method, class Result, class... Parameters>
class MethodEntry : public ZvMethod {
public:
    template <class... Names>
    MethodEntry(ZvType* owner, const char* name, Method method, Names... names)
        : ZvMethod(owner, name, ResultType(), {ZvType$(ParameterType<Parameters>())...}, {ZvString$(new ZvString(names))...}),
          m_method(method) {
        static_assert(sizeof...(Names) == sizeof...(Parameters), "ZV_METHOD: one name for each parameter");
    }

    void Invoke(ZvObject* target, ZvValue$& result, ZvArguments$& args) override {
        result = ZvValue$();
        std::tuple<Plain<Parameters>...> values{};
        if (target == nullptr || !target->IsKindOf(&Owner::s_type)) return;
        if (!UnpackAll(args, values, std::index_sequence_for<Parameters...>())) return;
        std::apply([&](auto&... value) { Call(static_cast<Owner*>(target), result, value...); }, values);
    }

private:
    static ZvType* ResultType() {
        using R = Plain<Result>;
        if constexpr (IsHandleParameter<R>)
            return &Referred<R>::s_type;
        else
            return ParameterType<Result>();
    }

    template <class... Values>
    void Call(Owner* target, ZvValue$& result, Values&... values) {
        using R = Plain<Result>;
        if constexpr (std::is_void_v<R>)
            (target->*m_method)(values...);
        else if constexpr (IsHandleParameter<R>)
            result = new ZvPrimitive<ZvObject$>(ZvObject$((target->*m_method)(values...)));
        else
            result = new ZvPrimitive<R>((target->*m_method)(values...));
    }

    Method m_method;
};

template <class Owner, class Result, class... Parameters, class... Names>
ZvMethod* MakeMethod(ZvType* owner, const char* name, Result (Owner::*method)(Parameters...), Names... names) {
    return new MethodEntry<Owner, decltype(method), Result, Parameters...>(owner, name, method, names...);
}

template <class Owner, class Result, class... Parameters, class... Names>
ZvMethod* MakeMethod(ZvType* owner, const char* name, Result (Owner::*method)(Parameters...) const, Names... names) {
    return new MethodEntry<Owner, decltype(method), Result, Parameters...>(owner, name, method, names...);
}

template <class Maker, class... Parameters>
class ConstructorEntry : public ZvConstructor {
public:
    explicit ConstructorEntry(Maker make) : ZvConstructor(std::vector<ZvType$>{ZvType$(ParameterType<Parameters>())...}), m_make(make) {
        ZvObject::Retain();
    }

    ZvObject* Create(ZvArguments$& args) override {
        std::tuple<Plain<Parameters>...> values{};
        if (!UnpackAll(args, values, std::index_sequence_for<Parameters...>())) return nullptr;
        return std::apply(m_make, values);
    }

private:
    Maker m_make;
};

template <class... Parameters, class Maker>
ZvConstructor* MakeConstructor(Maker make) {
    return new ConstructorEntry<Maker, Parameters...>(make);
}

}

#define ZV_METHOD(method, ...) zvc::detail::MakeMethod(&s_type, #method, &Self::method __VA_OPT__(, ) __VA_ARGS__)

/// Defines Class::GetMethodMap().
#define ZV_METHODS(Class, ...)                                                      \
    ZvMethodMap* Class::GetMethodMap() {                                            \
        using Self [[maybe_unused]] = Class;                                        \
        static ZvMethod$ s_methods[] = {__VA_ARGS__ __VA_OPT__(, ) ZvMethod$()};    \
        static ZvMethodMap s_map(s_methods);                                        \
        return &s_map;                                                              \
    }

#define ZV_CONSTRUCTOR(...)                        \
    zvc::detail::MakeConstructor<__VA_ARGS__>(     \
        [](const auto&... values) -> ZvObject* { return new Self(values...); })

/// Defines Class::GetConstructorMap().
#define ZV_CONSTRUCTORS(Class, ...)                                                           \
    ZvConstructorMap* Class::GetConstructorMap() {                                            \
        using Self [[maybe_unused]] = Class;                                                  \
        static ZvConstructor$ s_constructors[] = {__VA_ARGS__ __VA_OPT__(, ) ZvConstructor$()}; \
        static ZvConstructorMap s_map(s_constructors);                                        \
        return &s_map;                                                                        \
    }
