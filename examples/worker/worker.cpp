// The worker: makes a renderer when it is asked for one, and serves its calls until the host stops the channel. Started by
// worker_host, which talks to it through its standard input and output.

#include "Renderer.h"

#include <zvc/platform/Pipe.h>

#include <cstdio>

int main() {
    remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(&studio::Renderer::s_type));
    ZvChannel$ channel = new ZvChannel(studio::Slots);
    // The standard output belongs to the channel: what anybody prints from here on must not get between its objects.
    zvc::platform::StandardOutputToError();
    std::printf("The worker is there.\n");

    channel->WatchPeer();                  // a worker whose host died has nobody to work for
    channel->StartListening();
    remoting::Pump(channel).Run();
    channel->StopListening();
    remoting::RemotingConfigulation::Shutdown();
    return channel->IsPeerGone() ? 1 : 0;
}
