#include "Document.h"

#include <cstdio>

ZV_MODULE("app", nullptr, nullptr)
ZV_DEFINE_CLASS(Document, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Document, ZV_FIELD(m_title), ZV_FIELD(m_body), ZV_FIELD(m_revision))
ZV_METHODS(Document)
ZV_CONSTRUCTORS(Document, ZV_CONSTRUCTOR())

namespace {
ZvBinaryCoder$ NewCoder() { return new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects)); }
}

bool SaveDocument(const Document$& document, const char* path) try {
    ZvStream$ file = new ZvFileStream(path, ZvFile::Write, ZvFile::Create);
    NewCoder()->Write(file, document);
    return true;
} catch (const ZvCoderException&) {
    return false;
}

Document$ LoadDocument(const char* path) try {
    ZvStream$ file = new ZvFileStream(path, ZvFile::Read, ZvFile::Open);
    ZvObject$ document;
    NewCoder()->Read(file, document);
    return document;
} catch (const ZvCoderException&) {
    return Document$();
}
