#pragma once

// The calling side of a reference: one class for each class that is called from afar.

#include "Renderer.h"

namespace studio {

/// Calls a studio::Renderer in a worker. Each calling thread uses a slot of its own. Raises ZvException when no answer came:
/// the worker is gone, or the channel was abandoned.
class RendererStub : public remoting::Proxy {
public:
    explicit RendererStub(const ZvObjRef$& renderer) { m_reference = renderer; }

    int Sum(int a, int b, unsigned int slot);
    ZvString$ Describe(const ZvString$& scene, unsigned int slot);
    int Render(const Picture$& picture, int width, int first, int count, unsigned int slot);
    int RenderAll(const Picture$& picture, int width, const ZvObject$& progress, unsigned int slot);
    void Stall(const ZvObject$& progress, unsigned int slot);
};

/// Calls the host's studio::Progress from the worker, which calls from one thread: slot 0.
class ProgressStub : public remoting::Proxy {
public:
    explicit ProgressStub(const ZvObjRef$& progress) { m_reference = progress; }
    void Report(int percent);
};

}
