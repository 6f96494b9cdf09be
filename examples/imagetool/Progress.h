#pragma once

#include <zvc/zvc.h>

#include <atomic>
#include <mutex>
#include <string>

namespace imagetool {

/// One line on standard error that says what is being done and since when. It is renewed ten times a second by a thread of its
/// own, and is gone at the end.
class Progress {
public:
    enum Mode { Never, WhenSlow, Always };         ///< WhenSlow: once something takes longer than a third of a second

    explicit Progress(Mode mode);
    ~Progress();

    /// What is being done now.
    void Step(const std::string& text);

    /// Takes the line away, so that something else can be printed.
    void Clear();

private:
    void Run();
    void Draw();

    const Mode m_mode;
    std::mutex m_mutex;
    std::string m_text;
    unsigned long long m_since = 0;
    bool m_drawn = false;
    std::atomic<bool> m_over{false};
    ZvHandle<ZvThread, ZvObject$> m_thread;
};

}
