#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvString.h"

#include <vector>

/// An enumeration made at run time: named candidates, and one that is selected. GetHashCode and Equals are by identity; the
/// operator == compares the content. No locking.
class ZV_API ZvEnum : public ZvObject {
    ZV_DECLARE_CLASS(ZvEnum)
    ZV_DECLARE_CREATE(ZvEnum)
public:
    ZvEnum();                                        ///< without candidates, selection 0
    explicit ZvEnum(void* other);                    ///< copies the ZvEnum at other
    ZvEnum(const ZvEnum& other);                     ///< shares the candidates
    ZvEnum& operator=(const ZvEnum& other);
    ~ZvEnum() override;

    /// Appends a candidate and answers its index.
    size_t AddCandidate(ZvString$ const& name);
    /// Inserts a new candidate before index, which is at most the count: the one that stood there and all behind it move up.
    /// It never replaces, and the selection stays the number that it was.
    void SetCandidate(size_t index, ZvString$ const& name);

    /// Selects the candidate of that index; ignored when there is none.
    void Select(size_t index);
    /// Selects the last candidate with exactly this text; without one the selection stays.
    void Select(ZvString$ const& name);

    /// The candidate at the selection. Null where the selection lies outside, which a stream can bring about.
    ZvString$ GetSelected() const;

    /// The same number of candidates, each the same string object (not only the same text), and the same selection.
    bool operator==(const ZvEnum& other) const;
    bool operator!=(const ZvEnum& other) const { return !(*this == other); }

    ZvObject* Clone() const override;
    /// "candidates :", each candidate and a blank, a line end; "selection :", the index, a line end.
    ZvString$ ToString() const override;

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    /// Appends the candidates to those that are there. What is no string comes as a null handle.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    std::vector<ZvString$> m_candidates;
    size_t m_selection = 0;
};
ZV_DECLARE_HANDLE(ZvEnum, ZvObject$);
