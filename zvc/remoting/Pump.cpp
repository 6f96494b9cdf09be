#include "zvc/remoting/Pump.h"

namespace remoting {

Pump::Pump(const ZvChannel$& channel) : m_channel(channel) {}
Pump::~Pump() = default;

Pump::End Pump::Run() {
    for (;;) {
        const ZvObject$ message = m_channel->GetMethod();
        if (!message) return End::Channel;
        if (message->GetType() == &AsyncTerminator::s_type) return End::Section;
        Serve(message);
    }
}

void Pump::Serve(const ZvObject$& message) {
    try {
        if (const ZvObject$ answer = Answer(message)) m_channel->Send(answer);
    } catch (...) {
        OnFailure(message);
    }
}

ZvObject$ Pump::Answer(const ZvObject$& message) {
    if (MethodCall$ call = message) return call->Invoke();
    if (ConstructingCall$ request = message) return new ConstructingResponse(request->Construct());
    return ZvObject$();
}

void Pump::OnFailure(const ZvObject$&) { throw; }

}
