#pragma once

#include <zvc/zvc.h>

/// What the program saves and loads.
class Document : public ZvObject {
    ZV_DECLARE_CLASS(Document)
    ZV_DECLARE_CREATE(Document)
    ZV_DECLARE_TABLES()
public:
    ZvString$ m_title;
    ZvObject$ m_body;              ///< of whatever class a plug-in has
    int m_revision = 1;
};
ZV_DECLARE_HANDLE(Document, ZvObject$);

bool SaveDocument(const Document$& document, const char* path);

/// Null when the file cannot be read.
Document$ LoadDocument(const char* path);
