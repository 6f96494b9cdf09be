#pragma once

#include <zvc/zvc.h>

#include <string>

/// A client's stream: takes and gives one run of bytes, from a string, tells no position and never fails. Tests derive from it
/// what they are about.
class OtherStream : public ZvStream {
public:
    using ZvStream::Read;
    using ZvStream::Write;
    OtherStream() = default;
    explicit OtherStream(std::string given) : bytes(std::move(given)) {}
    long long GetFileLength() override { return 0; }
    long long Write(const void* data, long long count) override {
        bytes.append(static_cast<const char*>(data), static_cast<size_t>(count));
        return count;
    }
    long long Read(void* data, long long count) override {
        const size_t moved = bytes.copy(static_cast<char*>(data), static_cast<size_t>(count), at);
        at += moved;
        return static_cast<long long>(moved);
    }
    long long Tellp() const override { return 0; }
    long long Tellg() const override { return 0; }
    void Flush() override {}
    void Seekp(long long, SeekOrigin) override {}
    void Seekg(long long, SeekOrigin) override {}
    bool Fail() const override { return false; }
    bool SetEndOfFile() override { return false; }

    std::string bytes;
    size_t at = 0;                       // of the next byte to be read
};
