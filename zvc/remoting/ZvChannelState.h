#pragma once

// What a channel and its copies share. Internal; not for clients.

#include "zvc/platform/Event.h"
#include "zvc/platform/Handle.h"
#include "zvc/remoting/ZvChannel.h"
#include "zvc/serialization/ZvReadAhead.h"
#include "zvc/remoting/ZvProcess.h"
#include "zvc/serialization/ZvBinaryCoder.h"
#include "zvc/values/ZvQueue.h"

#include <atomic>
#include <vector>

/// A queue with the event that tells of it. The event is manual-reset and the queue is looked at after each reset, so that no
/// wake-up is lost.
struct ZvChannelMailbox {
    ZvQueue$ queue = new ZvQueue;
    zvc::platform::Event event;

    void Post(const ZvObject$& entry);

    /// Waits for an entry and takes it. Null without one once ended is set, and somebody has set the event after it.
    ZvObject$ Take(const std::atomic<bool>& ended);
};

struct ZvChannel::State final : zvc::detail::ReadAhead::Ending {
    State();
    ~State();

    /// Ends the channel here: transfers under way fail, everyone who waits comes back. Does not wait for them.
    void End() noexcept;

    /// The peer is gone, or is taken for it.
    void PeerLost() noexcept;

    /// An input that gives nothing more is no damage when the channel was ended here, or watches for it.
    bool EndsQuietly() noexcept override;

    ZvProcessStartInfo$ startInfo;
    ZvProcess$ process;
    ZvStream$ input;
    ZvStream$ output;
    ZvStream$ reader;                                    // input, with reading ahead
    ZvBinaryCoder$ coder;

    ZvChannelMailbox methods;
    std::vector<ZvChannelMailbox> responses;             // by slot

    zvc::platform::Handle listener = zvc::platform::InvalidHandle;
    uint32_t listenerId = ~0u;
    std::atomic<zvc::platform::Handle> asyncThread{zvc::platform::InvalidHandle};
    zvc::platform::Handle asyncEvent = zvc::platform::InvalidHandle;

    ZvObject$ stopLock;
    std::atomic<bool> stopListening{false};
    bool stopDataTransfer = false;                       // guarded by the stop lock

    std::atomic<bool> ended{false};                      // here, whatever the peer does
    std::atomic<bool> watched{false};
    std::atomic<bool> peerGone{false};
    mutable zvc::platform::Event over;                   // set when listening is over, however it came to that
    std::atomic<unsigned int> channels{1};               // that share this
    std::atomic<unsigned int> inside{0};                 // threads in Send, GetMethod, GetResponse
    zvc::platform::Event empty;                          // set when the last of them leaves an ended channel
};
