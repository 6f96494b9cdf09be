#pragma once

// Whose turn it is to read a channel. Internal; not for clients.

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Event.h"

#include <atomic>

/// One thread at a time reads: the listening thread, or one that waits for an entry anyway and then need not be woken for it,
/// which halves the way of a call. The listening thread keeps back for a moment where somebody waited lately, and reads when
/// nobody else does, so that what comes in never waits for long and a peer that writes much is never stuck.
class ZvChannelReading {
public:
    /// The listening thread's work begins: from now on there are turns, until one was the last.
    void Begin() noexcept;

    /// The listening thread's turn: waits for it, and keeps back before that unless others wait for what it reads. False when
    /// the conversation is over.
    bool AwaitTurn(bool othersWait) noexcept;

    /// A waiting thread's turn: false when somebody reads, or nobody is to.
    bool TryTurn() noexcept;

    /// Gives the turn back. over: what was read ends the conversation.
    void Leave(bool over) noexcept;

    /// Lets the listening thread look again at once.
    void Hurry() noexcept { m_listener.Set(); }

private:
    static constexpr uint32_t Patience = 1;              // milliseconds

    zvc::platform::CriticalSection m_section;
    bool m_taken = false;
    bool m_over = true;                                  // nobody reads: not yet, or no more
    bool m_parked = false;                               // the listening thread waits until the turn is given back
    std::atomic<uint32_t> m_wanted{0};                   // how often a waiting thread asked
    uint32_t m_seen = 0;                                 // the listening thread's alone
    zvc::platform::Event m_listener;
};
