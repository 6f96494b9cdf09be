#pragma once

#include "Picture.h"

#include <string>

namespace farm {

/// A worker process and the renderer in it. Everything but Kill and the handle is one thread's affair. When the worker is
/// gone, or is killed, every call comes back with false.
class RemoteRenderer {
public:
    /// Starts a program, which must be there; a second process is not waited for.
    explicit RemoteRenderer(const std::string& program);

    /// Kills a worker that has not stopped.
    ~RemoteRenderer();
    RemoteRenderer(const RemoteRenderer&) = delete;
    RemoteRenderer& operator=(const RemoteRenderer&) = delete;

    /// Sends the scene, has a renderer made of it, and finds out whether the worker sees the picture's memory.
    bool Activate(const ZvObject$& scene, const Picture& picture, bool byValue);

    /// Does the worker write into the picture itself?
    bool SharesMemory() const { return m_sharesMemory; }

    /// Has a tile rendered into the picture; rays is how many it took.
    bool Render(const Tile& tile, Picture& picture, long long& rays);

    /// Ends the conversation in order, and waits for the worker's end.
    void Stop();

    /// The process, for whoever kills it.
    void* Process() const { return m_process; }

private:
    bool Invoke(ZvType& result, const char* method, std::initializer_list<ZvObject$> arguments, ZvObject$& answer);

    ZvChannel$ m_channel;
    void* m_process;
    ZvObjRef$ m_renderer;
    bool m_sharesMemory = false;
};

}
