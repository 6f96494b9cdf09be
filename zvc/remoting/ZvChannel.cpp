#include "zvc/remoting/ZvChannelState.h"

#include "zvc/core/ZvConstructor.h"
#include "zvc/core/ZvField.h"
#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"
#include "zvc/platform/File.h"
#include "zvc/platform/Pipe.h"
#include "zvc/platform/System.h"
#include "zvc/platform/Thread.h"
#include "zvc/serialization/ZvFileStream.h"

ZV_DEFINE_CLASS(ZvChannel, (ZvObject), ZV_TABLES)
ZV_FIELDS(ZvChannel)
ZV_METHODS(ZvChannel)
ZV_CONSTRUCTORS(ZvChannel)

namespace platform = zvc::platform;
using zvc::detail::ReadAhead;

namespace {

// The state of the channel that this thread is in, if it is in one.
thread_local const void* t_inside __attribute__((tls_model("initial-exec"))) = nullptr;

}

/// Stands where a thread is in the channel, so that Abandon can wait for it to leave. It holds the state: as soon as the last
/// one is counted out the channel may be gone. Within another one of the same channel it is nothing.
class ZvChannel::Inside {
public:
    explicit Inside(const std::shared_ptr<State>& state) : m_outer(t_inside) {
        if (state.get() == m_outer) return;
        m_state = state;
        t_inside = m_state.get();
        ++m_state->inside;
    }
    ~Inside() {
        if (!m_state) return;
        t_inside = m_outer;
        if (--m_state->inside == 0 && m_state->ended) m_state->empty.Set();
    }
    Inside(const Inside&) = delete;

private:
    const void* const m_outer;
    std::shared_ptr<State> m_state;
};

// ---- beginning and end ----------------------------------------------------------------------------------------------------

ZvChannel::ZvChannel(unsigned int slots) {
    Open(slots, new ZvFileStream(platform::StandardHandle(platform::StandardStream::Input), ZvFile::Read),
         new ZvFileStream(platform::StandardHandle(platform::StandardStream::Output), ZvFile::Write));
}

ZvChannel::ZvChannel(unsigned int slots, const ZvString$& fileName) {
    ZvProcessStartInfo$ info = new ZvProcessStartInfo(fileName);
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    // There is no channel without a peer, and no way to say so that a program of old would look at: meant to end it.
    if (!process) platform::Fatal("ZvChannel: the program cannot be started");
    Open(slots, process->GetStandardOutputStream(), process->GetStandardInputStream());
    m_state->startInfo = info;
    m_state->process = process;
}

ZvChannel::ZvChannel(unsigned int slots, const ZvStream$& input, const ZvStream$& output) { Open(slots, input, output); }

// The coder knows the channel by its plain address, and so do the references that pass through it.
void ZvChannel::Open(unsigned int slots, const ZvStream$& input, const ZvStream$& output) {
    m_state = std::make_shared<State>();
    m_state->input = input;
    m_state->output = output;
    void* const pipe = zvc::detail::FileHandleOf(input.Get());
    const bool endable = pipe != nullptr && platform::FileMakeCancellable(pipe);
    if (void* const outgoing = zvc::detail::FileHandleOf(output.Get())) platform::FileMakeCancellable(outgoing);
    m_state->reader = new ReadAhead(input, endable, *m_state);
    m_state->coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::MarshalChannel));
    m_state->coder->SetChannel(this);
    CreateMethodResponseSplitter(slots);
    m_state->stopLock = new ZvObject;
}

ZvChannel::ZvChannel(const ZvChannel& other) : ZvObject(other), m_state(other.m_state) { ++m_state->channels; }

ZvChannel& ZvChannel::operator=(const ZvChannel& other) {
    ++other.m_state->channels;
    Leave();
    m_state = other.m_state;
    return *this;
}

// The listening thread works on the plain channel. One that is still in a read is ended, for nobody could do so any more.
ZvChannel::~ZvChannel() { Leave(); }

void ZvChannel::Leave() {
    if (--m_state->channels != 0) return;
    EndAsync();
    if (m_state->listener == platform::InvalidHandle) return;
    m_state->End();
    JoinListener();
}

void ZvChannel::CreateMethodResponseSplitter(unsigned int slots) {
    m_state->methods = ZvChannelMailbox();
    m_state->responses = std::vector<ZvChannelMailbox>(slots);
}

ZvProcess$ ZvChannel::GetProcess() { return m_state->process; }

// ---- messages -------------------------------------------------------------------------------------------------------------

void ZvChannel::Send(const ZvObject$& message) {
    Inside inside(m_state);
    ZvLock lock(this);
    if (message && IsStopDataTransfer()) throw ZvChannelException("stopDataTransfer");
    if (m_state->ended) return;
    try {
        m_state->coder->Write(m_state->output, message);
    } catch (const ZvCoderException& e) {
        // That nobody reads any more is no failure of Send: meant so. A graph without end is one.
        if (e.cause != ZvCoderException::StreamFailed || !m_state->output->Fail()) throw;
    }
    m_state->output->Flush();
}

ZvObject$ ZvChannel::Receive() {
    ZvObject$ message;
    try {
        m_state->coder->Read(m_state->reader, message);
    } catch (const ReadAhead::Ended&) {
        message = ZvObject$();
    }
    return message;
}

void ZvChannelMailbox::Post(const ZvObject$& entry) {
    queue->Enqueue(entry);
    event.Set();
}

ZvObject$ ZvChannelMailbox::Take(const std::atomic<bool>& ended) {
    for (;; event.Wait(platform::Infinite), event.Reset()) {
        const bool last = ended;                         // before the look: what came before the end is still given out
        ZvLock lock(queue.Get());
        if (queue->Count() == 0) {
            if (!last) continue;
            event.Set();                                 // for the next one who waits here
            return ZvObject$();
        }
        ZvObject$ entry = queue->Dequeue();
        if (queue->Count() != 0 || last) event.Set();    // another reader may have slept through our reset
        return entry;
    }
}

ZvObject$ ZvChannel::GetMethod() {
    Inside inside(m_state);
    return m_state->methods.Take(m_state->ended);
}

ZvObject$ ZvChannel::GetResponse(unsigned int slot) {
    Inside inside(m_state);
    return m_state->responses[slot].Take(m_state->ended);
}

remoting::MethodResponse$ ZvChannel::Exchange(ZvObject$ call, unsigned int slot) {
    Inside inside(m_state);                             // from the sending to the answer: nobody destroys it in between
    Send(call);
    call = ZvObject$();                                 // ends while the other side works
    return GetResponse(slot);
}

void ZvChannel::StopDataTransfer(bool stop) {
    ZvLock lock(m_state->stopLock.Get());
    m_state->stopDataTransfer = stop;
}

bool ZvChannel::IsStopDataTransfer() const {
    ZvLock lock(m_state->stopLock.Get());
    return m_state->stopDataTransfer;
}

// ---- listening ------------------------------------------------------------------------------------------------------------

void ZvChannel::StartListening() {
    m_state->stopListening = false;
    m_state->listener = platform::ThreadCreate(&listen_proc, this, &m_state->listenerId);
}

void ZvChannel::StopListening() {
    ZvLock lock(this);
    Send(ZvObject$());
    m_state->stopListening = true;
}

unsigned int ZvChannel::listen_proc(void* channel) {
    static_cast<ZvChannel*>(channel)->Listen();
    return 0;
}

// Nothing is caught without a watch: the process ends at the very place of the damage.
void ZvChannel::Listen() {
    if (!m_state->watched) {
        Run();
    } else {
        try {
            Run();
        } catch (const ZvException&) {
            m_state->PeerLost();
        } catch (const std::exception&) {
            m_state->PeerLost();
        }
    }
    m_state->over.Set();
}

void ZvChannel::Run() {
    while (const ZvObject$ message = Receive()) {
        Sort(message);
        if (m_state->stopListening) break;
    }
    ZvLock lock(this);
    m_state->methods.Post(ZvObject$());
}

// Calls by their very class, replies by any class that is a Response: meant so. The rest is dropped.
void ZvChannel::Sort(const ZvObject$& message) {
    ZvType* const type = message->GetType();
    if (type == &remoting::ConstructingCall::s_type || type == &remoting::MethodCall::s_type) {
        m_state->methods.Post(message);
    } else if (type->CalcOffset(&remoting::Response::s_type) != ZvNoOffset) {
        const unsigned int slot = static_cast<remoting::Response*>(message.Get())->GetThreadID();
        if (slot >= m_state->responses.size())
            throw ZvCoderException(ZvCoderException::BadTag, "ZvChannel", "ZvChannel::Run", __LINE__, "");
        m_state->responses[slot].Post(message);
    }
}

// ---- asynchronous sections ------------------------------------------------------------------------------------------------

void ZvChannel::BeginAsync() {
    m_state->asyncEvent = platform::EventCreate();
    m_state->asyncThread = platform::ThreadCreate(&async_end_wait, this, nullptr);
}

unsigned int ZvChannel::async_end_wait(void* channel) {
    static_cast<ZvChannel*>(channel)->EndAsyncWait();
    return 0;
}

void ZvChannel::EndAsyncWait() {
    platform::WaitForHandle(m_state->asyncEvent, platform::Infinite);
    platform::EventReset(m_state->asyncEvent);
    ZvLock lock(this);
    m_state->methods.Post(new remoting::AsyncTerminator);
}

void ZvChannel::EndAsync() {
    if (m_state->asyncEvent != platform::InvalidHandle) platform::EventSet(m_state->asyncEvent);
    if (IsAsync()) {
        platform::WaitForHandle(m_state->asyncThread, platform::Infinite);
        platform::CloseHandle(m_state->asyncThread);
        m_state->asyncThread = platform::InvalidHandle;
    }
    platform::CloseHandle(m_state->asyncEvent);
    m_state->asyncEvent = platform::InvalidHandle;
}

bool ZvChannel::IsAsync() const { return m_state->asyncThread != platform::InvalidHandle; }

// ---- a peer that dies -----------------------------------------------------------------------------------------------------

void ZvChannel::Abandon() {
    m_state->End();
    JoinListener();
    while (m_state->inside != 0) {
        m_state->empty.Wait(platform::Infinite);
        m_state->empty.Reset();
    }
    m_state->empty.Set();                                // for whoever abandons it at the same moment
}

bool ZvChannel::IsAbandoned() const { return m_state->ended; }

// The thread's handle stays open: the channel's end closes it. A thread does not wait for itself.
void ZvChannel::JoinListener() {
    if (m_state->listener != platform::InvalidHandle) platform::WaitForHandle(m_state->listener, platform::Infinite);
}

void ZvChannel::WatchPeer() {
    m_state->watched = true;
    if (!m_state->process) return;
    platform::FileEndWithProcess(zvc::detail::FileHandleOf(m_state->input.Get()), m_state->process->GetProcessHandle());
}

bool ZvChannel::IsPeerGone() const { return m_state->peerGone; }

bool ZvChannel::WaitForPeerGone(unsigned int milliseconds) const {
    m_state->over.Wait(milliseconds);
    return IsPeerGone();
}

ZvChannel::State::State() = default;

ZvChannel::State::~State() {
    if (listener != platform::InvalidHandle) platform::CloseHandle(listener);
    if (asyncThread != platform::InvalidHandle) platform::CloseHandle(asyncThread);
    if (asyncEvent != platform::InvalidHandle) platform::CloseHandle(asyncEvent);
}

void ZvChannel::State::End() noexcept {
    ended = true;
    for (const ZvStream$& stream : {input, output})
        if (void* const handle = zvc::detail::FileHandleOf(stream.Get())) platform::FileCancel(handle);
    methods.event.Set();
    for (ZvChannelMailbox& response : responses) response.event.Set();
    over.Set();
}

void ZvChannel::State::PeerLost() noexcept {
    if (!ended) peerGone = true;
    End();
}

bool ZvChannel::State::EndsQuietly() noexcept {
    if (!ended && !watched) return false;
    PeerLost();
    return true;
}
