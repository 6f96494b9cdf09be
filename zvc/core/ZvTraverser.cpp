#include "zvc/core/ZvTraverser.h"

#include "zvc/core/ZvField.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvHashSet.h"

ZvTraverser::ZvTraverser() : m_visited(new ZvHashSet) {}
ZvTraverser::ZvTraverser(const ZvTraverser& other) = default;
ZvTraverser& ZvTraverser::operator=(const ZvTraverser& other) = default;
ZvTraverser::~ZvTraverser() = default;

void ZvTraverser::Traverse(ZvObject$& o) {
    if (!o || m_visited->Contains(o)) return;
    m_visited->Add(o);
    if (const ZvIEnumeratable$ collection = o) {
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
