// Asks for codecs, in a process of its own, since the search for plug-ins happens once. Arguments, in order:
//   decode=FILE       the class of the file's decoder, and where the stream stands
//   encode=EXTENSION  the class of the extension's encoder; (null) for none
//   copy=FROM=TO      a file comes beside the program
//   list              the names in the registry

#include <zvc/zvc.h>

#include <cstdio>
#include <filesystem>
#include <string>

ZV_MODULE("codec_scan", nullptr, nullptr)

namespace {

void Print(const ZvImgCodec$& codec) {
    ZvObject$ o = codec;
    std::printf("%s\n", !o ? "null" : o->GetType()->GetName()->CStr());
}

void Do(const std::string& argument) {
    const std::string word = argument.substr(0, argument.find('='));
    const std::string rest = word.size() < argument.size() ? argument.substr(word.size() + 1) : "";
    ZvStream$ stream = new ZvStdFILEStream(word == "decode" ? rest.c_str() : "/dev/null", "rb");
    if (word == "decode") {
        Print(ZvImgCodec::GetDecoder(stream, "ignored"));
        if (stream->Tellg() != 0) std::printf("moved to %lld\n", stream->Tellg());
    } else if (word == "encode") {
        Print(ZvImgCodec::GetEncoder(stream, rest == "(null)" ? nullptr : rest.c_str()));
    } else if (word == "copy") {
        const size_t divide = rest.find('=');
        std::filesystem::copy_file(rest.substr(0, divide), rest.substr(divide + 1));
    } else {
        for (const ZvCodecType* t = ZvImgCodec::s_root; t != nullptr; t = t->next) std::printf("%s\n", t->name);
        std::printf("longest %d\n", ZvImgCodec::s_max_signature_length);
    }
}

}

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) try {
            Do(argv[i]);
        } catch (ZvPluginUnloadedException& e) {
            std::printf("unloaded %s\n", std::filesystem::path(e.What()->CStr()).filename().c_str());
        }
    return 0;
}
