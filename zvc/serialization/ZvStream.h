#pragma once

#include "zvc/core/ZvDeclare.h"

/// The one byte-stream abstraction: coders, writers, channels and codecs see nothing else. It is thin on purpose: no
/// buffering of its own and no exceptions. Trouble shows in Fail and in short counts. A stream belongs to one thread at a
/// time, and is open from its constructor to its destructor.
class ZV_API ZvStream : public ZvObject {
    ZV_DECLARE_CLASS(ZvStream)
public:
    enum SeekOrigin : int { Begin = 0, Current = 1, End = 2 };      ///< any other value makes a seek do nothing

    ZvStream();
    ZvStream(const ZvStream& other);
    ZvStream(ZvStream&& other);
    ZvStream& operator=(const ZvStream&) { return *this; }
    ZvStream& operator=(ZvStream&&) { return *this; }
    ~ZvStream() override;

    virtual long long GetFileLength() = 0;

    /// Values in the machine's byte order and a fixed width: a long has 4 bytes on every platform, a bool one. They are
    /// the raw form with a local variable, and give no sign of a short transfer.
    virtual void Write(unsigned long value);
    virtual void Write(long value);
    virtual void Write(unsigned long long value);
    virtual void Write(long long value);
    virtual void Write(double value);
    virtual void Write(float value);
    virtual void Write(unsigned int value);
    virtual void Write(int value);
    virtual void Write(unsigned short value);
    virtual void Write(short value);
    virtual void Write(unsigned char value);
    virtual void Write(char value);
    virtual void Write(bool value);

    /// Transfers up to count bytes and answers how many went.
    virtual long long Write(const void* buffer, long long count) = 0;

    virtual void Read(unsigned long& value);
    virtual void Read(long& value);
    virtual void Read(unsigned long long& value);
    virtual void Read(long long& value);
    virtual void Read(double& value);
    virtual void Read(float& value);
    virtual void Read(unsigned int& value);
    virtual void Read(int& value);
    virtual void Read(unsigned short& value);
    virtual void Read(short& value);
    virtual void Read(unsigned char& value);
    virtual void Read(char& value);
    virtual void Read(bool& value);
    virtual long long Read(void* buffer, long long count) = 0;

    virtual long long Tellp() const = 0;
    virtual long long Tellg() const = 0;
    virtual void Flush() = 0;
    virtual void Seekp(long long offset, SeekOrigin origin) = 0;
    virtual void Seekg(long long offset, SeekOrigin origin) = 0;
    virtual bool Fail() const = 0;
    virtual bool SetEndOfFile() = 0;
    virtual bool CanSeek() const { return false; }
    virtual bool CanRead() const { return false; }
    virtual bool CanWrite() const { return false; }
};
