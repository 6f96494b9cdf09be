#pragma once

#include <ios>

namespace zvc::detail {

/// While it lives, a standard-library stream raises nothing, whatever it was told to raise: no operation of a ZvStream throws,
/// and the state that is left says the same. Internal; not for clients.
class QuietStream {
public:
    explicit QuietStream(std::ios& stream) : m_stream(stream), m_raised(stream.exceptions()) {
        if (m_raised != std::ios::goodbit) m_stream.exceptions(std::ios::goodbit);
    }
    // Putting the setting back raises at once what the state has in the meantime come to; the setting is back all the same.
    ~QuietStream() {
        if (m_raised == std::ios::goodbit) return;
        try {
            m_stream.exceptions(m_raised);
        } catch (const std::ios::failure&) {
        }
    }
    QuietStream(const QuietStream&) = delete;
    QuietStream& operator=(const QuietStream&) = delete;

private:
    std::ios& m_stream;
    const std::ios::iostate m_raised;
};

}
