#pragma once

#include "zvc/core/ZvDeclare.h"

#include <memory>

/// Walks the objects that are reachable from one: through fields of object handles, and through everything that can be
/// enumerated. Each object is visited once; the set of those that were seen compares by Equals, and is never cleared.
///
/// A collection is walked through and never entered itself. The walk does not read the halted flag: OnEnter of a derived
/// class asks IsHalted and answers false. It belongs to one thread; the objects are not locked. Exceptions of OnEnter and
/// OnLeave unwind through the walk.
///
/// The depth of the graph costs memory and no stack, but where a field class of a client's own calls Traverse, or OnEnter or
/// OnLeave does: what becomes too deep for the stack by that ends in a ZvException, as if OnEnter had raised it.
class ZV_API ZvTraverser {
public:
    ZvTraverser();
    ZvTraverser(const ZvTraverser& other);                ///< shares the set of seen objects
    ZvTraverser& operator=(const ZvTraverser& other);
    virtual ~ZvTraverser();

    /// True to walk the object's fields.
    virtual bool OnEnter(ZvObject$& o) = 0;
    /// Behind the object's fields, or right behind an OnEnter that answered false.
    virtual void OnLeave(ZvObject$& o) = 0;

    /// Walks from o. Null, and what was seen already, is passed over.
    void Traverse(ZvObject$& o);

    void HaltTraverse() { m_halted = true; }
    bool IsHalted() const { return m_halted; }

private:
    class Seen;
    class Walk;

    std::shared_ptr<Seen> m_seen;
    bool m_halted = false;
    ZvObject$** m_caught = nullptr;      // where a field that only tells of its member leaves the handle
};
