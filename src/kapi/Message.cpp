// Message names, indexed by code. The table has NUM_CODES + 1 entries so that the count has a
// name too; entry 9 ends in a blank, which is part of the name.
#include "kapi/Message.h"

namespace Kapi {

namespace {

const char* const kCodeNames[] = {
    "BufferReader is finished (BufferReaderFinished)",
    "Buffer reader progress (ProgressMessage)",
    "BufferSender is finished (Message)",
    "Buffer read progress",
    "BufferReceiver packets sent to writer (WriteMessage)",
    "BufferReceiver got proper disconnect (FinishedMessage)",
    "BufferReceiver got timeout from Reactor (TimeoutMessage)",
    "Net Receiver Low Bandwidth",
    "File writer has written a number of bytes (ProgressMessage).",
    "File writer has finished for a socket (FinishedMessage) ",
    "File writer got error from producer",
    "File Writer Low Bandwidth",
    "SendHandler is finished (Message)",
    "Multipurpose I/O error message, or base class (IOErrorMessage)",
    "MessageProcessor cancellation",
    "Sent by MultiReceiveManager: receive progress (MRMProgressMessage)",
    "Sent by MultiReceiveManager: receive finished (MRMFinishedMessage)",
    "Send by MultiReceiveManager: abort (MRMAbortMessage)",
    "Content got loaded (MessageLoaded)",
    "Content got unloaded (MessageUnloaded)",
    "Content population progress (MessagePopulation)",
    "Blob progress",
    "Custom Message",
    "P2P Client State Changed",
    "Blob seeded (SeedingEventMessage)",
    "StreamerIn event message",
    "Streamer event message",
    "StreamerIn private message",
    "Seeding peer change",
    "Downstream Client Connect Request",
    "Downstream Client Listen Request",
    "Downstream New Transmit Rate Request",
    "NOTUSED2",
    "Client Message Sent",
    "Downstream Close Request",
    "Client Connect Status Response",
    "Hello Connection Message",
    "Seeding New Catalog Notification",
    "Seeding Get Bitmap Request",
    "Seeding Get Bitmap Response",
    "Seeding IHave Notification",
    "Seeding Get Block Request",
    "Seeding Get Block Response",
    "Seeding Choke Message",
    "Client Diagnostic Message",
    "C2CComm event message",
    "Seeder In Event",
    "Seeding Session Get Block Timeout",
    "Seeding Session Get Bitmap Timeout",
    "BlockRange Request",
    "BlockRange Response",
    "Out of Process Executor Response",
    "Open/Close client session",
    "Ethernet link state changed.",
    "Updater catchup blobs changed",
    "Agent Message",
    "Idler notice",
    "P2P Client Something interesting in service owned config changed",
    "Streamer state event message",
    "Updater satisfied the desired software told it by the server",
    "Login failed",
    "Login succeeded",
    "Key value pair changed",
    "Seeding GetBlockRangeReq",
    "Seeding iHave range notice",
    "State of the user activity changed",
    "Whether the network configurator is busy changed",
    "Seeding Get Block Range Response",
    "Stream In From",
    "Stream Out To",
    "Client Blob Metadata Request",
    "Client Blob Metadata Response",
    "Client New Bitrate Request",
    "Updater desired catalog changed",
    "Pipeline Event",
    "Client EOF",
    "New Pipelines",
    "Seeding params",
    "NAS manager share qualification status update",
    "NAS manager ping status",
    "NAS manager status change",
    "Whether the network interface is up or down changed",
    "Network Storage Device qualification update message",
    "Network Storage Device status change message",
    "Discovery Message",
    "File System Monitor Message",
    "NAS Scan Update",
    "Streamer bitrate changed",
    "Streamer error",
    "NUM_CODES",
};

static_assert(sizeof(kCodeNames) / sizeof(kCodeNames[0]) == NUM_CODES + 1,
              "one name per message code plus the count");

} // namespace

Message::~Message() = default;

std::string Message::toString() const
{
    // Appended piece by piece: "[" + name + "]" trips a false -Wrestrict in GCC 12 at -O3.
    std::string text(1, '[');
    text += codeToString(m_code);
    text += ']';
    return text;
}

std::string Message::codeToString(int code)
{
    if (code >= 0 && code <= NUM_CODES)
        return kCodeNames[code];
    return "Received unknown message code: " + std::to_string(code);
}

} // namespace Kapi
