#pragma once

// How the host reaches objects whose classes it does not know: by the names of their methods, here and at the other end of a
// channel.

#include <zvc/zvc.h>

#include <initializer_list>

namespace farm {

template <class T>
ZvObject$ Box(const T& value) {
    return new ZvPrimitive<T>(value);
}

/// What a box holds; nothing of the kind for a null handle and for one that holds something else.
template <class T>
T ValueOf(const ZvObject$& object) {
    const ZvHandle<ZvPrimitive<T>, ZvValue$> box = object;
    return box ? box->value : T();
}

inline ZvArguments$ Arguments(std::initializer_list<ZvObject$> values) {
    ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*arguments)[i++] = value;
    return arguments;
}

/// Calls a method of an object in this process. Raises ZvException when it has none of that name, result and arguments.
inline ZvObject$ Call(const ZvObject$& target, ZvType& result, const char* name, std::initializer_list<ZvObject$> values = {}) {
    ZvArguments$ arguments = Arguments(values);
    const ZvMethod$ method = target->GetType()->Find(new ZvString(name), &result, arguments);
    if (!method) throw ZvException((std::string(target->GetType()->GetName()->CStr()) + " has no method " + name).c_str());
    ZvValue$ answer;
    method->Invoke(target.Get(), answer, arguments);
    return answer;
}

}
