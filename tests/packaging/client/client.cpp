#include <zvc/zvc.h>

#include <cstdio>

class Answer : public ZvObject {
    ZV_DECLARE_CLASS(Answer)
    ZV_DECLARE_CREATE(Answer)
    ZV_DECLARE_TABLES()
public:
    int m_value = 0;
    struct {
        short unit;
    } m_detail{};
};
ZV_DECLARE_HANDLE(Answer, ZvObject$);

ZV_MODULE("client", nullptr, nullptr)
ZV_DEFINE_CLASS(Answer, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Answer, ZV_FIELD(m_value), ZV_FIELD_NEST(m_detail.unit))
ZV_METHODS(Answer)
ZV_CONSTRUCTORS(Answer, ZV_CONSTRUCTOR())

int main() {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(1000, nullptr);
    Answer$ answer = new Answer;
    answer->m_value = 42;
    {
        ZvStream$ stream = new ZvMemoryStream(bytes);
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
        coder->Write(stream, answer);
    }
    ZvStream$ stream = new ZvMemoryStream(bytes);
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    ZvObject$ back;
    coder->Read(stream, back);
    answer = back;
    ZvObject$ gadget = ZvSystem::New(new ZvString("gadgets.Gadget"));
    std::printf("client: %d came back, the plug-in made a %s\n", answer->m_value, gadget->ToString()->CStr());
}
