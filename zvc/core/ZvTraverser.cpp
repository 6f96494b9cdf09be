#include "zvc/core/ZvTraverser.h"

#include "zvc/core/ZvException.h"
#include "zvc/core/ZvField.h"
#include "zvc/platform/StackBounds.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvHashSet.h"

ZvTraverser::ZvTraverser() : m_visited(new ZvHashSet) {}
ZvTraverser::ZvTraverser(const ZvTraverser& other) = default;
ZvTraverser& ZvTraverser::operator=(const ZvTraverser& other) = default;
ZvTraverser::~ZvTraverser() = default;

void ZvTraverser::Traverse(ZvObject$& o) {
    if (!o) return;
    if (zvc::platform::StackIsLow()) throw ZvException("ZvTraverser: the graph is too deep for the stack");
    const size_t seen = m_visited->Count();
    m_visited->Add(o);
    if (m_visited->Count() == seen) return;
    if (o->GetType()->CalcOffset(&ZvIEnumeratable::s_type) != ZvNoOffset) {
        const ZvIEnumeratable$ collection = o;
        ZvIEnumerator$ e = collection->GetEnumerator();
        while (e->HasNext()) {
            ZvObject$ element = e->Next();
            Traverse(element);
        }
        return;
    }
    if (OnEnter(o)) o->GetType()->Traverse(*this, o);
    OnLeave(o);
}

void ZvType::Traverse(ZvTraverser& traverser, ZvObject$& o) {
    ZvIDictionaryEnumerator$ e = GetFields()->GetEnumerator();
    for (; e->HasNext(); e->Next()) {
        ZvField$ field = e->Value();
        field->Traverse(traverser, o);
    }
}
