#pragma once

// What host and worker both know: the class that the worker makes for the host, and the number of reply slots. Types travel
// by name and module, so that both programs are built from this file under one module name.

#include <zvc/zvc.h>

namespace studio {

/// Reply slots of a channel: how many threads of the host may call at once.
constexpr unsigned int Slots = 4;

/// Samples that host and worker see in the same memory.
using Picture = ZvSharePrimArray<float>;
using Picture$ = ZvHandle<Picture, ZvArrayValue$>;

/// Lives in the worker; the host calls it through a reference. What it takes is what arrives: values, shared arrays, and
/// references on objects of the host.
class Renderer : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Renderer)
    ZV_DECLARE_TABLES()
public:
    explicit Renderer(double exposure);

    int Sum(int a, int b);
    ZvString$ Describe(const ZvString$& scene);

    /// Fills rows first to first + count - 1 of a picture that is so many samples wide, and answers how many samples that
    /// were: 0 when the picture has no such rows.
    int Render(const Picture$& picture, int width, int first, int count);

    /// The same for the whole picture in four parts. After each it calls progress, a reference on an object of the caller's
    /// with a method void Report(int percent).
    int RenderAll(const Picture$& picture, int width, const ZvObjRef$& progress);

    /// Reports 0 percent once and never comes back: what a host must be able to live with.
    void Stall(const ZvObjRef$& progress);

    /// One sample, in -1 to 1: host and worker compute the same.
    static float Sample(int x, int y, double exposure);

private:
    double m_exposure;
};
ZV_DECLARE_HANDLE(Renderer, ZvMarshalByRefObject$);

}
