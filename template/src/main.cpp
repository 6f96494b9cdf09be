#include "Document.h"

#include <cstdio>

namespace {

/// Calls a method of an object whose class only its plug-in knows.
double VolumeOf(const ZvObject$& body) {
    ZvArguments$ none = new ZvPrimArray<ZvObject$>(0, nullptr);
    const ZvMethod$ method = body->GetType()->Find(new ZvString("Volume"), &ZvPrimitive<double>::s_type, none);
    if (!method) return 0;
    ZvValue$ answer;
    method->Invoke(body.Get(), answer, none);
    double volume = 0;
    answer->GetValue(&volume, ZvVtDouble, 0);
    return volume;
}

bool SavePicture(const char* path) {
    ZvImage image(256, 256, 3, 8, 0, nullptr, 0, true);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            unsigned char* pixel = image.GetPixel(x, y);
            pixel[0] = static_cast<unsigned char>(x);
            pixel[1] = static_cast<unsigned char>(y);
            pixel[2] = 128;
        }
    return image.Save(path, nullptr);
}

}

int main() try {
    Document$ document = new Document;
    document->m_title = new ZvString("A first document");
    document->m_body = ZvSystem::New(new ZvString("bodies.Ball"));
    if (!SaveDocument(document, "document.zvc")) return std::puts("document.zvc cannot be written"), 1;

    document = LoadDocument("document.zvc");
    if (!document) return std::puts("document.zvc cannot be read"), 1;
    std::printf("%s: a %s of volume %.2f, loaded again\n", document->m_title->CStr(), document->m_body->GetType()->GetName()->CStr(),
                VolumeOf(document->m_body));

    std::puts(SavePicture("picture.png") ? "picture.png is saved" : "picture.png: no codec for it lies beside the program");
    return 0;
} catch (ZvException& e) {
    std::printf("%s: %s\n", e.GetType()->GetName()->CStr(), e.What() ? e.What()->CStr() : "");
    return 1;
}
