#include "RemoteRenderer.h"

#include "Calls.h"

#include <zvc/platform/Process.h>

namespace farm {

namespace platform = zvc::platform;

namespace {

constexpr unsigned int Slot = 0;                        // one caller to a worker

}

RemoteRenderer::RemoteRenderer(const std::string& program) : m_channel(new ZvChannel(Slot + 1, new ZvString(program.c_str()))) {
    m_process = m_channel->GetProcess()->GetProcessHandle();
    m_channel->WatchPeer();                             // a dead worker is to wake its caller
    m_channel->StartListening();
}

RemoteRenderer::~RemoteRenderer() {
    m_channel->Abandon();
    platform::ProcessKill(m_process, 1);                // without effect on one that has ended
    platform::CloseHandle(m_channel->GetProcess()->GetThreadHandle());
    platform::CloseHandle(m_process);
}

bool RemoteRenderer::Activate(const ZvObject$& scene, const Picture& picture, bool byValue) {
    ZvType* const type = ZvSystem::FindType("farm::Renderer");
    m_channel->Send(new remoting::ConstructingCall(ZvType$(type), Arguments({scene})));
    const remoting::ConstructingResponse$ response = m_channel->GetResponse(Slot);
    if (response) m_renderer = response->CreatedObject();
    if (!m_renderer) return false;
    if (byValue) return true;
    ZvObject$ shares;
    if (!Invoke(ZvPrimitive<bool>::s_type, "Share", {picture.Shared(), Box(picture.Mark())}, shares)) return false;
    m_sharesMemory = ValueOf<bool>(shares);
    return true;
}

bool RemoteRenderer::Render(const Tile& tile, Picture& picture, long long& rays) {
    ZvObject$ colours, count;
    const std::initializer_list<ZvObject$> place = {Box(tile.x), Box(tile.y), Box(tile.width), Box(tile.height)};
    if (!Invoke(ZvPrimArray<zvcolor>::s_type, "Render", place, colours)) return false;
    if (!m_sharesMemory && !picture.Put(tile, ValueOf<ZvObject$>(colours))) return false;
    if (!Invoke(ZvPrimitive<long long>::s_type, "TakeRays", {}, count)) return false;
    rays = ValueOf<long long>(count);
    return true;
}

void RemoteRenderer::Stop() {
    m_channel->StopListening();
    while (m_channel->GetMethod()) {}                   // null is the worker's own stop
    platform::WaitForHandle(m_process, platform::Infinite);
}

/// False when there was no answer.
bool RemoteRenderer::Invoke(ZvType& result, const char* method, std::initializer_list<ZvObject$> arguments, ZvObject$& answer) {
    const remoting::MethodResponse$ response =
        m_renderer->Invoke(ZvType$(&result), new ZvString(method), Arguments(arguments), Slot);
    if (response) answer = response->GetReturnValue();
    return static_cast<bool>(response);
}

}
