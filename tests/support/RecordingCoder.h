#pragma once

#include <zvc/zvc.h>

#include <sstream>
#include <string>

/// A coder of somebody else, which needs no stream. Writes down which primitive it was asked for, and gives 1, 2, 3, ... when it
/// is read from.
class RecordingCoder : public ZvCoder {
public:
    using ZvCoder::Read;
    using ZvCoder::Write;
#define RECORDED(T, letter)                                                    \
    void Write(ZvStream$&, T value) override { Note(letter, value); }          \
    void Read(ZvStream$&, T& value) override { Note(letter, value = static_cast<T>(++m_count)); }
    RECORDED(double, 'd')
    RECORDED(float, 'f')
    RECORDED(unsigned long long, 'U')
    RECORDED(long long, 'L')
    RECORDED(unsigned int, 'u')
    RECORDED(int, 'i')
    RECORDED(unsigned short, 'v')
    RECORDED(short, 's')
    RECORDED(unsigned char, 'b')
    RECORDED(char, 'c')
    RECORDED(bool, 't')
#undef RECORDED
    void Write(ZvStream$&, const ZvInterface*) override {}
    void Write(ZvStream$&, const ZvInterface$&) override {}
    void Write(ZvStream$&, const ZvObject*) override {}
    void Write(ZvStream$&, const ZvObject$&) override {}
    void Write(ZvStream$&, const ZvString& text) override { calls += std::string("text:") + text.CStr(); }
    void Write(ZvStream$&, unsigned int, const double*) override {}
    void Write(ZvStream$&, unsigned int, const float*) override {}
    void Write(ZvStream$&, const void*, unsigned long long) override {}
    void Read(ZvStream$&, ZvInterface*&) override {}
    void Read(ZvStream$&, ZvInterface$&) override {}
    void Read(ZvStream$&, ZvObject*&) override {}
    void Read(ZvStream$&, ZvObject$&) override {}
    void Read(ZvStream$&, ZvString& text) override { text = ZvString("read"); }
    void Read(ZvStream$&, unsigned int, double*) override {}
    void Read(ZvStream$&, unsigned int, float*) override {}
    void Read(ZvStream$&, void*, unsigned long long size) override { calls += "block:" + std::to_string(size) + ' '; }
    void EncodeObject(ZvStream$&, ZvObject*) override {}
    ZvObject* DecodeObject(ZvStream$&) override { return nullptr; }

    ZvChannel* Channel() const { return m_channel; }
    std::string calls;

private:
    unsigned int FindFileVersion(ZvType*) override { return 0; }
    template <class T>
    void Note(char letter, T value) {
        std::ostringstream text;
        text << letter << +value << ' ';
        calls += text.str();
    }
    int m_count = 0;
};
