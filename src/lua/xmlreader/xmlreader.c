/*
** The "xmlreader" module: libxml2's text reader (a forward-only cursor over the nodes of an
** XML document) exposed to scripts.
**
** Module functions:
**   xmlreader.from_string(text [, url [, encoding [, options]]]) -> reader | nil, message
**   xmlreader.from_file(path [, encoding [, options]])           -> reader | nil, message
**   options: a sum of xmlreader.NOENT, NOBLANKS, NOCDATA, NSCLEAN, HUGE (default 0);
**   network access is always off.
** Reader methods (r:method(...)):
**   read()            -> true at the next node, false at the end, nil, message on an error
**   next()            -> as read(), skipping the children of the current node
**   node_type()       -> "element", "end element", "text", "cdata", "comment",
**                        "whitespace", "significant whitespace", "processing instruction",
**                        "document type", "entity reference", "entity", "end entity",
**                        "document", "document fragment", "notation", "attribute",
**                        "xml declaration" or "none"
**   name(), local_name(), prefix(), namespace_uri(), value(), base_uri(), xml_lang()
**                     -> string or nil
**   depth(), attribute_count(), line_number() -> integer
**   is_empty_element(), has_value(), has_attributes(), is_default() -> boolean
**   get_attribute(name | index), get_attribute_ns(local, uri) -> string or nil
**   move_to_attribute(name | index), move_to_attribute_ns(local, uri),
**   move_to_first_attribute(), move_to_next_attribute(), move_to_element() -> boolean
**   read_string(), read_inner_xml(), read_outer_xml() -> string or nil
**   close()           -> frees the parser now; every later call returns nil/false
** A reader object owns its libxml2 reader and, for from_string, a private copy of the text;
** both are released by close() or by the collector. Errors of the parser are kept as the
** last message ("line N: text") and returned by read()/next().
*/
#include "luaKeloXmlReader.h"

#include <stdlib.h>
#include <string.h>

#include <libxml/xmlreader.h>

#include "lauxlib.h"

#define READER_TYPE "xmlreader.Reader"

typedef struct Reader
{
    xmlTextReaderPtr reader;
    char* text;        /* owned copy of the document for from_string, or NULL */
    char message[256]; /* last parser error, "" when none */
} Reader;

static Reader* checkreader(lua_State* L)
{
    return (Reader*)luaL_checkudata(L, 1, READER_TYPE);
}

/* the open reader, or NULL after close() */
static xmlTextReaderPtr openreader(lua_State* L)
{
    return checkreader(L)->reader;
}

static void onerror(void* arg, const char* msg, xmlParserSeverities severity,
                    xmlTextReaderLocatorPtr locator)
{
    Reader* r = (Reader*)arg;
    size_t n;
    if (r->message[0] != '\0')
        return; /* the first message tells the cause */
    if (severity == XML_PARSER_SEVERITY_WARNING || severity == XML_PARSER_SEVERITY_VALIDITY_WARNING)
        return;
    snprintf(r->message, sizeof(r->message), "line %d: %s", xmlTextReaderLocatorLineNumber(locator),
             msg != NULL ? msg : "error");
    n = strlen(r->message);
    while (n > 0 && (r->message[n - 1] == '\n' || r->message[n - 1] == ' '))
        r->message[--n] = '\0';
}

static void closereader(Reader* r)
{
    if (r->reader != NULL)
        xmlFreeTextReader(r->reader);
    r->reader = NULL;
    free(r->text);
    r->text = NULL;
}

static int parseoptions(lua_State* L, int idx)
{
    return ((int)luaL_optinteger(L, idx, 0) & ~XML_PARSE_NONET) | XML_PARSE_NONET;
}

static Reader* newreader(lua_State* L)
{
    Reader* r = (Reader*)lua_newuserdata(L, sizeof(Reader));
    r->reader = NULL;
    r->text = NULL;
    r->message[0] = '\0';
    luaL_getmetatable(L, READER_TYPE);
    lua_setmetatable(L, -2);
    return r;
}

static int finishopen(lua_State* L, Reader* r, const char* what)
{
    if (r->reader == NULL) {
        closereader(r);
        lua_pushnil(L);
        lua_pushfstring(L, "cannot open %s", what);
        return 2;
    }
    xmlTextReaderSetErrorHandler(r->reader, onerror, r);
    return 1;
}

static int from_string(lua_State* L)
{
    size_t len;
    const char* text = luaL_checklstring(L, 1, &len);
    const char* url = luaL_optstring(L, 2, NULL);
    const char* encoding = luaL_optstring(L, 3, NULL);
    int options = parseoptions(L, 4);
    Reader* r = newreader(L);
    if (len > (size_t)0x7fffffff)
        return luaL_argerror(L, 1, "document too large");
    r->text = (char*)malloc(len + 1);
    if (r->text == NULL)
        return luaL_error(L, "not enough memory");
    memcpy(r->text, text, len);
    r->text[len] = '\0';
    r->reader = xmlReaderForMemory(r->text, (int)len, url, encoding, options);
    return finishopen(L, r, "document");
}

static int from_file(lua_State* L)
{
    const char* path = luaL_checkstring(L, 1);
    const char* encoding = luaL_optstring(L, 2, NULL);
    int options = parseoptions(L, 3);
    Reader* r = newreader(L);
    r->reader = xmlReaderForFile(path, encoding, options);
    return finishopen(L, r, path);
}

/* result of read()/next(): 1 node, 0 end, -1 error */
static int pushstep(lua_State* L, Reader* r, int rc)
{
    if (rc == 1) {
        lua_pushboolean(L, 1);
        return 1;
    }
    if (rc == 0 && r->message[0] == '\0') {
        lua_pushboolean(L, 0);
        return 1;
    }
    lua_pushnil(L);
    lua_pushstring(L, r->message[0] != '\0' ? r->message : "parse error");
    return 2;
}

static int r_read(lua_State* L)
{
    Reader* r = checkreader(L);
    if (r->reader == NULL)
        return pushstep(L, r, -1);
    return pushstep(L, r, xmlTextReaderRead(r->reader));
}

static int r_next(lua_State* L)
{
    Reader* r = checkreader(L);
    if (r->reader == NULL)
        return pushstep(L, r, -1);
    return pushstep(L, r, xmlTextReaderNext(r->reader));
}

static const char* nodetypename(int t)
{
    switch (t) {
    case XML_READER_TYPE_ELEMENT:
        return "element";
    case XML_READER_TYPE_ATTRIBUTE:
        return "attribute";
    case XML_READER_TYPE_TEXT:
        return "text";
    case XML_READER_TYPE_CDATA:
        return "cdata";
    case XML_READER_TYPE_ENTITY_REFERENCE:
        return "entity reference";
    case XML_READER_TYPE_ENTITY:
        return "entity";
    case XML_READER_TYPE_PROCESSING_INSTRUCTION:
        return "processing instruction";
    case XML_READER_TYPE_COMMENT:
        return "comment";
    case XML_READER_TYPE_DOCUMENT:
        return "document";
    case XML_READER_TYPE_DOCUMENT_TYPE:
        return "document type";
    case XML_READER_TYPE_DOCUMENT_FRAGMENT:
        return "document fragment";
    case XML_READER_TYPE_NOTATION:
        return "notation";
    case XML_READER_TYPE_WHITESPACE:
        return "whitespace";
    case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
        return "significant whitespace";
    case XML_READER_TYPE_END_ELEMENT:
        return "end element";
    case XML_READER_TYPE_END_ENTITY:
        return "end entity";
    case XML_READER_TYPE_XML_DECLARATION:
        return "xml declaration";
    default:
        return "none";
    }
}

static int r_node_type(lua_State* L)
{
    xmlTextReaderPtr x = openreader(L);
    lua_pushstring(L, nodetypename(x != NULL ? xmlTextReaderNodeType(x) : XML_READER_TYPE_NONE));
    return 1;
}

/* strings owned by the reader (const) or by the caller (freed here) */
static int pushconst(lua_State* L, const xmlChar* s)
{
    if (s == NULL)
        lua_pushnil(L);
    else
        lua_pushstring(L, (const char*)s);
    return 1;
}

static int pushowned(lua_State* L, xmlChar* s)
{
    pushconst(L, s);
    if (s != NULL)
        xmlFree(s);
    return 1;
}

#define CONST_STRING(fname, call)                                                                  \
    static int fname(lua_State* L)                                                                 \
    {                                                                                              \
        xmlTextReaderPtr x = openreader(L);                                                        \
        return pushconst(L, x != NULL ? call(x) : NULL);                                           \
    }

CONST_STRING(r_name, xmlTextReaderConstName)
CONST_STRING(r_local_name, xmlTextReaderConstLocalName)
CONST_STRING(r_prefix, xmlTextReaderConstPrefix)
CONST_STRING(r_namespace_uri, xmlTextReaderConstNamespaceUri)
CONST_STRING(r_value, xmlTextReaderConstValue)
CONST_STRING(r_base_uri, xmlTextReaderConstBaseUri)
CONST_STRING(r_xml_lang, xmlTextReaderConstXmlLang)

#define OWNED_STRING(fname, call)                                                                  \
    static int fname(lua_State* L)                                                                 \
    {                                                                                              \
        xmlTextReaderPtr x = openreader(L);                                                        \
        return pushowned(L, x != NULL ? call(x) : NULL);                                           \
    }

OWNED_STRING(r_read_string, xmlTextReaderReadString)
OWNED_STRING(r_read_inner_xml, xmlTextReaderReadInnerXml)
OWNED_STRING(r_read_outer_xml, xmlTextReaderReadOuterXml)

#define INTEGER(fname, call)                                                                       \
    static int fname(lua_State* L)                                                                 \
    {                                                                                              \
        xmlTextReaderPtr x = openreader(L);                                                        \
        int v = x != NULL ? call(x) : -1;                                                          \
        lua_pushinteger(L, v < 0 ? 0 : v);                                                         \
        return 1;                                                                                  \
    }

INTEGER(r_depth, xmlTextReaderDepth)
INTEGER(r_attribute_count, xmlTextReaderAttributeCount)
INTEGER(r_line_number, xmlTextReaderGetParserLineNumber)

#define BOOLEAN(fname, call)                                                                       \
    static int fname(lua_State* L)                                                                 \
    {                                                                                              \
        xmlTextReaderPtr x = openreader(L);                                                        \
        lua_pushboolean(L, x != NULL && call(x) == 1);                                             \
        return 1;                                                                                  \
    }

BOOLEAN(r_is_empty_element, xmlTextReaderIsEmptyElement)
BOOLEAN(r_has_value, xmlTextReaderHasValue)
BOOLEAN(r_has_attributes, xmlTextReaderHasAttributes)
BOOLEAN(r_is_default, xmlTextReaderIsDefault)
BOOLEAN(r_move_to_first_attribute, xmlTextReaderMoveToFirstAttribute)
BOOLEAN(r_move_to_next_attribute, xmlTextReaderMoveToNextAttribute)
BOOLEAN(r_move_to_element, xmlTextReaderMoveToElement)

/* attributes by 0-based index (a number) or by qualified name (a string) */
static int r_get_attribute(lua_State* L)
{
    xmlTextReaderPtr x = openreader(L);
    if (x == NULL)
        return pushconst(L, NULL);
    if (lua_type(L, 2) == LUA_TNUMBER)
        return pushowned(L, xmlTextReaderGetAttributeNo(x, (int)lua_tointeger(L, 2)));
    return pushowned(L, xmlTextReaderGetAttribute(x, (const xmlChar*)luaL_checkstring(L, 2)));
}

static int r_get_attribute_ns(lua_State* L)
{
    xmlTextReaderPtr x = openreader(L);
    const char* local = luaL_checkstring(L, 2);
    const char* uri = luaL_optstring(L, 3, NULL);
    if (x == NULL)
        return pushconst(L, NULL);
    return pushowned(L, xmlTextReaderGetAttributeNs(x, (const xmlChar*)local, (const xmlChar*)uri));
}

static int r_move_to_attribute(lua_State* L)
{
    xmlTextReaderPtr x = openreader(L);
    int rc;
    if (x == NULL)
        rc = 0;
    else if (lua_type(L, 2) == LUA_TNUMBER)
        rc = xmlTextReaderMoveToAttributeNo(x, (int)lua_tointeger(L, 2));
    else
        rc = xmlTextReaderMoveToAttribute(x, (const xmlChar*)luaL_checkstring(L, 2));
    lua_pushboolean(L, rc == 1);
    return 1;
}

static int r_move_to_attribute_ns(lua_State* L)
{
    xmlTextReaderPtr x = openreader(L);
    const char* local = luaL_checkstring(L, 2);
    const char* uri = luaL_optstring(L, 3, NULL);
    lua_pushboolean(L, x != NULL && xmlTextReaderMoveToAttributeNs(x, (const xmlChar*)local,
                                                                   (const xmlChar*)uri) == 1);
    return 1;
}

static int r_close(lua_State* L)
{
    closereader(checkreader(L));
    return 0;
}

static int r_tostring(lua_State* L)
{
    Reader* r = checkreader(L);
    lua_pushfstring(L, "xmlreader (%s)", r->reader != NULL ? "open" : "closed");
    return 1;
}

static const luaL_Reg reader_methods[] = {{"read", r_read},
                                          {"next", r_next},
                                          {"node_type", r_node_type},
                                          {"name", r_name},
                                          {"local_name", r_local_name},
                                          {"prefix", r_prefix},
                                          {"namespace_uri", r_namespace_uri},
                                          {"value", r_value},
                                          {"base_uri", r_base_uri},
                                          {"xml_lang", r_xml_lang},
                                          {"depth", r_depth},
                                          {"attribute_count", r_attribute_count},
                                          {"line_number", r_line_number},
                                          {"is_empty_element", r_is_empty_element},
                                          {"has_value", r_has_value},
                                          {"has_attributes", r_has_attributes},
                                          {"is_default", r_is_default},
                                          {"get_attribute", r_get_attribute},
                                          {"get_attribute_ns", r_get_attribute_ns},
                                          {"move_to_attribute", r_move_to_attribute},
                                          {"move_to_attribute_ns", r_move_to_attribute_ns},
                                          {"move_to_first_attribute", r_move_to_first_attribute},
                                          {"move_to_next_attribute", r_move_to_next_attribute},
                                          {"move_to_element", r_move_to_element},
                                          {"read_string", r_read_string},
                                          {"read_inner_xml", r_read_inner_xml},
                                          {"read_outer_xml", r_read_outer_xml},
                                          {"close", r_close},
                                          {NULL, NULL}};

static const luaL_Reg module_functions[] = {
    {"from_string", from_string}, {"from_file", from_file}, {NULL, NULL}};

int luaopen_xmlreader(lua_State* L)
{
    LIBXML_TEST_VERSION
    if (luaL_newmetatable(L, READER_TYPE)) {
        lua_newtable(L);
        luaL_register(L, NULL, reader_methods);
        lua_setfield(L, -2, "__index");
        lua_pushcfunction(L, r_close);
        lua_setfield(L, -2, "__gc");
        lua_pushcfunction(L, r_tostring);
        lua_setfield(L, -2, "__tostring");
    }
    lua_pop(L, 1);
    luaL_register(L, "xmlreader", module_functions);
    lua_pushinteger(L, XML_PARSE_NOENT);
    lua_setfield(L, -2, "NOENT");
    lua_pushinteger(L, XML_PARSE_NOBLANKS);
    lua_setfield(L, -2, "NOBLANKS");
    lua_pushinteger(L, XML_PARSE_NOCDATA);
    lua_setfield(L, -2, "NOCDATA");
    lua_pushinteger(L, XML_PARSE_NSCLEAN);
    lua_setfield(L, -2, "NSCLEAN");
    lua_pushinteger(L, XML_PARSE_HUGE);
    lua_setfield(L, -2, "HUGE");
    return 1;
}

void luaKelo_preload_xmlreader(lua_State* L)
{
    lua_getglobal(L, "package");
    if (lua_istable(L, -1)) {
        lua_getfield(L, -1, "preload");
        if (lua_istable(L, -1)) {
            lua_pushcfunction(L, luaopen_xmlreader);
            lua_setfield(L, -2, "xmlreader");
        }
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
}
