#pragma once

#include "zvc/remoting/ZvChannel.h"

namespace remoting {

/// The loop that an application runs over a channel's calls: takes each, runs it, sends the answer. An application may use
/// it, or write its own. One pump may be run by several threads; calls are then begun in the order of arrival.
class ZV_API Pump {
public:
    enum class End {
        Channel,             ///< the channel has ended
        Section              ///< the asynchronous section has ended
    };

    explicit Pump(const ZvChannel$& channel);
    virtual ~Pump();
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

    /// Serves until the channel or an asynchronous section ends, and tells which. Raises what OnFailure lets pass.
    End Run();

    /// Runs one entry of GetMethod and sends what it answers: nothing for a call whose target has no object here.
    void Serve(const ZvObject$& message);

protected:
    /// Called inside the handler of an exception that left a call or its answer; message is the entry. Here: throws it on. No
    /// message class carries an exception, so a caller waits for ever unless something is sent to its slot: a plain
    /// remoting::Response(call->GetThreadID()) lets its Invoke return null.
    virtual void OnFailure(const ZvObject$& message);

    const ZvChannel$& Channel() const { return m_channel; }

private:
    ZvObject$ Answer(const ZvObject$& message);

    ZvChannel$ m_channel;
};

}
