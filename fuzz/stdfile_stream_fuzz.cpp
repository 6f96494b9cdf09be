// A stream on a FILE beside a FILE on a file of its own. The first byte is the mode, the next ones what the file holds.

#include "Scratch.h"
#include "StreamScript.h"

#include <sys/stat.h>

ZV_MODULE("App", nullptr, nullptr)

namespace {

constexpr const char* Modes[] = {"rb", "wb", "ab", "r+b", "w+b", "a+b"};

class Twin {
public:
    explicit Twin(FILE* file) : m_file(file) {}
    ~Twin() { std::fclose(m_file); }
    Twin(const Twin&) = delete;
    Twin& operator=(const Twin&) = delete;
    long long Write(const void* data, long long count) {
        return static_cast<long long>(std::fwrite(data, 1, static_cast<size_t>(count), m_file));
    }
    long long Read(void* data, long long count) {
        return static_cast<long long>(std::fread(data, 1, static_cast<size_t>(count), m_file));
    }
    long long Tellp() const { return std::ftell(m_file); }
    long long Tellg() const { return std::ftell(m_file); }
    void Seekp(long long offset, int origin) { std::fseek(m_file, static_cast<long>(offset), origin); }
    void Seekg(long long offset, int origin) { Seekp(offset, origin); }
    void Flush() { std::fflush(m_file); }
    bool Fail() {                            // once
        const bool failed = std::ferror(m_file) != 0;
        std::clearerr(m_file);
        return failed;
    }
    bool SetEndOfFile() const { return false; }
    long long Length() const {
        struct stat status{};
        return fstat(fileno(m_file), &status) == 0 ? status.st_size : -1;
    }

private:
    FILE* m_file;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFile s_mine("stdfile_stream"), s_its("twin");
    Script script(data, size);
    const uint8_t choice = script.Byte();
    const char* mode = Modes[choice % 6];
    const std::string content = script.Text(script.Count());
    for (const ScratchFile* file : {&s_mine, &s_its}) file->SetContent(content.data(), content.size());
    const bool byDescriptor = (choice & 0x80) != 0;
    auto* opened = byDescriptor ? new ZvStdFILEStream(s_mine.Descriptor(), mode) : new ZvStdFILEStream(s_mine.Path(), mode);
    ZvStream$ stream = opened;
    FILE* file = byDescriptor ? fdopen(dup(s_its.Descriptor()), mode) : std::fopen(s_its.Path(), mode);
    Require(file != nullptr);
    if ((choice & 0x40) != 0) {
        opened->SetBufferSize(512);
        std::setvbuf(file, nullptr, _IOFBF, 512);
    }
    bool whole;
    {
        Twin twin(file);
        whole = Play(stream, twin, script);
        stream = nullptr;
    }
    Require(!whole || s_mine.Content() == s_its.Content());
    return 0;
}
