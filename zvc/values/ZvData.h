#pragma once

#include "zvc/core/ZvDeclare.h"

#include <cstdint>
#include <vector>

/// A blob of bytes. No locking.
class ZV_API ZvData : public ZvObject {
    ZV_DECLARE_CLASS(ZvData)
    ZV_DECLARE_CREATE(ZvData)
public:
    ZvData();
    ZvData(size_t count, const unsigned char* bytes);            ///< copies the bytes
    ZvData(const ZvData& other);                                 ///< with the hash, where it is known
    ZvData& operator=(const ZvData& other);
    ~ZvData() override;

    /// Replaces the bytes, appends to them. The source may lie in the blob itself. A hash that was asked for once stays what
    /// it was.
    void SetValue(size_t count, const unsigned char* bytes);
    void AddValue(size_t count, const void* bytes);

    unsigned char* GetValue() { return m_bytes.data(); }
    const unsigned char* GetValue() const { return m_bytes.data(); }
    size_t GetCount() const { return m_bytes.size(); }
    /// Copies the first count bytes, which nobody checks against GetCount.
    void GetBytes(size_t count, unsigned char* out) const;

    /// CRC-32 of the bytes, mixed with their count. Computed once: later changes do not reset it, and programs rely on that.
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;
    /// Each byte as a character, and a blank behind it. A zero byte ends the text.
    ZvString$ ToString() const override;

protected:
    /// Raises ZvCoderException (NotWritable) before anything is written to a stream that cannot be written.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    static constexpr uint32_t NotComputed = 0xFFFFFFFF;

    std::vector<unsigned char> m_bytes;
    mutable uint32_t m_hash = NotComputed;
};
ZV_DECLARE_HANDLE(ZvData, ZvObject$);
