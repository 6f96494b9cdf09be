#pragma once

#include "Scene.h"
#include "World.h"

#include <atomic>
#include <memory>

namespace farm {

using Colours$ = ZvHandle<ZvPrimArray<zvcolor>, ZvArrayValue$>;
using SharedColours$ = ZvHandle<ZvSharePrimArray<zvcolor>, ZvArrayValue$>;

/// What a worker does for its host: the object behind the host's reference. The scene comes with the construction, by value
/// and once; after that a call is a few numbers. One call at a time; the rows of a tile are shared out among the processors.
class Renderer : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Renderer)
    ZV_DECLARE_TABLES()
public:
    /// Raises ZvException for a scene that does not hold together.
    explicit Renderer(const Scene$& scene);
    ~Renderer() override;

    /// Is this very picture in reach of this process? Yes when the element behind the last pixel holds the mark; then the
    /// tiles go into it.
    bool Share(const SharedColours$& picture, float mark);

    /// Renders a tile. Null when it went into the shared picture, else its colours, row by row. Null too, and nothing is
    /// rendered, for a tile that does not lie within the picture.
    Colours$ Render(int x, int y, int width, int height);

    /// The rays that were followed since the last question.
    long long TakeRays() { return static_cast<long long>(m_rays.exchange(0)); }

private:
    void RenderRow(const ZvSystem::ThreadInfo&, unsigned int row, void* tile);

    const World m_world;
    const int m_samples;
    SharedColours$ m_picture;
    std::atomic<unsigned long long> m_rays{0};
};
ZV_DECLARE_HANDLE(Renderer, ZvMarshalByRefObject$);

}
