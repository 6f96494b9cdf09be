#include "zvc/serialization/ZvObjectIDGenerator.h"

#include "zvc/platform/Memory.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <vector>

ZV_DEFINE_CLASS(ZvObjectIDGenerator, (ZvObject))

/// Ids by address. Memory is cut into pieces of 1024 bytes, in which objects of the allocator stand 16 bytes apart at the
/// least: each piece that has an object gets a page of ids, one for each place, and a hash table leads to the page. Objects
/// that were made one after the other, and are then written so, mostly stand in few pieces, so that most questions are
/// answered by a page of the last ones.
class ZvObjectIDGenerator::Table {
public:
    Table() : m_directory(FirstSlots) {}
    Table(const Table& other) : m_directory(other.m_directory.size()), m_rest(other.m_rest), m_count(other.m_count) {
        for (const Slot& slot : other.m_directory)
            if (slot.page != nullptr) *MakePage(slot.piece) = *slot.page;
    }
    ~Table() {
        for (const Chunk& chunk : m_chunks) zvc::platform::LargeFree(chunk.pages, chunk.count * sizeof(Page));
    }
    Table& operator=(const Table&) = delete;

    long long Find(const ZvObject* object) {
        const auto address = reinterpret_cast<uintptr_t>(object);
        if (address % PlaceSize == 0) {
            const Page* page = PageOf(address / PieceSize);
            if (page != nullptr && page->ids[PlaceOf(address)] != 0) return page->ids[PlaceOf(address)];
        }
        if (m_rest.empty()) return 0;
        const auto found = m_rest.find(object);
        return found != m_rest.end() ? found->second : 0;
    }

    /// Of an object that is not there.
    long long Enter(const ZvObject* object) {
        const auto address = reinterpret_cast<uintptr_t>(object);
        const long long id = m_count;
        if (address % PlaceSize != 0 || id > std::numeric_limits<uint32_t>::max()) {
            m_rest.emplace(object, id);
        } else {
            Page* page = PageOf(address / PieceSize);
            if (page == nullptr) page = MakePage(address / PieceSize);
            page->ids[PlaceOf(address)] = static_cast<uint32_t>(id);
        }
        ++m_count;
        return id;
    }

private:
    static constexpr uintptr_t PlaceSize = 16;
    static constexpr uintptr_t PieceSize = 1024;
    static constexpr size_t Recent = 8;
    static constexpr size_t FirstSlots = 16;
    static constexpr size_t FirstPages = 4;
    static constexpr size_t MostPages = 8192;            // 2 MB

    struct Page {
        uint32_t ids[PieceSize / PlaceSize];              // 0 in a place without an object
    };
    struct Slot {
        uintptr_t piece = 0;
        Page* page = nullptr;                             // null in a free slot
    };
    struct Chunk {
        Page* pages;
        size_t count;
    };

    static size_t PlaceOf(uintptr_t address) { return address % PieceSize / PlaceSize; }

    Page* PageOf(uintptr_t piece) {
        Slot& recent = m_recent[piece % Recent];
        if (piece == recent.piece) return recent.page;
        const Slot& slot = m_directory[SlotOf(piece)];
        if (slot.page != nullptr) recent = slot;
        return slot.page;
    }

    /// The slot of the piece, or the free one where it belongs.
    size_t SlotOf(uintptr_t piece) const {
        const size_t mask = m_directory.size() - 1;
        size_t i = static_cast<size_t>((piece * 0x9E3779B97F4A7C15ull) >> 32) & mask;
        while (m_directory[i].page != nullptr && m_directory[i].piece != piece) i = (i + 1) & mask;
        return i;
    }

    Page* MakePage(uintptr_t piece) {
        if ((m_pageCount + 1) * 2 > m_directory.size()) GrowDirectory();
        Page* const page = FreshPage();
        std::fill(std::begin(page->ids), std::end(page->ids), 0);
        m_recent[piece % Recent] = m_directory[SlotOf(piece)] = Slot{piece, page};
        ++m_pageCount;
        return page;
    }

    Page* FreshPage() {
        if (m_chunks.empty() || m_usedOfChunk == m_chunks.back().count) {
            const size_t count = std::clamp(m_pageCount, FirstPages, MostPages);
            m_chunks.reserve(m_chunks.size() + 1);
            m_chunks.push_back({zvc::platform::LargeAllocator<Page>().allocate(count), count});
            m_usedOfChunk = 0;
        }
        return &m_chunks.back().pages[m_usedOfChunk++];
    }

    void GrowDirectory() {
        std::vector<Slot, zvc::platform::LargeAllocator<Slot>> old(m_directory.size() * 2);
        old.swap(m_directory);
        for (const Slot& slot : old)
            if (slot.page != nullptr) m_directory[SlotOf(slot.piece)] = slot;
    }

    std::vector<Slot, zvc::platform::LargeAllocator<Slot>> m_directory;       // their count is a power of two
    Slot m_recent[Recent];
    std::vector<Chunk> m_chunks;
    size_t m_usedOfChunk = 0;
    size_t m_pageCount = 0;
    std::unordered_map<const ZvObject*, long long> m_rest;        // parts of other objects, and whose id is too long for a page
    long long m_count = 1;                                // entries, the null pointer among them
};

ZvObjectIDGenerator::ZvObjectIDGenerator() : m_table(new Table) {}

ZvObjectIDGenerator::ZvObjectIDGenerator(const ZvObjectIDGenerator& other) : ZvObject(other), m_table(new Table(*other.m_table)) {}

ZvObjectIDGenerator& ZvObjectIDGenerator::operator=(const ZvObjectIDGenerator& other) {
    if (this != &other) m_table.reset(new Table(*other.m_table));
    return *this;
}

ZvObjectIDGenerator::~ZvObjectIDGenerator() = default;

long long ZvObjectIDGenerator::GetId(ZvObject* object, bool* firstTime) {
    ZvLock lock(this);
    long long id = Find(object);
    const bool entered = id == 0 && object != nullptr;
    if (entered) id = Enter(object);
    if (firstTime != nullptr) *firstTime = entered;
    return id;
}

long long ZvObjectIDGenerator::HasId(ZvObject* object, bool* firstTime) {
    ZvLock lock(this);
    const long long id = Find(object);
    if (firstTime != nullptr) *firstTime = id == 0 && object != nullptr;
    return id;
}

long long ZvObjectIDGenerator::Find(const ZvObject* object) const { return m_table->Find(object); }
long long ZvObjectIDGenerator::Enter(const ZvObject* object) { return m_table->Enter(object); }
