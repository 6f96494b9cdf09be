#include "Stubs.h"

#include <initializer_list>

namespace studio {

namespace {

ZvType$ IntType() { return ZvType$(&ZvPrimitive<int>::s_type); }
ZvType$ VoidType() { return ZvType$(&ZvVoid::s_type); }

template <class T>
ZvObject$ Box(T value) {
    return new ZvPrimitive<T>(value);
}

/// One call, with exactly the result and argument types of the method.
ZvObject$ Call(const ZvObjRef$& target, const char* name, const ZvType$& result, std::initializer_list<ZvObject$> values,
               unsigned int slot) {
    const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*arguments)[i++] = value;
    const remoting::MethodResponse$ response = target ? target->Invoke(result, new ZvString(name), arguments, slot)
                                                      : remoting::MethodResponse$();
    if (!response) throw ZvException("no answer came");
    return response->GetReturnValue();
}

int IntOf(const ZvObject$& box) {
    const ZvHandle<ZvPrimitive<int>, ZvValue$> number = box;
    return number ? number->value : 0;
}

}

int RendererStub::Sum(int a, int b, unsigned int slot) {
    return IntOf(Call(m_reference, "Sum", IntType(), {Box(a), Box(b)}, slot));
}

// A method that returns a handle answers with a box of that handle.
ZvString$ RendererStub::Describe(const ZvString$& scene, unsigned int slot) {
    const ZvHandle<ZvPrimitive<ZvObject$>, ZvValue$> box = Call(m_reference, "Describe", ZvType$(&ZvString::s_type), {scene}, slot);
    return box ? box->value : ZvObject$();
}

int RendererStub::Render(const Picture$& picture, int width, int first, int count, unsigned int slot) {
    return IntOf(Call(m_reference, "Render", IntType(), {picture, Box(width), Box(first), Box(count)}, slot));
}

int RendererStub::RenderAll(const Picture$& picture, int width, const ZvObject$& progress, unsigned int slot) {
    return IntOf(Call(m_reference, "RenderAll", IntType(), {picture, Box(width), progress}, slot));
}

void RendererStub::Stall(const ZvObject$& progress, unsigned int slot) {
    Call(m_reference, "Stall", VoidType(), {progress}, slot);
}

void ProgressStub::Report(int percent) { Call(m_reference, "Report", VoidType(), {Box(percent)}, 0); }

}
