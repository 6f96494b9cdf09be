#include "zvc/core/ZvTraverser.h"

#include "zvc/core/ZvException.h"
#include "zvc/core/ZvField.h"
#include "zvc/core/ZvFieldPrimitive.h"
#include "zvc/platform/StackBounds.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvHashSet.h"

#include <deque>
#include <typeinfo>
#include <unordered_map>
#include <vector>

/// The objects that were seen, by their GetHashCode and Equals; each is held. Those that compare by identity stand in a table of
/// their addresses, which says the same without asking them.
class ZvTraverser::Seen {
public:
    ~Seen() {
        for (ZvObject* o : m_slots)
            if (o != nullptr) o->Release();
    }

    /// False for one that is there.
    bool Add(ZvObject$& o) {
        if (o->GetType()->ComparesByIdentity(o.Get())) return AddAddress(o.Get());
        if (m_others->Contains(o)) return false;
        m_others->Add(o);
        return true;
    }

private:
    bool AddAddress(ZvObject* o) {
        if (m_count * 2 >= m_slots.size()) Grow();
        ZvObject*& slot = SlotOf(m_slots, o);
        if (slot != nullptr) return false;
        slot = o;
        ++m_count;
        o->Retain();
        return true;
    }

    // The first free slot, or that of o, behind the place that the address leads to. Neighbours in memory are neighbours here,
    // as objects that were made together are mostly walked together; blocks of them are scattered.
    static ZvObject*& SlotOf(std::vector<ZvObject*>& slots, const ZvObject* o) {
        constexpr uint64_t golden = 0x9E3779B97F4A7C15;          // the golden ratio's fraction
        const auto address = reinterpret_cast<uintptr_t>(o);
        const size_t mask = slots.size() - 1;
        size_t i = (((address >> 16) * golden >> 32) + (address >> 4)) & mask;
        while (slots[i] != nullptr && slots[i] != o) i = (i + 1) & mask;
        return slots[i];
    }

    void Grow() {
        std::vector<ZvObject*> larger(m_slots.empty() ? 64 : m_slots.size() * 2);
        for (ZvObject* o : m_slots)
            if (o != nullptr) SlotOf(larger, o) = o;
        m_slots.swap(larger);
    }

    std::vector<ZvObject*> m_slots;      // a power of two
    size_t m_count = 0;
    ZvHashSet$ m_others = new ZvHashSet;
};

/// One walk, depth first, with the way back kept in memory: a chain of a million objects needs no more stack than a short one.
/// The library's own fields hand their member to Traverse and do nothing else that matters: they are asked for it, and the
/// walk goes on from here. Any other field is called, and what it does may nest.
class ZvTraverser::Walk {
public:
    explicit Walk(ZvTraverser& traverser) : m_traverser(traverser) {}

    void From(ZvObject$& root) {
        Enter(root);
        while (!m_path.empty()) {
            if (m_path.back().fields != nullptr)
                NextField(m_path.back());
            else
                NextElement(m_path.back());
        }
    }

private:
    enum class Way { Call, Ask, AskAndSettle };
    struct Step {
        ZvField* field;
        Way way;
    };
    struct Fields {
        ZvDictionary$ cache;             // keeps the fields
        std::vector<Step> steps;
    };
    struct Place {
        ZvObject$* handle;               // the one that led here
        const Fields* fields;            // null for a collection
        size_t next;
        ZvField* unsettled;              // its member was walked from, and may hold another object now
        ZvIEnumerator$ elements;
        ZvObject$ element;
    };

    void Enter(ZvObject$& o) {
        if (!o || !m_traverser.m_seen->Add(o)) return;
        if (o->GetType()->CalcOffset(&ZvIEnumeratable::s_type) != ZvNoOffset) {
            const ZvIEnumeratable$ collection = o;
            m_path.push_back({&o, nullptr, 0, nullptr, collection->GetEnumerator(), ZvObject$()});
        } else if (m_traverser.OnEnter(o)) {
            m_path.push_back({&o, &FieldsOf(o->GetType()), 0, nullptr, ZvIEnumerator$(), ZvObject$()});
        } else {
            m_traverser.OnLeave(o);
        }
    }

    void NextField(Place& place) {
        if (place.unsettled != nullptr) {
            Ask(*place.unsettled, *place.handle);
            place.unsettled = nullptr;
        }
        if (place.next == place.fields->steps.size()) {
            m_traverser.OnLeave(*place.handle);
            m_path.pop_back();
            return;
        }
        const Step& step = place.fields->steps[place.next++];
        if (step.way == Way::Call) {
            step.field->Traverse(m_traverser, *place.handle);
            return;
        }
        if (step.way == Way::AskAndSettle) place.unsettled = step.field;
        if (ZvObject$* member = Ask(*step.field, *place.handle)) Enter(*member);
    }

    void NextElement(Place& place) {
        if (!place.elements->HasNext()) {
            m_path.pop_back();
            return;
        }
        place.element = place.elements->Next();
        Enter(place.element);
    }

    ZvObject$* Ask(ZvField& field, ZvObject$& o) {
        ZvObject$* member = nullptr;
        m_traverser.m_caught = &member;
        field.Traverse(m_traverser, o);
        m_traverser.m_caught = nullptr;
        return member;
    }

    const Fields& FieldsOf(ZvType* type) {
        if (type == m_lastType) return *m_lastFields;
        Fields& fields = m_fields[type];
        if (!fields.cache) {
            fields.cache = type->GetFields();
            for (ZvIDictionaryEnumerator$ e = fields.cache->GetEnumerator(); e->HasNext(); e->Next()) {
                ZvField* field = static_cast<ZvField*>(e->Value().Get());
                fields.steps.push_back({field, WayOf(*field)});
            }
        }
        m_lastType = type;
        m_lastFields = &fields;
        return fields;
    }

    static Way WayOf(const ZvField& field) {
        if (typeid(field) == typeid(ZvFieldPrimitive<ZvObject$>)) return Way::Ask;
        return dynamic_cast<const zvc::detail::TypedHandleField*>(&field) != nullptr ? Way::AskAndSettle : Way::Call;
    }

    ZvTraverser& m_traverser;
    std::deque<Place> m_path;            // places stay where they are: their elements are handed out by reference
    std::unordered_map<const ZvType*, Fields> m_fields;
    const ZvType* m_lastType = nullptr;
    const Fields* m_lastFields = nullptr;
};

ZvTraverser::ZvTraverser() : m_seen(std::make_shared<Seen>()) {}
ZvTraverser::ZvTraverser(const ZvTraverser& other) : m_seen(other.m_seen), m_halted(other.m_halted) {}
ZvTraverser& ZvTraverser::operator=(const ZvTraverser& other) {
    m_seen = other.m_seen;
    m_halted = other.m_halted;
    return *this;
}
ZvTraverser::~ZvTraverser() = default;

void ZvTraverser::Traverse(ZvObject$& o) {
    if (m_caught != nullptr) {
        *m_caught = &o;
        m_caught = nullptr;
        return;
    }
    if (zvc::platform::StackIsLow()) throw ZvException("ZvTraverser: the graph is too deep for the stack");
    Walk(*this).From(o);
}

void ZvType::Traverse(ZvTraverser& traverser, ZvObject$& o) {
    ZvIDictionaryEnumerator$ e = GetFields()->GetEnumerator();
    for (; e->HasNext(); e->Next()) {
        ZvField$ field = e->Value();
        field->Traverse(traverser, o);
    }
}
