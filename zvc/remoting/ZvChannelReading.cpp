#include "zvc/remoting/ZvChannelReading.h"

using zvc::platform::SectionLock;

void ZvChannelReading::Begin() noexcept {
    SectionLock lock(m_section);
    m_over = false;
}

bool ZvChannelReading::AwaitTurn(bool othersWait) noexcept {
    for (;;) {
        // Somebody waited lately, and will perhaps again: it reads for itself.
        for (uint32_t wanted; !othersWait && (wanted = m_wanted.load(std::memory_order_relaxed)) != m_seen;) {
            m_seen = wanted;
            if (m_listener.Wait(Patience)) break;
        }
        {
            SectionLock lock(m_section);
            if (m_over) return false;
            if (!m_taken) return m_taken = true;
            m_listener.Reset();
            m_parked = true;
        }
        m_listener.Wait(zvc::platform::Infinite);
        m_listener.Reset();
        othersWait = false;
    }
}

bool ZvChannelReading::TryTurn() noexcept {
    m_wanted.fetch_add(1, std::memory_order_relaxed);
    SectionLock lock(m_section);
    if (m_taken || m_over) return false;
    return m_taken = true;
}

void ZvChannelReading::Leave(bool over) noexcept {
    bool wakes;
    {
        SectionLock lock(m_section);
        m_taken = false;
        m_over = m_over || over;
        wakes = m_parked || over;
        m_parked = false;
    }
    if (wakes) m_listener.Set();
}
