#ifndef KAPI_MESSAGE_H
#define KAPI_MESSAGE_H
/*
 * Messages passed between long-lived service objects. A message is a code shared by all
 * subsystems plus whatever a subclass adds; whoever holds a Message* owns it until it hands it
 * on (to a receiver, a processor or a handle), and the last holder deletes it.
 *
 * Codes 0..88 have fixed names (codeToString); 89 is their count, NUM_CODES, and also has a
 * name. Any other number is "unknown" to codeToString but may still be carried.
 *
 * A Message is immutable once sent, so toString() may be called from any thread.
 */
#include "kapi/KapiTypes.h"

#include <string>

namespace Kapi {

enum MessageCode : int32
{
    MSG_BUFFER_READER_FINISHED = 0,
    MSG_BUFFER_READER_PROGRESS = 1,
    MSG_BUFFER_SENDER_FINISHED = 2,
    MSG_BUFFER_READ_PROGRESS = 3,
    MSG_BUFFER_RECEIVER_WRITE = 4,
    MSG_BUFFER_RECEIVER_FINISHED = 5,
    MSG_BUFFER_RECEIVER_TIMEOUT = 6,
    MSG_NET_RECEIVER_LOW_BANDWIDTH = 7,
    MSG_FILE_WRITER_PROGRESS = 8,
    MSG_FILE_WRITER_FINISHED = 9,
    MSG_FILE_WRITER_PRODUCER_ERROR = 10,
    MSG_FILE_WRITER_LOW_BANDWIDTH = 11,
    MSG_SEND_HANDLER_FINISHED = 12,
    MSG_IO_ERROR = 13,
    MSG_MESSAGE_PROCESSOR_CANCEL = 14,
    MSG_MRM_PROGRESS = 15,
    MSG_MRM_FINISHED = 16,
    MSG_MRM_ABORT = 17,
    MSG_CONTENT_LOADED = 18,
    MSG_CONTENT_UNLOADED = 19,
    MSG_CONTENT_POPULATION = 20,
    MSG_BLOB_PROGRESS = 21,
    MSG_CUSTOM = 22,
    MSG_P2P_CLIENT_STATE_CHANGED = 23,
    MSG_BLOB_SEEDED = 24,
    MSG_STREAMER_IN_EVENT = 25,
    MSG_STREAMER_EVENT = 26,
    MSG_STREAMER_IN_PRIVATE = 27,
    MSG_SEEDING_PEER_CHANGE = 28,
    MSG_DOWNSTREAM_CLIENT_CONNECT_REQUEST = 29,
    MSG_DOWNSTREAM_CLIENT_LISTEN_REQUEST = 30,
    MSG_DOWNSTREAM_NEW_TRANSMIT_RATE_REQUEST = 31,
    MSG_NOTUSED2 = 32,
    MSG_CLIENT_MESSAGE_SENT = 33,
    MSG_DOWNSTREAM_CLOSE_REQUEST = 34,
    MSG_CLIENT_CONNECT_STATUS_RESPONSE = 35,
    MSG_HELLO_CONNECTION = 36,
    MSG_SEEDING_NEW_CATALOG_NOTIFICATION = 37,
    MSG_SEEDING_GET_BITMAP_REQUEST = 38,
    MSG_SEEDING_GET_BITMAP_RESPONSE = 39,
    MSG_SEEDING_IHAVE_NOTIFICATION = 40,
    MSG_SEEDING_GET_BLOCK_REQUEST = 41,
    MSG_SEEDING_GET_BLOCK_RESPONSE = 42,
    MSG_SEEDING_CHOKE = 43,
    MSG_CLIENT_DIAGNOSTIC = 44,
    MSG_C2C_COMM_EVENT = 45,
    MSG_SEEDER_IN_EVENT = 46,
    MSG_SEEDING_SESSION_GET_BLOCK_TIMEOUT = 47,
    MSG_SEEDING_SESSION_GET_BITMAP_TIMEOUT = 48,
    MSG_BLOCK_RANGE_REQUEST = 49,
    MSG_BLOCK_RANGE_RESPONSE = 50,
    MSG_OUT_OF_PROCESS_EXECUTOR_RESPONSE = 51,
    MSG_CLIENT_SESSION_OPEN_CLOSE = 52,
    MSG_ETHERNET_LINK_STATE_CHANGED = 53,
    MSG_UPDATER_CATCHUP_BLOBS_CHANGED = 54,
    MSG_AGENT = 55,
    MSG_IDLER_NOTICE = 56,
    MSG_SERVICE_OWNED_CONFIG_CHANGED = 57,
    MSG_STREAMER_STATE_EVENT = 58,
    MSG_UPDATER_SATISFIED = 59,
    MSG_LOGIN_FAILED = 60,
    MSG_LOGIN_SUCCEEDED = 61,
    MSG_KEY_VALUE_PAIR_CHANGED = 62,
    MSG_SEEDING_GET_BLOCK_RANGE_REQUEST = 63,
    MSG_SEEDING_IHAVE_RANGE_NOTICE = 64,
    MSG_USER_ACTIVITY_CHANGED = 65,
    MSG_NETWORK_CONFIGURATOR_BUSY_CHANGED = 66,
    MSG_SEEDING_GET_BLOCK_RANGE_RESPONSE = 67,
    MSG_STREAM_IN_FROM = 68,
    MSG_STREAM_OUT_TO = 69,
    MSG_CLIENT_BLOB_METADATA_REQUEST = 70,
    MSG_CLIENT_BLOB_METADATA_RESPONSE = 71,
    MSG_CLIENT_NEW_BITRATE_REQUEST = 72,
    MSG_UPDATER_DESIRED_CATALOG_CHANGED = 73,
    MSG_PIPELINE_EVENT = 74,
    MSG_CLIENT_EOF = 75,
    MSG_NEW_PIPELINES = 76,
    MSG_SEEDING_PARAMS = 77,
    MSG_NAS_SHARE_QUALIFICATION_STATUS = 78,
    MSG_NAS_PING_STATUS = 79,
    MSG_NAS_STATUS_CHANGE = 80,
    MSG_NETWORK_INTERFACE_UP_DOWN_CHANGED = 81,
    MSG_NSD_QUALIFICATION_UPDATE = 82,
    MSG_NSD_STATUS_CHANGE = 83,
    MSG_DISCOVERY = 84,
    MSG_FILE_SYSTEM_MONITOR = 85,
    MSG_NAS_SCAN_UPDATE = 86,
    MSG_STREAMER_BITRATE_CHANGED = 87,
    MSG_STREAMER_ERROR = 88,
    NUM_CODES = 89
};

class Message
{
public:
    explicit Message(MessageCode code) : m_code(code) {}
    Message(const Message&) = default;
    Message& operator=(const Message&) = default;
    virtual ~Message();

    // "[" + codeToString(code) + "]".
    virtual std::string toString() const;

    MessageCode getCode() const { return m_code; }

    // The code's name for 0..89; otherwise "Received unknown message code: " and the number.
    static std::string codeToString(int code);

private:
    MessageCode m_code;
};

// A message that can be copied for each of several receivers (see HandleNotifier).
class CloneableMessage : public Message
{
public:
    using Message::Message;
    // A new copy, owned by the caller.
    virtual CloneableMessage* clone() const = 0;
};

} // namespace Kapi

#endif
