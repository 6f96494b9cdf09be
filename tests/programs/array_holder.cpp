// One of the processes of the stress test of shared arrays: makes, opens, writes and closes arrays at random, looks whether
// all is as it must be, and never ends by itself.
//
//     array_holder BASE SEED

#include "support/SharedArrays.h"

#include <cstdlib>
#include <random>

ZV_MODULE("array_holder", nullptr, nullptr)

namespace {

using namespace arrays;

/// The first two elements of a block are its mark and its number; the rest is zero until it has its number, and anything
/// after that.
class Holder {
public:
    Holder(const std::string& base, unsigned int seed, const Array$& tally) : m_base(base), m_random(seed), m_tally(tally) {}

    void Run() {
        for (;;) {
            const unsigned int name = Random() % Names;
            Array$& held = m_held[name];
            switch (Random() % 8) {                     // mostly closing: blocks are to come and go
            case 0: Make(name, held); break;
            case 1: Join(name, held); break;
            case 2: Check(name, held); break;
            case 3: Scribble(held); break;
            default: held = nullptr; break;
            }
        }
    }

private:
    static constexpr unsigned int Magic = 0x5AFEB10C;

    void Note(Tally what) { ++At(m_tally, what); }

    void Make(unsigned int name, Array$& held) {
        const Array$ array = new Array(NameOf(m_base, name), Count, nullptr);
        Note(Made);
        unsigned int none = 0;
        if (At(array, 0).compare_exchange_strong(none, Magic)) {
            for (unsigned int i = 2; i < Count; ++i)
                if (At(array, i) != 0) return Note(NotZero);
            At(array, 1) = Random() + 1;
        } else if (none != Magic) {
            Note(Damaged);
        }
        held = array;
        Check(name, held);                              // two that were made at the same moment are one
    }

    void Join(unsigned int name, Array$& held) {
        const Array$ array = Open(NameOf(m_base, name));
        Note(array ? Opened : Missed);
        if (array) held = array;
    }

    /// Whoever holds a block finds that very one under its name: what is written here shows there. Others may have written
    /// meanwhile, but then it has changed here too.
    void Check(unsigned int name, const Array$& held) {
        if (!held || At(held, 1) == 0) return;
        const Array$ again = Open(NameOf(m_base, name));
        const unsigned int place = Place(), word = Random();
        At(held, place) = word;
        const bool same = again && (At(again, place) == word || At(held, place) != word);
        Note(same ? Checked : OtherBlock);
    }

    // Only a block that has its number: the maker of a new one still looks whether it is zero.
    void Scribble(const Array$& held) {
        if (held && At(held, 1) != 0) At(held, Place()) = Random();
    }

    unsigned int Random() { return static_cast<unsigned int>(m_random()); }
    unsigned int Place() { return 2 + Random() % (Count - 2); }

    const std::string m_base;
    std::minstd_rand m_random;
    const Array$ m_tally;
    Array$ m_held[Names];
};

}

int main(int argc, char** argv) {
    if (argc != 3) return 1;
    const Array$ tally = Open(TallyName(argv[1]));
    if (tally) Holder(argv[1], static_cast<unsigned int>(std::atoi(argv[2])), tally).Run();
    return 2;
}
