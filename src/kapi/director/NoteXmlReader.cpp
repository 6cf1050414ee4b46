// Kapi::Director::NoteXml reading: a libxml2 text reader walked node by node with an explicit
// stack of open notes (no recursion, so deep documents cannot exhaust the C stack). The top of
// the stack is the note whose children are being read; a string element is read in one go up to
// its end tag.
#include "kapi/director/NoteXml.h"

#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

#include <libxml/xmlreader.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace Kapi {
namespace Director {

namespace {

struct OpenNote
{
    std::string name; // the entry name it is held under in its parent
    std::shared_ptr<Note> note;
};

class XmlNoteReader
{
public:
    explicit XmlNoteReader(const std::string& text) : m_text(text) {}
    ~XmlNoteReader()
    {
        if (m_reader)
            xmlFreeTextReader(m_reader);
    }
    XmlNoteReader(const XmlNoteReader&) = delete;
    XmlNoteReader& operator=(const XmlNoteReader&) = delete;

    bool run(std::shared_ptr<Note>* out);
    // Routes this thread's generic libxml2 errors to `reader` for the holder's lifetime.
    class ErrorScope
    {
    public:
        explicit ErrorScope(XmlNoteReader* reader)
            : m_savedFunc(xmlGenericError), m_savedContext(xmlGenericErrorContext)
        {
            xmlSetGenericErrorFunc(reader, &XmlNoteReader::onGenericError_i);
        }
        ~ErrorScope() { xmlSetGenericErrorFunc(m_savedContext, m_savedFunc); }
        ErrorScope(const ErrorScope&) = delete;
        ErrorScope& operator=(const ErrorScope&) = delete;

    private:
        xmlGenericErrorFunc m_savedFunc;
        void* m_savedContext;
    };
    const std::string& error() const { return m_error; }

private:
    // Parse errors of the reader; the first is the cause, later ones follow from it.
    static void onError_i(void* arg, const char* message, xmlParserSeverities,
                          xmlTextReaderLocatorPtr locator)
    {
        static_cast<XmlNoteReader*>(arg)->noteParserError_i(
            message, xmlTextReaderLocatorLineNumber(locator));
    }
    // Errors libxml2 raises outside the reader's context (input decoding, I/O) would otherwise
    // go to standard error; they are kept with the reader's own.
    static void onGenericError_i(void* arg, const char* format, ...)
        __attribute__((format(printf, 2, 3)))
    {
        char text[256];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof text, format, args);
        va_end(args);
        XmlNoteReader* self = static_cast<XmlNoteReader*>(arg);
        self->noteParserError_i(
            text, self->m_reader ? xmlTextReaderGetParserLineNumber(self->m_reader) : 0);
    }
    void noteParserError_i(const char* message, int line)
    {
        if (!m_parserError.empty())
            return;
        std::string text = message ? message : "parse error";
        while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
            text.pop_back();
        for (char& c : text)
            c = c == '\n' ? ' ' : c; // one line in logs and on the command line
        m_parserError = line > 0 ? StringUtil::newPrintf("line %d: %s", line, text.c_str()) : text;
    }

    bool fail_i(const std::string& why)
    {
        m_error = StringUtil::newPrintf("line %d: %s", xmlTextReaderGetParserLineNumber(m_reader),
                                        why.c_str());
        return false;
    }
    // 1: a node was read; 0: the document ended; -1: a parse error (m_error set).
    int next_i()
    {
        const int result = xmlTextReaderRead(m_reader);
        if (result < 0)
            m_error = m_parserError.empty() ? "the document is not well-formed XML" : m_parserError;
        return result;
    }
    std::string name_i() const
    {
        const xmlChar* name = xmlTextReaderConstName(m_reader);
        return name ? reinterpret_cast<const char*>(name) : std::string();
    }
    std::string value_i() const
    {
        const xmlChar* value = xmlTextReaderConstValue(m_reader);
        return value ? reinterpret_cast<const char*>(value) : std::string();
    }
    // Reads the attributes of the current element: true with `*type` set (or `*hasType` false)
    // when "type" is the only attribute there may be.
    bool attributes_i(bool* hasType, std::string* type);
    // The text of the current (non-empty) string element, up to its end tag.
    bool stringValue_i(const std::string& name, std::string* value);
    // True for a node that carries no content anywhere (comments, processing instructions).
    static bool ignorable_i(int type)
    {
        return type == XML_READER_TYPE_COMMENT || type == XML_READER_TYPE_PROCESSING_INSTRUCTION ||
               type == XML_READER_TYPE_XML_DECLARATION;
    }
    static bool isLayout_i(const std::string& text)
    {
        return text.find_first_not_of(" \t\r\n") == std::string::npos;
    }

    const std::string& m_text;
    xmlTextReaderPtr m_reader = nullptr;
    std::string m_parserError; // the first error libxml2 reported, fatal or not
    std::string m_error;       // why run() failed
};

bool XmlNoteReader::attributes_i(bool* hasType, std::string* type)
{
    *hasType = false;
    while (xmlTextReaderMoveToNextAttribute(m_reader) == 1) {
        const std::string name = name_i();
        if (name != "type") {
            xmlTextReaderMoveToElement(m_reader);
            return fail_i("unexpected attribute '" + name + "' (only 'type' is allowed)");
        }
        *hasType = true;
        *type = value_i();
    }
    xmlTextReaderMoveToElement(m_reader);
    return true;
}

bool XmlNoteReader::stringValue_i(const std::string& name, std::string* value)
{
    std::string text;
    for (;;) {
        const int result = next_i();
        if (result <= 0)
            return result == 0 ? fail_i("the document ends inside element '" + name + "'") : false;
        const int type = xmlTextReaderNodeType(m_reader);
        switch (type) {
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
            text += value_i();
            break;
        case XML_READER_TYPE_END_ELEMENT:
            // The parser passes CDATA bytes through unchecked; a value that is not UTF-8 could
            // never be written back as XML.
            if (!StringUtil::isValidUtf8(text))
                return fail_i("the value of '" + name + "' is not proper UTF-8");
            *value = std::move(text);
            return true;
        case XML_READER_TYPE_ELEMENT:
            return fail_i("element '" + name_i() + "' inside the string value '" + name +
                          "' (a sub-note needs a type attribute)");
        default:
            if (ignorable_i(type))
                break;
            return fail_i("unexpected XML node (type " + StringUtil::toString(type) +
                          ") inside the string value '" + name + "'");
        }
    }
}

bool XmlNoteReader::run(std::shared_ptr<Note>* out)
{
    // Created here, under the caller's ErrorScope: encoding detection already parses.
    m_reader = xmlReaderForMemory(m_text.data(), static_cast<int>(m_text.size()), nullptr, nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOCDATA);
    if (m_reader == nullptr) {
        m_error = m_parserError.empty() ? "cannot create an XML reader" : m_parserError;
        return false;
    }
    xmlTextReaderSetErrorHandler(m_reader, &XmlNoteReader::onError_i, this);
    std::vector<OpenNote> open;
    std::shared_ptr<Note> root;
    for (;;) {
        const int result = next_i();
        if (result < 0)
            return false;
        if (result == 0)
            break;
        const int type = xmlTextReaderNodeType(m_reader);
        if (type == XML_READER_TYPE_ELEMENT) {
            const std::string name = name_i();
            const bool isEmpty = xmlTextReaderIsEmptyElement(m_reader) == 1;
            bool hasType = false;
            std::string noteType;
            if (!attributes_i(&hasType, &noteType))
                return false;
            if (open.empty()) {
                if (root)
                    return fail_i("a second top element '" + name + "'");
                if (name != "note")
                    return fail_i("the top element is '" + name + "', not 'note'");
                if (!hasType)
                    return fail_i("the top element has no type attribute");
                root = Note::create(noteType);
                if (!isEmpty)
                    open.push_back(OpenNote{name, root});
                continue;
            }
            Note& parent = *open.back().note;
            if (!hasType) {
                std::string value;
                if (!isEmpty && !stringValue_i(name, &value))
                    return false;
                parent.add(name, value);
                continue;
            }
            std::shared_ptr<Note> sub = Note::create(noteType);
            if (isEmpty) {
                parent.add(name, sub);
                continue;
            }
            if (open.size() >= Note::kMaxDepth)
                return fail_i(
                    StringUtil::newPrintf("notes nested deeper than %u levels", Note::kMaxDepth));
            open.push_back(OpenNote{name, sub});
        } else if (type == XML_READER_TYPE_END_ELEMENT) {
            if (open.empty())
                return fail_i("unexpected end tag");
            OpenNote closed = std::move(open.back());
            open.pop_back();
            if (!open.empty())
                open.back().note->add(closed.name, std::move(closed.note));
        } else if (type == XML_READER_TYPE_TEXT || type == XML_READER_TYPE_CDATA ||
                   type == XML_READER_TYPE_WHITESPACE ||
                   type == XML_READER_TYPE_SIGNIFICANT_WHITESPACE) {
            if (!isLayout_i(value_i()))
                return fail_i(open.empty() ? std::string("text outside the top element")
                                           : "text directly inside note '" + open.back().name +
                                                 "' (values need their own element)");
        } else if (type == XML_READER_TYPE_DOCUMENT_TYPE) {
            return fail_i("document type declarations are not accepted");
        } else if (type == XML_READER_TYPE_ENTITY_REFERENCE) {
            return fail_i("entity reference '" + name_i() + "' is not accepted");
        } else if (!ignorable_i(type)) {
            return fail_i("unexpected XML node (type " + StringUtil::toString(type) + ")");
        }
    }
    if (!root)
        return fail_i("no top element");
    if (!open.empty())
        return fail_i("the document ends inside element '" + open.back().name + "'");
    *out = std::move(root);
    return true;
}

} // namespace

static bool refuse_i(const std::string& why, std::string* error)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR, "NoteXml::fromString(): %s", why.c_str());
    if (error)
        *error = "NoteXml::fromString(): " + why;
    return false;
}

bool NoteXml::fromString(const std::string& text, std::shared_ptr<Note>* out, std::string* error)
{
    if (text.empty())
        return refuse_i("the document is empty", error);
    if (text.size() > static_cast<size_t>(INT_MAX))
        return refuse_i("the document is too large", error);
    // The parser's global tables are set up once, before any thread uses them.
    static std::once_flag s_init;
    std::call_once(s_init, [] { xmlInitParser(); });
    XmlNoteReader reader(text);
    XmlNoteReader::ErrorScope errors(&reader);
    std::shared_ptr<Note> note;
    if (!reader.run(&note))
        return refuse_i(reader.error(), error);
    if (out)
        *out = std::move(note);
    return true;
}

} // namespace Director
} // namespace Kapi
