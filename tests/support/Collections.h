#pragma once

// What the tests of the collections share: keys that write down how they are asked, and what can be seen of a collection.

#include "Cases.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

/// A key with a number that decides its bucket: where the mixed hash is v, small and positive, the bucket of 8 is -v mod 8,
/// and the bucket of 64 is 39 v mod 64 (the generator's factor 16807 is 7 mod 8 and 39 mod 64).
class RecordingKey : public ZvObject {
public:
    RecordingKey(unsigned int v, std::string name, bool isEqual = true) : m_v(v), m_name(std::move(name)), m_isEqual(isEqual) {}
    explicit RecordingKey(unsigned int v) : RecordingKey(v, std::to_string(v)) {}

    size_t GetHashCode() const override {
        Record("h" + m_name);
        return (uint64_t(0x5A5A5A5A) << 32) | (m_v ^ 0xDEADBEEF);        // the upper half is of no account
    }

    bool Equals(const ZvObject* other) const override {
        const auto* key = dynamic_cast<const RecordingKey*>(other);
        Record(m_name + "=" + (key != nullptr ? key->m_name : "null"));
        return key != nullptr && m_isEqual && key->m_v == m_v;
    }

    const std::string& Name() const { return m_name; }
    void BeEqualTo(unsigned int v) { m_v = v; }

    /// What was asked since the last time, with blanks between.
    static std::string Calls() {
        std::string calls;
        calls.swap(s_calls);
        return calls;
    }

    /// The call that throws, counted from now; 0 for none.
    static void ThrowAt(int call) { s_throwAt = call; }

private:
    static void Record(const std::string& call) {
        s_calls += (s_calls.empty() ? "" : " ") + call;
        if (s_throwAt != 0 && --s_throwAt == 0) throw std::runtime_error("asked once too often");
    }

    static inline std::string s_calls;
    static inline int s_throwAt = 0;

    unsigned int m_v;
    const std::string m_name;
    const bool m_isEqual;
};

/// An object that does something at its end.
class LastWord : public ZvObject {
public:
    explicit LastWord(std::function<void()> word) : m_word(std::move(word)) {}
    ~LastWord() override { m_word(); }

private:
    const std::function<void()> m_word;
};

/// The names in the order of enumeration; "~" for null.
inline std::string Names(ZvIEnumerator$ e) {
    std::string names;
    while (e->HasNext()) {
        ZvObject$ element = e->Next();
        if (auto* entry = dynamic_cast<ZvDictionaryEntry*>(element.Get())) element = entry->Key();
        const auto* key = dynamic_cast<RecordingKey*>(element.Get());
        names += (names.empty() ? "" : " ") + (key != nullptr ? key->Name() : "~");
    }
    return names;
}

/// Whether somebody has entered the object's monitor since it was made: the monitor comes with the first lock, in the word
/// behind the count.
inline bool WasLocked(const ZvObject* object) { return reinterpret_cast<void* const*>(object)[2] != nullptr; }

inline ZvObject$ Number(int i) { return new ZvPrimitive<int>(i); }

inline std::vector<ZvObject$> Numbers(int count) {
    std::vector<ZvObject$> numbers;
    for (int i = 0; i < count; ++i) numbers.push_back(Number(i));
    return numbers;
}

/// Has target read what source writes; the answer is the bytes.
inline std::string Recode(const ZvObject& source, ZvObject& target) {
    cases::Memory out;
    source.Encode(out.stream, cases::Coder(0).Get());
    const std::string bytes = out.Taken();
    cases::Memory in(bytes);
    target.Decode(in.stream, cases::Coder(0).Get());
    return bytes;
}

/// The elements in the order of enumeration.
inline std::vector<ZvObject$> ElementsOf(ZvIEnumerator$ e) {
    std::vector<ZvObject$> elements;
    while (e->HasNext()) elements.push_back(e->Next());
    return elements;
}
