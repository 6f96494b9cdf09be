#include "zvc/values/ZvDeque.h"

#include "zvc/serialization/ZvRun.h"

#include <algorithm>

namespace zvc::detail::deque {

bool Contains(const Items& items, const ZvObject$& value) {
    return std::find(items.begin(), items.end(), value) != items.end();
}

// A null element is not passed over, as a list does it: meant so.
size_t Hash(const Items& items, const char* function) {
    NestedWalk walk(function);
    size_t h = SequenceHashStart;
    for (const ZvObject$& e : items) {
        walk.Step();
        h = h * SequenceHashPrime ^ Needed(e.Get(), function)->GetHashCode();
    }
    return h;
}

bool Equal(const Items& a, const Items& b, const char* function) {
    if (a.size() != b.size()) return false;
    NestedWalk walk(function);
    for (size_t i = 0; i < a.size(); ++i) {
        walk.Step();
        if (!Needed(a[i].Get(), function)->Equals(b[i].Get())) return false;
    }
    return true;
}

// Everything goes to the back, in the order of the stream: that restores a queue and a stack.
void Decode(ZvStream$& stream, ZvCoder* coder, Items& items) {
    unsigned int count = 0;
    coder->Read(stream, count);
    Arrival arrival(stream, coder);
    for (; count != 0; --count) {
        arrival.After(sizeof(ZvObject$));
        ZvObject$ element;
        coder->Read(stream, element);
        items.push_back(std::move(element));
    }
}

}
