#pragma once

// The bare peer of a channel: a listening thread and condition variables over a pair of pipes, messages of fixed size, slots.
// One write a message; what the host's and the worker's end have in common.

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace bare {

struct Message {
    int slot, a, b, pad;
};

/// Sorts what comes in by slot; slot -1, a closed pipe, ends it.
class End {
public:
    End(int in, int out, int slots) : m_in(in), m_out(out), m_boxes(static_cast<size_t>(slots)) {
        m_listener = std::thread([this] { Listen(); });
    }
    ~End() {
        close(m_out);
        m_listener.join();
        close(m_in);
    }
    void Send(const Message& message) {
        std::lock_guard lock(m_sending);
        [[maybe_unused]] const ssize_t n = write(m_out, &message, sizeof message);
    }
    bool Take(int slot, Message& message) {
        Box& box = m_boxes[static_cast<size_t>(slot)];
        std::unique_lock lock(box.mutex);
        box.arrived.wait(lock, [&] { return !box.queue.empty(); });
        message = box.queue.front();
        box.queue.pop_front();
        return message.slot >= 0;
    }

private:
    struct Box {
        std::mutex mutex;
        std::condition_variable arrived;
        std::deque<Message> queue;
    };
    void Put(size_t slot, const Message& message) {
        Box& box = m_boxes[slot];
        {
            std::lock_guard lock(box.mutex);
            box.queue.push_back(message);
        }
        box.arrived.notify_one();
    }
    void Listen() {
        Message messages[256];
        ssize_t n;
        while ((n = read(m_in, messages, sizeof messages)) > 0)
            for (size_t i = 0; i < static_cast<size_t>(n) / sizeof(Message); ++i)
                Put(m_boxes.size() == 1 ? 0 : static_cast<size_t>(messages[i].slot), messages[i]);
        for (size_t slot = 0; slot < m_boxes.size(); ++slot) Put(slot, Message{-1, 0, 0, 0});
    }

    int m_in, m_out;
    std::vector<Box> m_boxes;
    std::mutex m_sending;
    std::thread m_listener;
};

}
