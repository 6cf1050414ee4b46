// Kapi::Director::NoteXml writing: a libxml2 text writer over a memory buffer, one element per
// note and per string entry. The buffer and writer are owned by small RAII holders so that
// every early return frees them.
#include "kapi/director/NoteXml.h"

#include "kapi/vLog.h"

#include <libxml/parser.h>
#include <libxml/xmlwriter.h>

#include <cstdarg>
#include <mutex>

namespace Kapi {
namespace Director {

namespace {

// Every failure of the writer is logged at info or debug level; the arguments are cheap, so the
// level check inside is enough.
void xmlLog_i(vLogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));
void xmlLog_i(vLogLevel level, const char* format, ...)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, level)) {
        va_list args;
        va_start(args, format);
        vLogMessageVar(VLOGSRC_KAPI_DIRECTOR, level, format, args);
        va_end(args);
    }
}

const xmlChar* x_i(const std::string& text)
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

const xmlChar* x_i(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

class XmlBuffer
{
public:
    XmlBuffer() : m_buffer(xmlBufferCreate())
    {
        if (m_buffer == nullptr)
            xmlLog_i(VLOG_INFO, "XmlBuffer::XmlBuffer(): Error at xmlBufferCreate()\n");
    }
    ~XmlBuffer()
    {
        if (m_buffer)
            xmlBufferFree(m_buffer);
    }
    XmlBuffer(const XmlBuffer&) = delete;
    XmlBuffer& operator=(const XmlBuffer&) = delete;
    xmlBufferPtr get() const { return m_buffer; }

private:
    xmlBufferPtr m_buffer;
};

class XmlTextWriter
{
public:
    explicit XmlTextWriter(xmlBufferPtr buffer) : m_writer(xmlNewTextWriterMemory(buffer, 0))
    {
        if (m_writer == nullptr)
            xmlLog_i(VLOG_INFO, "XmlTextWriter::XmlTextWriter(): Error at xmlNewTextWriter()\n");
    }
    ~XmlTextWriter() { release(); }
    XmlTextWriter(const XmlTextWriter&) = delete;
    XmlTextWriter& operator=(const XmlTextWriter&) = delete;
    xmlTextWriterPtr get() const { return m_writer; }
    // Frees the writer, which flushes what it holds into the buffer.
    void release()
    {
        if (m_writer)
            xmlFreeTextWriter(m_writer);
        m_writer = nullptr;
    }

private:
    xmlTextWriterPtr m_writer;
};

} // namespace

bool NoteXml::toString(const std::shared_ptr<Note>& note, std::string* out, bool indent,
                       bool withDeclaration)
{
    if (!note || out == nullptr)
        return false;
    // The library's global tables are set up once, before any thread uses them.
    static std::once_flag s_init;
    std::call_once(s_init, [] { xmlInitParser(); });
    XmlBuffer buffer;
    if (buffer.get() == nullptr) {
        xmlLog_i(VLOG_INFO, "NoteXml::toString(): Error creating the xml buffer\n");
        return false;
    }
    XmlTextWriter writer(buffer.get());
    if (writer.get() == nullptr) {
        xmlLog_i(VLOG_INFO, "NoteXml::toString(): Error creating the xml writer\n");
        return false;
    }
    if (indent) {
        if (xmlTextWriterSetIndent(writer.get(), 1) < 0) {
            xmlLog_i(VLOG_INFO, "NoteXml::toString(): Error returned by xmlTextWriterSetIndent");
            return false;
        }
        if (xmlTextWriterSetIndentString(writer.get(), x_i("  ")) < 0) {
            xmlLog_i(VLOG_INFO,
                     "NoteXml::toString(): Error returned by xmlTextWriterSetIndentString");
            return false;
        }
    }
    if (withDeclaration && xmlTextWriterStartDocument(writer.get(), "1.0", "utf-8", nullptr) < 0) {
        xmlLog_i(VLOG_INFO, "NoteXml::toString(): Error returned by xmlTextWriterStartDocument");
        return false;
    }
    if (!toStringAux(note, "note", writer.get())) {
        xmlLog_i(VLOG_DEBUG, "NoteXml::toString(): toStreamAux(n, \"note\", writer) failed");
        xmlLog_i(VLOG_INFO, "NoteXml::toString(): Failed to write note as xml");
        return false;
    }
    if (withDeclaration && xmlTextWriterEndDocument(writer.get()) < 0) {
        xmlLog_i(VLOG_INFO, "NoteXml::toString(): Error at xmlTextWriterEndDocument");
        return false;
    }
    writer.release();
    const xmlChar* content = xmlBufferContent(buffer.get());
    out->assign(reinterpret_cast<const char*>(content),
                static_cast<size_t>(xmlBufferLength(buffer.get())));
    return true;
}

static bool toStringAux_i(const Note& note, const std::string& elementName, xmlTextWriter* writer,
                          unsigned depth)
{
    const char* type = note.getType().c_str();
    if (depth > Note::kMaxDepth || xmlTextWriterStartElement(writer, x_i(elementName)) < 0) {
        xmlLog_i(VLOG_INFO,
                 "NoteXml::toStringAux(): Error returned by xmlTextWriterStartElement while "
                 "processing Note '%s'",
                 type);
        return false;
    }
    if (xmlTextWriterWriteAttribute(writer, x_i("type"), x_i(note.getType())) < 0) {
        xmlLog_i(VLOG_INFO,
                 "NoteXml::toString(): Error returned by xmlTextWriterWriteAttribute  while "
                 "processing Note '%s' withh type '%s'",
                 elementName.c_str(), type);
        return false;
    }
    for (const auto& [name, value] : note.entries()) {
        if (value.note) {
            if (!toStringAux_i(*value.note, name, writer, depth + 1)) {
                xmlLog_i(VLOG_INFO,
                         "NoteXml::toStringAux(): Error returned by toStringAux while "
                         "processing Note '%s'",
                         type);
                return false;
            }
        } else if (value.str.empty()) {
            if (xmlTextWriterStartElement(writer, x_i(name)) < 0) {
                xmlLog_i(VLOG_INFO,
                         "NoteXml::toStringAux(): Error returned by xmlTextWriterStartElement "
                         "while trying to write an empty Value with name '%s' of Note '%s'",
                         name.c_str(), type);
                return false;
            }
            if (xmlTextWriterEndElement(writer) < 0) {
                xmlLog_i(VLOG_INFO,
                         "NoteXml::toString(): Error returned by xmlTextWriterEndElement while "
                         "trying to write an empty Value with name '%s' of Note '%s'",
                         name.c_str(), type);
                return false;
            }
        } else if (xmlTextWriterWriteElement(writer, x_i(name), x_i(value.str)) < 0) {
            xmlLog_i(VLOG_INFO,
                     "NoteXml::toStringAux(): Error returned by xmlTextWriterWriteElement while "
                     "trying to write name-value pair '%s'='%s'\n of Note '%s'",
                     name.c_str(), value.str.c_str(), type);
            return false;
        }
    }
    if (xmlTextWriterEndElement(writer) < 0) {
        xmlLog_i(VLOG_INFO,
                 "NoteXml::toString(): Error returned by xmlTextWriterEndElement at the end of "
                 "processing Note '%s'\n",
                 type);
        return false;
    }
    return true;
}

bool NoteXml::toStringAux(const std::shared_ptr<Note>& note, const std::string& elementName,
                          xmlTextWriter* writer)
{
    if (!note || writer == nullptr)
        return false;
    return toStringAux_i(*note, elementName, writer, 1);
}

} // namespace Director
} // namespace Kapi
