#include "zvc/values/ZvEnum.h"

#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvRun.h"

#include <string>

ZV_DEFINE_CLASS(ZvEnum, (ZvObject), .codec = true, .create = &Create)

ZvEnum::ZvEnum() = default;
ZvEnum::ZvEnum(void* other) : ZvEnum(*static_cast<const ZvEnum*>(other)) {}
ZvEnum::ZvEnum(const ZvEnum& other) = default;
ZvEnum::~ZvEnum() = default;

ZvEnum& ZvEnum::operator=(const ZvEnum& other) {
    m_candidates = other.m_candidates;
    m_selection = other.m_selection;
    return *this;
}

size_t ZvEnum::AddCandidate(ZvString$ const& name) {
    m_candidates.push_back(name);
    return m_candidates.size() - 1;
}

// Meant so: the name says "set", and files were made with an operation that inserts.
void ZvEnum::SetCandidate(size_t index, ZvString$ const& name) {
    m_candidates.insert(m_candidates.begin() + static_cast<ptrdiff_t>(index), name);
}

void ZvEnum::Select(size_t index) {
    if (index < m_candidates.size()) m_selection = index;
}

void ZvEnum::Select(ZvString$ const& name) {
    if (!name) return;
    for (size_t i = 0; i < m_candidates.size(); ++i)
        if (m_candidates[i] && *m_candidates[i] == *name) m_selection = i;       // no way out: the last match wins
}

ZvString$ ZvEnum::GetSelected() const {
    return m_selection < m_candidates.size() ? m_candidates[m_selection] : ZvString$();
}

bool ZvEnum::operator==(const ZvEnum& other) const {
    return m_candidates == other.m_candidates && m_selection == other.m_selection;
}

ZvObject* ZvEnum::Clone() const { return new ZvEnum(*this); }

ZvString$ ZvEnum::ToString() const {
    std::string text = "candidates :";
    for (const ZvString$& candidate : m_candidates) {
        if (candidate) text += candidate->CStr();
        text += ' ';
    }
    text += "\nselection :" + std::to_string(m_selection) + '\n';
    return new ZvString(text.c_str());
}

void ZvEnum::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(m_candidates.size()));
    for (const ZvString$& candidate : m_candidates) coder->Write(stream, static_cast<const ZvObject$&>(candidate));
    coder->Write(stream, static_cast<unsigned int>(m_selection));
}

void ZvEnum::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int count = 0;
    coder->Read(stream, count);
    m_candidates.reserve(m_candidates.size() + zvc::detail::RoomFor(stream, coder, 1, 0, count));
    zvc::detail::Arrival arrival(stream, coder);
    for (; count != 0; --count) {
        arrival.After(sizeof(ZvString$));
        m_candidates.emplace_back(ZvObject$(coder->DecodeObject(stream)));
    }
    unsigned int selection = 0;
    coder->Read(stream, selection);
    m_selection = selection;
}
