#include "zvc/values/ZvSequence.h"

#include "zvc/platform/StackBounds.h"
#include "zvc/serialization/ZvCoderException.h"

namespace zvc::detail {

const ZvObject* Needed(const ZvObject* object, const char* function) {
    if (object != nullptr) return object;
    throw ZvCoderException(ZvCoderException::TypeUnavailable, "ZvCollection", function, __LINE__, "");
}

namespace {
constexpr uint64_t MostNestedSteps = 100000000;
thread_local unsigned int t_depth __attribute__((tls_model("initial-exec"))) = 0;
thread_local uint64_t t_steps __attribute__((tls_model("initial-exec"))) = 0;
}

NestedWalk::NestedWalk(const char* function) : m_function(function) {
    if (platform::StackIsLow()) throw ZvCoderException(ZvCoderException::TypeUnavailable, "ZvCollection", function, __LINE__, "");
    if (t_depth++ == 0) t_steps = 0;
}

NestedWalk::~NestedWalk() { --t_depth; }

void NestedWalk::Step() {
    // Only steps inside an element count: a plain collection may be as long as it likes.
    if (t_depth > 1 && ++t_steps > MostNestedSteps)
        throw ZvCoderException(ZvCoderException::TypeUnavailable, "ZvCollection", m_function, __LINE__, "");
}

}
