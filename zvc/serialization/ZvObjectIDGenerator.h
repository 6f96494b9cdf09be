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

    class Table;
    long long Find(const ZvObject* object) const;      // 0 when absent; no lock
    long long Enter(const ZvObject* object);           // of an absent object; no lock

    std::unique_ptr<Table> m_table;
};

ZV_DECLARE_HANDLE(ZvObjectIDGenerator, ZvObject$);
