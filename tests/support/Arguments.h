#pragma once

#include <zvc/zvc.h>

#include <initializer_list>

/// The argument array of a reflected call.
inline ZvArguments$ Arguments(std::initializer_list<ZvObject$> values) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*args)[i++] = value;
    return args;
}

template <class T>
ZvObject$ Box(const T& value) {
    return new ZvPrimitive<T>(value);
}
