#pragma once

#include "zvc/remoting/Messages.h"
#include "zvc/remoting/ZvChannelException.h"
#include "zvc/serialization/ZvStream.h"

#include <memory>

ZV_DECLARE_HANDLE(ZvChannel, ZvObject$);
class ZvProcess$;

/// A two-way pipe of objects between a process and the child that it started: the child's standard input and output. Each
/// direction is one unbroken sequence of what one long-lived binary coder writes; the coder's tags are the only framing, and
/// what went over once goes as a short number from then on. Objects that go by reference are replaced by their ZvObjRef.
/// Large blocks go beside the pipe, as ZvSharePrimArray.
///
/// A listening thread reads what comes in. Calls go to one queue, which GetMethod takes from; replies go to the queue of
/// their slot, which GetResponse takes from. Each calling thread uses a slot of its own, so that several may wait at once.
///
/// The two ends number types and references as they first appear, in one series for both directions. New ones must not
/// cross on the wire: as long as a call that carries the first of its kind is under way, nothing else that is new may be
/// sent from the other end. Nothing detects it. Programs make one call of each kind alone before they call from many
/// threads.
///
/// Life: built; StartListening once; StopListening at each end, which is a handshake (the peer's GetMethod gives null, and
/// the peer answers with its own StopListening); ended when GetMethod gave null here as well. Or Abandon, at any time.
///
/// Whatever is not an object of the conversation on a child's standard output damages it: a worker prints to its standard
/// error. What comes in damaged, and the end of the pipe, is an exception on the listening thread, which nobody catches: the
/// process ends. A dead child, however, is silence, for its parent holds the child's ends of the pipes as well, and its
/// callers wait for ever. WatchPeer changes both.
class ZV_API ZvChannel : public ZvObject {
    ZV_DECLARE_CLASS(ZvChannel)
    ZV_DECLARE_TABLES()
public:
    /// The child's end, on handles of its own on the standard input and output: the process may point its standard output
    /// elsewhere afterwards. slots is the number of reply slots; a channel that constructs objects needs at least one.
    explicit ZvChannel(unsigned int slots);

    /// The parent's end: starts the program, without arguments. The child builds its end with the same count. A program that
    /// cannot be started ends the process: look first whether it is there.
    ZvChannel(unsigned int slots, const ZvString$& fileName);

    /// An end on streams of the caller's, which the channel has to itself.
    ZvChannel(unsigned int slots, const ZvStream$& input, const ZvStream$& output);

    /// Copies share everything, the listening thread of the source too. The library never copies a channel.
    ZvChannel(const ZvChannel& other);
    ZvChannel& operator=(const ZvChannel& other);

    /// No thread may be in the channel any more. A listening thread that is still there is ended as by Abandon.
    ~ZvChannel() override;

    /// Writes one object, whole, and flushes. Any thread; messages do not mix. While data transfer is stopped an object is
    /// refused with ZvChannelException, "stopDataTransfer", and null is not. That nobody reads at the other end, or that
    /// the channel was abandoned, does not show. An object that cannot be coded raises as the coder does, and the
    /// conversation cannot go on.
    virtual void Send(const ZvObject$& message);

    /// Reads one object and waits until there is one: what the listening thread does, and nobody beside it. Null is the
    /// peer's stop, and the answer of an abandoned channel. Raises as the coder does.
    virtual ZvObject$ Receive();

    /// Waits for the next call, construction request or marker, in the order of arrival. Null: the channel has ended, and
    /// another call would wait for ever, unless the channel was abandoned. Any thread.
    virtual ZvObject$ GetMethod();

    /// Waits for the next reply in a slot, in the order of arrival. slot is not tested: it is below the count. The end of
    /// the conversation does not wake it; Abandon and a peer that is gone (WatchPeer) do, with null. Any thread.
    virtual ZvObject$ GetResponse(unsigned int slot);

    /// Starts the listening thread, once.
    void StartListening();

    /// Sends the stop message, also while data transfer is stopped, and does not wait. The listening thread stays until the
    /// next object comes in, which normally is the stop message of the other end.
    void StopListening();

    /// Brackets a section in which another thread takes from GetMethod: behind everything that had arrived at EndAsync that
    /// thread finds a remoting::AsyncTerminator. EndAsync waits until it is in the queue; alone it does nothing. IsAsync is
    /// true between the two. One section at a time.
    void BeginAsync();
    void EndAsync();
    bool IsAsync() const;

    /// Bars outgoing objects at this end, and nothing else.
    void StopDataTransfer(bool stop);
    bool IsStopDataTransfer() const;

    /// The child; null at a child's end.
    ZvProcess$ GetProcess();

    /// Ends the channel at this end alone, whatever the peer does: the listening thread and every thread that waits in Send,
    /// GetMethod or GetResponse, or will, comes back, with null where there is an answer. What had arrived is still given
    /// out. When it returns, no thread is in the channel and the listening thread is gone: the channel may be destroyed. The
    /// child is neither told nor stopped; platform::ProcessKill does that. Any thread but one that is inside of a Send or a
    /// Decode, once or often. Streams of the caller's must come back from their transfers by themselves.
    void Abandon();
    bool IsAbandoned() const;

    /// From now on a peer that is gone without a stop ends the channel at this end, as Abandon does but for the waiting: the
    /// child's process has ended, or all writers have closed the pipe, or what comes in cannot be read. What had been sent
    /// whole before is delivered first. Call it before StartListening.
    void WatchPeer();

    /// True once the channel has ended in this way.
    bool IsPeerGone() const;

    /// Waits until the channel ends at this end, for at most so many milliseconds (0xFFFFFFFF: without limit), and answers
    /// whether that was because the peer is gone. False also when the time ran out.
    bool WaitForPeerGone(unsigned int milliseconds) const;

protected:
    /// The listening thread's work: receives and sorts until a null object comes or listening is stopped, then puts null
    /// into the queue of calls. Objects that are neither a call (of exactly that class) nor a response are dropped. A response
    /// for a slot that is not there raises a ZvCoderException (BadTag), as a message that cannot be read does.
    virtual void Run();

    void CreateMethodResponseSplitter(unsigned int slots);
    void EndAsyncWait();
    static unsigned int listen_proc(void* channel);
    static unsigned int async_end_wait(void* channel);

private:
    friend class ZvObjRef;
    struct State;
    class Inside;

    void Leave();
    void Open(unsigned int slots, const ZvStream$& input, const ZvStream$& output);
    void Sort(const ZvObject$& message);
    void Listen();
    void JoinListener();
    remoting::MethodResponse$ Exchange(ZvObject$ call, unsigned int slot);

    std::shared_ptr<State> m_state;
};
