#pragma once

#include <cstddef>
#include <cstring>

/// The place of a virtual operation in its class's table, where a destructor takes the first two. A pointer to a virtual member
/// holds one more than the place in bytes.
template <class Member>
size_t SlotOf(Member member) {
    static_assert(sizeof(Member) == 2 * sizeof(size_t));
    size_t words[2];
    std::memcpy(words, &member, sizeof words);
    return words[0] / sizeof(void*);
}
