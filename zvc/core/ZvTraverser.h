#pragma once

#include "zvc/core/ZvDeclare.h"

/// Walks the objects that are reachable from one: through fields of object handles, and through everything that can be
/// enumerated. Each object is visited once; the set of those that were seen compares by Equals, and is never cleared.
///
/// A collection is walked through and never entered itself. The walk does not read the halted flag: OnEnter of a derived
/// class asks IsHalted and answers false. It belongs to one thread; the objects are not locked. Exceptions of OnEnter and
/// OnLeave unwind through the walk.
///
/// The recursion follows the depth of the graph. One that is too deep for the stack ends in a ZvException, as if OnEnter had
/// raised it.
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
    ZvHashSet$ m_visited;
    bool m_halted = false;
};
