#ifndef KAPI_DIRECTOR_GRIDENUMS_H
#define KAPI_DIRECTOR_GRIDENUMS_H
// The enumerations of the grid-management protocol (login, keep-alive, time) and of the
// client-side errors and connection failures the connection code reports. Their numeric values
// travel on the wire and in reports; their names are the text forms. Each has parseE (exact
// names only) and printE (the name; for a value without one, its decimal text and false) over
// the name tables of kapi/DDL.h.
//
// ClientSideError has bands - 500-599, 1000-1999, 2000-2999, 3000-3999 - whose FIRST and LAST
// names mark the ends; a raiser adds an offset inside the band (a transfer error code, a login
// error), and such in-band values have no name of their own.
#include <string>

namespace Kapi {
namespace Grid {

enum MessageType
{
    MT_UNKNOWN = 0,
    MT_LOGIN = 1,
    MT_LOGIN_OK = 2,
    MT_LOGIN_FAILED = 3,
    MT_DISCONNECT = 11,
    MT_DOWNLOADING_SOFTWARE = 16,
    MT_GOT_SOFTWARE = 17,
    MT_GET_TIME = 18,
    MT_TIME = 19,
    MT_SOS = 21,
    MT_KEEP_ALIVE = 22,
    MT_KEEP_ALIVE_CLIENT = 23,
    MT_READY_TO_PEER = 24,
    MT_KEEP_ALIVE_PING = 25,
    MT_KEEP_ALIVE_PONG = 26
};

enum ClientLoginError
{
    LOGIN_ERROR_UNSPECIFIED = 0,
    LOGIN_ERROR_BAD_VERSION = 1,
    LOGIN_ERROR_GEOFILTERING_FAILED = 2,
    LOGIN_ERROR_MISMATCHED_CLIENT_TYPE = 3,
    LOGIN_ERROR_REJECTED = 4,
    LOGIN_ERROR_BAD_FORMAT = 5,
    LOGIN_ERROR_NEED_ACTIVATION = 6
};

enum ConnectionFailureType
{
    CONNECTION_FAILURE_NONE = 0,
    CONNECTION_FAILURE_CANT_REACH_SERVER = 1,
    CONNECTION_FAILURE_NEED_ACTIVATION = 2,
    CONNECTION_FAILURE_SERVER_REJECTED = 3
};

enum ClientSideError
{
    ERR_OK = 0,
    ERR_KICKSTART_NO_CLIENT_ID = 100,
    ERR_KICKSTART_CANT_PARSE_CLIENT_ID = 101,
    ERR_KICKSTART_WRONG_CLIENT_ID = 102,
    ERR_KICKSTART_NO_SOFTWARE_BLOB_ID = 103,
    ERR_KICKSTART_NO_SOFTWARE_SIZE = 104,
    ERR_KICKSTART_NO_SOFTWARE_BLOCK_KEY_INDEX = 105,
    ERR_KICKSTART_NO_SOFTWARE_BLOCKSIZE = 106,
    ERR_KICKSTART_NO_SOFTWARE_CONSUMER = 107,
    ERR_KICKSTART_CANNOT_PARSE_TIMEOUT = 108,
    ERR_KICKSTART_CANNOT_PARSE_LOW_SPEED = 109,
    ERR_KICKSTART_DOWNLOAD_NOT_AUTHORIZED = 110,
    ERR_KICKSTART_UNPROVISION = 111,
    ERR_KICKSTART_NO_SOFTWARE_VERSION = 112,
    ERR_KICKSTART_NO_SOFTWARE_KEY = 113,
    ERR_KICKSTART_NO_PAYLOAD_SIZE = 114,
    ERR_NO_SERVER_NAME = 200,
    ERR_CANT_RESOLVE_SERVER_ADDRESS = 201,
    ERR_CONNECT_FAILED = 202,
    ERR_ASYNC_CONNECT_FAILED = 203,
    ERR_UNEXPECTED_DISCONNECT = 204,
    ERR_UNEXPECTED_DISCONNECT_AFTER_CONNECTED = 205,
    ERR_SW_DOWNLOAD_FAILED = 300,
    ERR_WRONG_SERVICE_CATEGORY = 400,
    ERR_MISMATCHED_CLIENT_ID = 401,
    ERR_LOGIN_OK_BUT_CONFUSED = 402,
    ERR_CANT_UNPACK_LOGIN_FAILED = 403,
    ERR_NEED_ACTIVATION = 404,
    ERR_UNEXPECTED_MESSAGE = 405,
    ERR_INTERRUPTED_FIRST = 500,
    ERR_INTERRUPTED_FROM_KICKSTART = 501,
    ERR_INTERRUPTED_FROM_CONNECTING = 502,
    ERR_INTERRUPTED_FROM_LOGGING_IN = 503,
    ERR_INTERRUPTED_FROM_CONNECTED = 504,
    ERR_INTERRUPTED_LAST = 599,
    ERR_KICKSTART_CURL_FIRST = 1000,
    ERR_KICKSTART_CURL_LAST = 1999,
    ERR_SW_DOWNLOAD_CURL_FIRST = 2000,
    ERR_SW_DOWNLOAD_CURL_LAST = 2999,
    ERR_LOGIN_FAILED_ERROR_FIRST = 3000,
    ERR_LOGIN_FAILED_ERROR_LAST = 3999
};

bool parseMessageType(const std::string& name, MessageType& out);
bool printMessageType(MessageType value, std::string& out);
bool parseClientLoginError(const std::string& name, ClientLoginError& out);
bool printClientLoginError(ClientLoginError value, std::string& out);
bool parseConnectionFailureType(const std::string& name, ConnectionFailureType& out);
bool printConnectionFailureType(ConnectionFailureType value, std::string& out);
bool parseClientSideError(const std::string& name, ClientSideError& out);
bool printClientSideError(ClientSideError value, std::string& out);

} // namespace Grid
} // namespace Kapi

#endif
