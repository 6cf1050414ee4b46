/*
** The "xmlreader" module: libxml2's streaming text reader for scripts (see xmlreader.c for the
** module's functions).
*/
#ifndef luaKeloXmlReader_h
#define luaKeloXmlReader_h

#ifdef __cplusplus
extern "C" {
#endif

#include "lua.h"

/* Registers the global table "xmlreader" and returns it. */
int luaopen_xmlreader(lua_State* L);
/* Installs luaopen_xmlreader as package.preload.xmlreader (the package library must be open). */
void luaKelo_preload_xmlreader(lua_State* L);

#ifdef __cplusplus
}
#endif

#endif
