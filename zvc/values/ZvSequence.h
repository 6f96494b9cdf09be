#pragma once

// What the collections have in common. Internal; not for clients.

#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvString.h"

#include <locale>
#include <sstream>

namespace zvc::detail {

constexpr size_t SequenceHashStart = 0x811C9DC5;
constexpr size_t SequenceHashPrime = 16777619;

/// Stands in every operation that walks into a collection's elements by their own virtual operations. A collection that
/// holds itself, or that holds others a thousand times over, as only a hostile stream builds it, ends in a
/// ZvCoderException (TypeUnavailable) and neither in a stack overflow nor in an endless walk.
class ZV_API NestedWalk {
public:
    explicit NestedWalk(const char* function);
    ~NestedWalk();
    NestedWalk(const NestedWalk&) = delete;
    /// Counts one element.
    void Step();

private:
    const char* m_function;
};

/// The object, which an operation that has no test for null needs; null, as a hostile stream may leave it there, raises a
/// ZvCoderException (TypeUnavailable).
ZV_API const ZvObject* Needed(const ZvObject* object, const char* function);

/// "[i]text" and a line end for each element. A null element is not allowed.
template <class Range>
ZvString$ IndexedText(const Range& elements) {
    std::ostringstream out;
    out.imbue(std::locale::classic());            // no grouping of digits, whatever the program's locale
    size_t index = 0;
    for (const ZvObject$& e : elements) out << '[' << index++ << ']' << e->ToString()->CStr() << '\n';
    return new ZvString(out.str().c_str());
}

template <class Range>
void EncodeElements(ZvStream$& stream, ZvCoder* coder, const Range& elements) {
    coder->Write(stream, static_cast<unsigned int>(elements.size()));
    for (const ZvObject$& e : elements) coder->Write(stream, e);
}

}
