#include "Renderer.h"

#include "MakeWorld.h"
#include "Tracer.h"

#include <algorithm>

ZV_DEFINE_CLASS(farm::Renderer, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(farm::Renderer)
ZV_METHODS(farm::Renderer, ZV_METHOD(Share, "picture", "mark"), ZV_METHOD(Render, "x", "y", "width", "height"),
    ZV_METHOD(TakeRays))
ZV_CONSTRUCTORS(farm::Renderer, ZV_CONSTRUCTOR(farm::Scene$))

namespace farm {

namespace {

/// Where the pixels of a tile go.
struct Tile {
    int x, y, width;
    zvcolor* target;                // of its first pixel
    size_t pitch;                   // pixels from row to row
};

const Scene& Present(const Scene$& scene) {
    if (!scene) throw ZvException("there is no scene");
    return *scene;
}

}

Renderer::Renderer(const Scene$& scene) : m_world(MakeWorld(Present(scene))), m_samples(std::max(1, scene->m_samples)) {}
Renderer::~Renderer() = default;

bool Renderer::Share(const SharedColours$& picture, float mark) {
    const View& view = m_world.view;
    const auto pixels = static_cast<size_t>(view.width) * static_cast<size_t>(view.height);
    const bool fits = picture && picture->GetBaseAddress() != nullptr && picture->Count() == pixels + 1;
    const bool here = fits && (*picture)[pixels].r == mark;
    m_picture = here ? picture : SharedColours$();
    return here;
}

Colours$ Renderer::Render(int x, int y, int width, int height) {
    const View& view = m_world.view;
    if (x < 0 || y < 0 || width < 1 || height < 1 || x > view.width - width || y > view.height - height) return nullptr;
    const auto count = static_cast<unsigned long long>(width) * static_cast<unsigned long long>(height);
    const auto pitch = static_cast<size_t>(m_picture ? view.width : width);
    Colours$ own;
    if (!m_picture) own = new ZvPrimArray<zvcolor>(count, nullptr);
    zvcolor* const target = m_picture ? &(*m_picture)[static_cast<size_t>(y) * pitch + static_cast<size_t>(x)] : &(*own)[0];
    Tile tile{x, y, width, target, pitch};
    zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)> body(this, &Renderer::RenderRow);
    zvc::Delegate<void(const ZvSystem::ThreadInfo&)> end;
    ZvSystem::StartTask();
    ZvSystem::AddTask(ZvSystem::TaskQueueBack, body, static_cast<unsigned int>(height), end, &tile);
    ZvSystem::EndTask();
    return own;
}

void Renderer::RenderRow(const ZvSystem::ThreadInfo&, unsigned int row, void* user) {
    const Tile& tile = *static_cast<const Tile*>(user);
    const Tracer tracer(m_world);
    unsigned long long rays = 0;
    zvcolor* const target = tile.target + row * tile.pitch;
    for (int x = 0; x < tile.width; ++x) target[x] = tracer.Pixel(tile.x + x, tile.y + static_cast<int>(row), m_samples, rays);
    m_rays += rays;
}

}
