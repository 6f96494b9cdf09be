#include "zvc/platform/linux/CoreFile.h"

#include "zvc/platform/linux/CoreMap.h"

#include <asm/prctl.h>
#include <cerrno>
#include <cpuid.h>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

constexpr size_t PageSize = 4096;
constexpr size_t SignalInfoSize = 128;
constexpr uint32_t ExtendedMagic = 0x46505853;      // says that an extended state follows the old one
constexpr size_t SoftwareBytes = 464;               // where the frame's own words begin in the old state: magic, sizes, ...
constexpr size_t StateComponents = 472;             // ... and which components the extended state holds
constexpr size_t OldStateSize = 512;
constexpr size_t ExtendedHeaderSize = 64;           // behind the old state; its first word says which components are in use
constexpr uint64_t KnownComponents = 0x3FF;         // up to the protection keys: debuggers know no others

CoreMap s_map;
char s_buffer[65536];
uint64_t s_pages[4096];

/// Counts what is put into it, and writes it when it has a file. Memory goes out by itself, without the buffer.
class Sink {
public:
    explicit Sink(int file) noexcept : m_file(file) {}
    uint64_t Position() const noexcept { return m_position + m_used; }
    bool Good() const noexcept { return m_good; }

    void Put(const void* data, size_t size) noexcept;
    void PutZeros(size_t size) noexcept;
    void Align(size_t to) noexcept { PutZeros((to - Position() % to) % to); }
    void Flush() noexcept;
    void PutMemory(uint64_t begin, uint64_t end) noexcept;
    void Skip(uint64_t size) noexcept { m_position += size; }

private:
    ssize_t Write(const void* data, size_t size) noexcept;

    const int m_file;
    uint64_t m_position = 0;
    size_t m_used = 0;
    bool m_good = true;
};

void Sink::Put(const void* data, size_t size) noexcept {
    if (m_file < 0) {
        m_position += size;
        return;
    }
    for (auto* bytes = static_cast<const char*>(data); size != 0;) {
        if (m_used == sizeof s_buffer) Flush();
        const size_t part = size < sizeof s_buffer - m_used ? size : sizeof s_buffer - m_used;
        std::memcpy(s_buffer + m_used, bytes, part);
        m_used += part;
        bytes += part;
        size -= part;
    }
}

void Sink::PutZeros(size_t size) noexcept {
    static const char zeros[64] = {};
    for (; size > sizeof zeros; size -= sizeof zeros) Put(zeros, sizeof zeros);
    Put(zeros, size);
}

// The count of bytes; negative with the error left in errno. The call itself, which nobody has put himself before: what is
// written is all memory, also what a tool that watches over a program has marked as not to be read.
ssize_t Sink::Write(const void* data, size_t size) noexcept {
    ssize_t count;
    do count = syscall(SYS_pwrite64, m_file, data, size, static_cast<off_t>(m_position));
    while (count < 0 && errno == EINTR);
    if (count > 0) m_position += static_cast<uint64_t>(count);
    return count;
}

void Sink::Flush() noexcept {
    for (const char* bytes = s_buffer; m_used != 0 && m_good;) {
        const ssize_t count = Write(bytes, m_used);
        m_good = count > 0;
        if (!m_good) break;
        bytes += count;
        m_used -= static_cast<size_t>(count);
    }
    m_used = 0;
}

// A page that cannot be read after all, such as one behind the end of its file, stays a hole.
void Sink::PutMemory(uint64_t begin, uint64_t end) noexcept {
    while (begin < end && m_good) {
        const ssize_t count = Write(reinterpret_cast<const void*>(begin), end - begin);
        if (count > 0) {
            begin += static_cast<uint64_t>(count);
        } else if (count < 0 && errno == EFAULT) {
            const uint64_t page = PageSize - begin % PageSize;
            begin += page;
            Skip(page);
        } else {
            m_good = false;
        }
    }
}

// ---- notes ------------------------------------------------------------------------------------------------------------------

void BeginNote(Sink& sink, const char* owner, uint32_t type, size_t size) noexcept {
    const Elf64_Nhdr header{static_cast<uint32_t>(std::strlen(owner) + 1), static_cast<uint32_t>(size), type};
    sink.Put(&header, sizeof header);
    sink.Put(owner, header.n_namesz);
    sink.Align(4);
}

void PutNote(Sink& sink, uint32_t type, const void* data, size_t size) noexcept {
    BeginNote(sink, "CORE", type, size);
    sink.Put(data, size);
    sink.Align(4);
}

size_t ReadWhole(const char* path, void* buffer, size_t size) noexcept {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    const ssize_t count = read(file, buffer, size);
    close(file);
    return count > 0 ? static_cast<size_t>(count) : 0;
}

void PutProcess(Sink& sink) noexcept {
    elf_prpsinfo process{};
    process.pr_sname = 'R';
    process.pr_uid = getuid();
    process.pr_gid = getgid();
    process.pr_pid = getpid();
    process.pr_ppid = getppid();
    process.pr_pgrp = getpgrp();
    process.pr_sid = getsid(0);
    const size_t name = ReadWhole("/proc/self/comm", process.pr_fname, sizeof process.pr_fname - 1);
    if (name != 0) process.pr_fname[name - 1] = 0;                  // its line's end
    const size_t words = ReadWhole("/proc/thread-self/cmdline", process.pr_psargs, sizeof process.pr_psargs - 1);
    for (size_t i = 0; i + 1 < words; ++i)
        if (process.pr_psargs[i] == 0) process.pr_psargs[i] = ' ';
    PutNote(sink, NT_PRPSINFO, &process, sizeof process);
}

void PutAuxiliaryVector(Sink& sink) noexcept {
    alignas(8) static char vector[4096];
    PutNote(sink, NT_AUXV, vector, ReadWhole("/proc/thread-self/auxv", vector, sizeof vector));
}

// Which files are mapped where: the count, the page's size, three words for each, then the names.
void PutFiles(Sink& sink) noexcept {
    uint64_t head[2] = {0, PageSize};
    size_t size = sizeof head + s_map.namesUsed;
    for (size_t i = 0; i != s_map.count; ++i) head[0] += s_map.mappings[i].name != nullptr;
    size += head[0] * 3 * sizeof(uint64_t);
    BeginNote(sink, "CORE", NT_FILE, size);
    sink.Put(head, sizeof head);
    for (size_t i = 0; i != s_map.count; ++i) {
        const Mapping& m = s_map.mappings[i];
        const uint64_t words[3] = {m.begin, m.end, m.offset / PageSize};
        if (m.name != nullptr) sink.Put(words, sizeof words);
    }
    sink.Put(s_map.names, s_map.namesUsed);
    sink.Align(4);
}

// Where the components end, of which the first two belong to the old state.
uint32_t ExtendedSize(uint64_t components) noexcept {
    uint32_t size = OldStateSize + ExtendedHeaderSize;
    for (uint32_t i = 2; components >> i != 0; ++i) {
        uint32_t length, offset, flags, reserved;
        if ((components >> i & 1) == 0) continue;
        __cpuid_count(0xD, i, length, offset, flags, reserved);
        if (offset + length > size) size = offset + length;
    }
    return size;
}

// In a core the first of the frame's own words says which components there are. With the others left in, or with a size that
// is not that of these components, debuggers refuse the state or the whole file.
void PutExtendedState(Sink& sink, const CoreThread& thread) noexcept {
    constexpr uint32_t ExtendedStateNote = 0x202;
    uint64_t inUse;
    std::memcpy(&inUse, thread.extended + OldStateSize, sizeof inUse);
    inUse &= KnownComponents;
    BeginNote(sink, "LINUX", ExtendedStateNote, thread.extendedSize);
    sink.Put(thread.extended, SoftwareBytes);
    sink.Put(&thread.components, sizeof thread.components);
    sink.PutZeros(OldStateSize - SoftwareBytes - sizeof thread.components);
    sink.Put(&inUse, sizeof inUse);
    sink.Put(thread.extended + OldStateSize + sizeof inUse, thread.extendedSize - OldStateSize - sizeof inUse);
    sink.Align(4);
}

void PutNotes(Sink& sink, const CoreThread* const* threads, size_t count, const siginfo_t& cause) noexcept {
    for (size_t i = 0; i != count; ++i) {
        const CoreThread& thread = *threads[i];
        PutNote(sink, NT_PRSTATUS, &thread.status, sizeof thread.status);
        if (i == 0) {
            PutProcess(sink);
            PutNote(sink, NT_SIGINFO, &cause, SignalInfoSize);
            PutAuxiliaryVector(sink);
            PutFiles(sink);
        }
        if (!thread.complete) continue;
        PutNote(sink, NT_FPREGSET, &thread.floating, sizeof thread.floating);
        if (thread.extended != nullptr) PutExtendedState(sink, thread);
    }
}

// ---- headers and memory -------------------------------------------------------------------------------------------------------

void PutHeaders(Sink& sink, uint64_t notesSize) noexcept {
    Elf64_Ehdr header{};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_ident[EI_VERSION] = EV_CURRENT;
    header.e_type = ET_CORE;
    header.e_machine = EM_X86_64;
    header.e_version = EV_CURRENT;
    header.e_phoff = sizeof header;
    header.e_ehsize = sizeof header;
    header.e_phentsize = sizeof(Elf64_Phdr);
    header.e_phnum = static_cast<Elf64_Half>(s_map.count + 1);
    sink.Put(&header, sizeof header);

    Elf64_Phdr part{};
    part.p_type = PT_NOTE;
    part.p_offset = sizeof header + (s_map.count + 1) * sizeof part;
    part.p_filesz = notesSize;
    part.p_align = 4;
    sink.Put(&part, sizeof part);

    uint64_t at = (part.p_offset + notesSize + PageSize - 1) / PageSize * PageSize;
    for (size_t i = 0; i != s_map.count; ++i) {
        const Mapping& m = s_map.mappings[i];
        part = {};
        part.p_type = PT_LOAD;
        part.p_flags = m.protection;
        part.p_offset = at;
        part.p_vaddr = m.begin;
        part.p_memsz = m.end - m.begin;
        part.p_filesz = m.stored ? part.p_memsz : 0;
        part.p_align = PageSize;
        sink.Put(&part, sizeof part);
        at += part.p_filesz;
    }
}

// Untouched pages of a sparse mapping are skipped, so that they become holes of the file.
void PutMapping(Sink& sink, const Mapping& m, int pageTable) noexcept {
    constexpr uint64_t MostPages = sizeof s_pages / sizeof s_pages[0];
    for (uint64_t at = m.begin; at < m.end && sink.Good();) {
        const uint64_t pages = (m.end - at) / PageSize < MostPages ? (m.end - at) / PageSize : MostPages;
        const auto bytes = static_cast<ssize_t>(pages * sizeof(uint64_t));
        const bool known = m.sparse && pread(pageTable, s_pages, static_cast<size_t>(bytes), static_cast<off_t>(at / PageSize * sizeof(uint64_t))) == bytes;
        const auto isThere = [&](uint64_t page) { return !known || s_pages[page] >> 62 != 0; };    // in memory, or swapped out
        for (uint64_t page = 0; page != pages;) {
            const uint64_t first = page;
            const bool there = isThere(first);
            while (page != pages && isThere(page) == there) ++page;
            if (there) sink.PutMemory(at + first * PageSize, at + page * PageSize);
            else sink.Skip((page - first) * PageSize);
        }
        at += pages * PageSize;
    }
}

}

void CaptureThread(CoreThread& thread, pid_t id, int signal, const ucontext_t& context) noexcept {
    std::memset(&thread, 0, sizeof thread);
    const auto word = [&](int index) { return static_cast<unsigned long long>(context.uc_mcontext.gregs[index]); };
    user_regs_struct r{};
    r.r15 = word(REG_R15), r.r14 = word(REG_R14), r.r13 = word(REG_R13), r.r12 = word(REG_R12);
    r.r11 = word(REG_R11), r.r10 = word(REG_R10), r.r9 = word(REG_R9), r.r8 = word(REG_R8);
    r.rax = word(REG_RAX), r.rbx = word(REG_RBX), r.rcx = word(REG_RCX), r.rdx = word(REG_RDX);
    r.rsi = word(REG_RSI), r.rdi = word(REG_RDI), r.rbp = word(REG_RBP), r.rsp = word(REG_RSP);
    r.rip = word(REG_RIP), r.eflags = word(REG_EFL);
    r.cs = word(REG_CSGSFS) & 0xFFFF, r.ss = word(REG_CSGSFS) >> 48;
    r.orig_rax = ~0ull;                                             // in no system call
    // The frame does not hold these two, and without them there are no thread-local variables.
    syscall(SYS_arch_prctl, ARCH_GET_FS, &r.fs_base);
    syscall(SYS_arch_prctl, ARCH_GET_GS, &r.gs_base);
    static_assert(sizeof thread.status.pr_reg == sizeof r);
    std::memcpy(&thread.status.pr_reg, &r, sizeof r);
    thread.status.pr_pid = id;
    thread.status.pr_ppid = getppid();
    thread.status.pr_pgrp = getpgrp();
    thread.status.pr_sid = getsid(0);
    thread.status.pr_cursig = static_cast<short>(signal);
    thread.status.pr_info.si_signo = signal;
    thread.complete = context.uc_mcontext.fpregs != nullptr;
    if (!thread.complete) return;
    thread.status.pr_fpvalid = 1;
    const auto* state = reinterpret_cast<const char*>(context.uc_mcontext.fpregs);
    std::memcpy(&thread.floating, state, sizeof thread.floating);
    uint32_t words[5];                                              // magic, size of all, components (two words), size of the state
    std::memcpy(words, state + SoftwareBytes, sizeof words);
    if (words[0] != ExtendedMagic) return;
    std::memcpy(&thread.components, state + StateComponents, sizeof thread.components);
    thread.components &= KnownComponents;
    thread.extendedSize = ExtendedSize(thread.components);
    if (thread.extendedSize <= words[4]) thread.extended = state;
}

bool PrepareCore() noexcept { return s_map.Reserve(); }

void WriteCore(const char* path, const CoreThread* const* threads, size_t count, const siginfo_t& cause) noexcept {
    const int file = open(path, O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600);
    if (file < 0) return;
    const int pageTable = open("/proc/thread-self/pagemap", O_RDONLY | O_CLOEXEC);
    s_map.Read();
    Sink counter(-1);
    PutNotes(counter, threads, count, cause);
    Sink sink(file);
    PutHeaders(sink, counter.Position());
    PutNotes(sink, threads, count, cause);
    sink.Align(PageSize);
    sink.Flush();
    for (size_t i = 0; i != s_map.count; ++i)
        if (s_map.mappings[i].stored) PutMapping(sink, s_map.mappings[i], pageTable);
    if (sink.Good() && ftruncate(file, static_cast<off_t>(sink.Position())) != 0) {}     // a hole at the end belongs to it
    if (pageTable >= 0) close(pageTable);
    close(file);
}

}
