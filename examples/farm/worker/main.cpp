// A worker of the render farm: serves its host's calls until the host stops the conversation, or is gone.

#include <zvc/platform/Pipe.h>
#include <zvc/zvc.h>

#include <csignal>
#include <cstdio>
#include <exception>

ZV_MODULE("farm_worker", nullptr, nullptr)

namespace {

// What a failure says is the last line that the host hears of this worker.
int Fail(const char* reason) {
    std::fprintf(stderr, "farm_worker: %s\n", reason);
    return 1;
}

void Serve() {
    const ZvChannel$ channel = new ZvChannel(1);
    zvc::platform::StandardOutputToError();              // the output is the channel's: whatever prints goes elsewhere
    ZvSystem::LoadPlugin(new ZvString("farm_scene"));
    remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(ZvSystem::FindType("farm::Renderer")));
    channel->WatchPeer();                                // the host may die, too
    channel->StartListening();
    remoting::Pump(channel).Run();
    if (!channel->IsPeerGone()) channel->StopListening();
}

}

int main() {
    std::signal(SIGINT, SIG_IGN);                        // Ctrl-C is the host's to answer, and goes to all on the terminal
    try {
        Serve();
    } catch (ZvPluginUnloadedException& e) {
        return Fail((std::string(e.What()->CStr()) + " is a plug-in that cannot be loaded").c_str());
    } catch (ZvException& e) {
        return Fail(e.What() ? e.What()->CStr() : "failed");
    } catch (const std::exception& e) {
        return Fail(e.what());
    }
    return 0;
}
