#pragma once

#include "zvc/imaging/zvcolor.h"
#include "zvc/serialization/ZvStream.h"
#include "zvc/values/CG.h"
#include "zvc/values/ZvString.h"

#include <vector>

ZV_DECLARE_HANDLE(ZvXmlWriter, ZvObject$);

/// Writes XML text to a stream, forward only: the caller says what comes next, and the writer keeps the open elements and
/// the indentation, of one tab a level.
///
/// It is a formatter and no checker: calls in the wrong order give wrong XML. Only WriteValue of a string and
/// WriteAttributeString escape anything or convert to UTF-8; all other text goes out as it stands. Text goes straight to the
/// stream, in pieces. Nothing raises, a stream that fails is not noticed, and nothing is completed at the end. One thread at
/// a time. A null string counts as an empty one unless something else is said.
class ZV_API ZvXmlWriter : public ZvObject {
    ZV_DECLARE_CLASS(ZvXmlWriter)
public:
    static ZvXmlWriter$ Create(ZvStream$ stream, bool indent);

    /// Goes on from where the other stands, on its stream, by itself.
    ZvXmlWriter& operator=(const ZvXmlWriter& other);

    /// The text of a value, where the stream stands: in an attribute, or as content. It does not close a start tag. Floats
    /// have 6 significant digits; the components of vectors and colours 6 decimals, with a blank between them; a bool is 1
    /// or 0; an unsigned char is one character. A string is escaped and converted from the system's code page to UTF-8.
    virtual void WriteValue(const zvcolor& value);
    virtual void WriteValue(const CG::vec3<float>& value);
    virtual void WriteValue(const CG::vec3<double>& value);
    virtual void WriteValue(const CG::vec2<float>& value);
    virtual void WriteValue(const CG::vec2<double>& value);
    virtual void WriteValue(const ZvString$& value);
    virtual void WriteValue(const double& value);
    virtual void WriteValue(const float& value);
    virtual void WriteValue(const unsigned long long& value);
    virtual void WriteValue(const long long& value);
    virtual void WriteValue(unsigned int value);
    virtual void WriteValue(int value);
    virtual void WriteValue(unsigned short value);
    virtual void WriteValue(short value);
    virtual void WriteValue(unsigned char value);
    virtual void WriteValue(bool value);

    /// count bytes from buffer + index, as they stand.
    virtual void WriteChars(const char* buffer, int index, int count);

    /// "<?name text?>". Only as the first thing of a document: behind a declaration or another instruction it does nothing,
    /// and a declaration behind it does nothing. Without a text when that is null.
    virtual void WriteProcessingInstruction(const ZvString$& name, const ZvString$& text);

    /// "<!DOCTYPE name >" with what is not null of the rest, each in double quotes, the internal subset too.
    virtual void WriteDocType(const ZvString$& name, const ZvString$& publicId, const ZvString$& systemId, const ZvString$& subset);

    /// The declaration, once in a document. It promises UTF-8, which is the caller's to keep.
    virtual void WriteStartDocument(bool standalone);
    /// From here on a declaration can be written again. It writes and closes nothing.
    virtual void WriteEndDocument();

    virtual void WriteStartElement(const ZvString$& name);
    /// Ends the innermost open element, which must be there: as "<name/>" when nothing closed its start tag.
    virtual void WriteEndElement();
    /// A whole element; the value is not escaped.
    virtual void WriteElementString(const ZvString$& name, const ZvString$& value);

    /// The name and the opening quote; the closing quote; both with a value between them.
    virtual void WriteStartAttribute(const ZvString$& name);
    virtual void WriteEndAttribute();
    virtual void WriteAttributeString(const ZvString$& name, const ZvString$& value);

    /// The bytes of the text, as they stand.
    virtual void WriteString(const ZvString$& text);

    /// count bytes from buffer + index, in Base64 (RFC 4648, section 4), without line breaks.
    virtual void WriteBase64(const unsigned char* buffer, int index, int count);

    /// A pointer to a string is a string; any other pointer would pass for a bool.
    void WriteValue(ZvString* value) { WriteValue(ZvString$(value)); }
    template <class T>
    void WriteValue(T*) = delete;

protected:
    ZvXmlWriter(const ZvStream$& stream, bool indent);
    /// A copy goes on by itself, on the same stream.
    ZvXmlWriter(const ZvXmlWriter& other);
    ~ZvXmlWriter() override;

    /// Ends an open start tag as that of an empty element; false when there is none.
    bool CloseBracket();
    void WriteNewLine(bool indented);
    void WriteTabs(unsigned long long count);
    void WriteWhiteSpace();

    ZvStream$ m_stream;
    std::vector<ZvString$> m_elements;       ///< names of the open ones
    bool m_bracketOpen = false;              ///< the last start tag still lacks its ">"
    bool m_indent = false;
    bool m_documentStarted = false;          ///< a declaration or an instruction has been written

private:
    void OpenBracketEnds(bool indented);
    void WriteQuoted(const ZvString$& text);
};
