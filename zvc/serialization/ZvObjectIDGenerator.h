#pragma once

#include "zvc/core/ZvDeclare.h"

#include <memory>

/// The writing side's table of a coder: which object has been seen, and under which number. Ids are 1, 2, 3 and so on,
/// without gaps and never reused; the null pointer has id 0 from the start. Keys are plain pointers: no reference is
/// held. It only grows. Each operation holds the object's lock for its whole run.
class ZV_API ZvObjectIDGenerator : public ZvObject {
    ZV_DECLARE_CLASS(ZvObjectIDGenerator)
public:
    ZvObjectIDGenerator();
    ZvObjectIDGenerator(const ZvObjectIDGenerator& other);
    ZvObjectIDGenerator& operator=(const ZvObjectIDGenerator& other);
    ~ZvObjectIDGenerator() override;

    /// The id of object; one that is not known is entered. *firstTime tells whether it was entered now; it may be null.
    virtual long long GetId(ZvObject* object, bool* firstTime);

    /// The id of object, or 0 with *firstTime true when it is not known: nothing is entered. firstTime may be null.
    virtual long long HasId(ZvObject* object, bool* firstTime);

private:
    friend class ZvBinaryCoder;

    struct Slot {
        const ZvObject* object;          // null in a free slot: the null pointer itself needs none
        long long id;
    };
    size_t Place(const ZvObject* object) const;
    long long Find(const ZvObject* object) const;      // 0 when absent; no lock
    long long Enter(const ZvObject* object);           // of an absent object; no lock
    void Grow();

    std::unique_ptr<Slot[]> m_slots;
    size_t m_mask = 0;                   // slots less one; a power of two
    size_t m_count = 1;                  // entries, the null pointer among them
};

ZV_DECLARE_HANDLE(ZvObjectIDGenerator, ZvObject$);
