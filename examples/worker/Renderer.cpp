#include "Renderer.h"

#include "Stubs.h"

#include <zvc/platform/Thread.h>

#include <cmath>

ZV_MODULE("studio", nullptr, nullptr)

ZV_DEFINE_CLASS(studio::Renderer, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(studio::Renderer)
ZV_METHODS(studio::Renderer, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Describe, "scene"),
    ZV_METHOD(Render, "picture", "width", "first", "count"), ZV_METHOD(RenderAll, "picture", "width", "progress"),
    ZV_METHOD(Stall, "progress"))
ZV_CONSTRUCTORS(studio::Renderer, ZV_CONSTRUCTOR(double))

namespace studio {

Renderer::Renderer(double exposure) : m_exposure(exposure) {}

int Renderer::Sum(int a, int b) { return a + b; }

ZvString$ Renderer::Describe(const ZvString$& scene) {
    ZvString$ text = new ZvString;
    text->Format("%s at exposure %.2f", scene->CStr(), m_exposure);
    return text;
}

// The picture's memory may be missing, and its count is only what the sender says.
int Renderer::Render(const Picture$& picture, int width, int first, int count) {
    if (!picture || picture->GetBaseAddress() == nullptr || width <= 0 || first < 0 || count < 0) return 0;
    const auto end = static_cast<unsigned long long>(first) + static_cast<unsigned long long>(count);
    if (end > picture->Count() / static_cast<unsigned long long>(width)) return 0;
    auto i = static_cast<unsigned long long>(first) * static_cast<unsigned long long>(width);
    for (int y = first; y < first + count; ++y)
        for (int x = 0; x < width; ++x) (*picture)[i++] = Sample(x, y, m_exposure);
    return count * width;
}

int Renderer::RenderAll(const Picture$& picture, int width, const ZvObjRef$& progress) {
    if (width <= 0) return 0;
    const int rows = static_cast<int>(picture->Count()) / width;
    int done = 0;
    for (int part = 0; part < 4; ++part) {
        const int first = rows * part / 4, last = rows * (part + 1) / 4;
        done += Render(picture, width, first, last - first);
        ProgressStub(progress).Report((part + 1) * 25);
    }
    return done;
}

void Renderer::Stall(const ZvObjRef$& progress) {
    ProgressStub(progress).Report(0);
    zvc::platform::SleepFor(zvc::platform::Infinite);
}

float Renderer::Sample(int x, int y, double exposure) { return static_cast<float>(std::sin(exposure * x) * std::cos(exposure * y)); }

}
