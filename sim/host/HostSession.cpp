// The host session: command parsing and checking, and the commands over the host queues.
#include "HostSession.h"

#include "HostFields.h"
#include "kapi/SystemUtil.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sys/msg.h>
#include <time.h>
#include <unistd.h>

namespace KeloHost {

namespace {

bool parseSeconds_i(const std::string& text, double* seconds)
{
    char* end = nullptr;
    errno = 0;
    double v = strtod(text.c_str(), &end);
    if (text.empty() || errno != 0 || *end != '\0' || !std::isfinite(v) || v < 0)
        return false;
    *seconds = v;
    return true;
}

double monotonicSeconds_i()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

// Fills a message from "send TYPE FIELD=VALUE ..." words.
bool buildMessage_i(const Command& c, KELO_MSG_T* msg, std::string* error)
{
    memset(msg, 0, sizeof(*msg));
    if (!parseType(c.words[0], &msg->tMsgType)) {
        *error = "unknown message type '" + c.words[0] + "'";
        return false;
    }
    for (size_t i = 1; i < c.words.size(); ++i) {
        const std::string& w = c.words[i];
        size_t eq = w.find('=');
        if (eq == std::string::npos || eq == 0) {
            *error = "expected FIELD=VALUE, got '" + w + "'";
            return false;
        }
        if (!setField(*msg, w.substr(0, eq), w.substr(eq + 1), error))
            return false;
    }
    return true;
}

} // namespace

bool parseCommandLine(const std::string& line, Command* command, std::string* error)
{
    std::vector<std::string> words;
    std::string word;
    bool inWord = false, quoted = false;
    for (char ch : line) {
        if (quoted) {
            if (ch == '"')
                quoted = false;
            else
                word += ch;
        } else if (ch == '"') {
            quoted = true;
            inWord = true;
        } else if (ch == '#') {
            break;
        } else if (ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n') {
            if (inWord)
                words.push_back(word);
            word.clear();
            inWord = false;
        } else {
            word += ch;
            inWord = true;
        }
    }
    if (quoted) {
        *error = "unterminated quote in '" + line + "'";
        return false;
    }
    if (inWord)
        words.push_back(word);
    command->verb.clear();
    command->words.clear();
    if (!words.empty()) {
        command->verb = words[0];
        command->words.assign(words.begin() + 1, words.end());
    }
    return true;
}

bool checkCommand(const Command& c, std::string* error)
{
    const size_t n = c.words.size();
    int32 type = 0;
    double seconds = 0;
    if (c.verb.empty())
        return true;
    if (c.verb == "send") {
        KELO_MSG_T msg;
        if (n < 1) {
            *error = "send needs a message type";
            return false;
        }
        return buildMessage_i(c, &msg, error);
    }
    if (c.verb == "expect" || c.verb == "fields") {
        if (n != 1 || !parseType(c.words[0], &type)) {
            *error = c.verb + " needs one message type";
            return false;
        }
        return true;
    }
    if (c.verb == "nothing" || c.verb == "wait") {
        if (n != 1 || !parseSeconds_i(c.words[0], &seconds)) {
            *error = c.verb + " needs a number of seconds";
            return false;
        }
        return true;
    }
    if (c.verb == "listen" || c.verb == "remove") {
        if (n != 0) {
            *error = c.verb + " takes no arguments";
            return false;
        }
        return true;
    }
    *error = "unknown command '" + c.verb + "'";
    return false;
}

HostSession::HostSession(double timeoutSeconds, FILE* out) : mTimeout(timeoutSeconds), mOut(out) {}

bool HostSession::fail_i(const std::string& reason)
{
    fprintf(mOut, "host: FAILED: %s\n", reason.c_str());
    fflush(mOut);
    return false;
}

bool HostSession::open()
{
    const std::string keyPath = Kapi::SystemUtil::devicePath(KELO_IPC_KEY_PATH);
    if (access(keyPath.c_str(), F_OK) != 0)
        return fail_i("key file " + keyPath + " does not exist");
    if (init_kelo_msg_queue() != KELO_IPC_OK)
        return fail_i("cannot create the host queues");
    fprintf(mOut, "host: queues app=%d stub=%d\n", rKeloAppMsgQue.i4MsgQueId,
            rKeloStubMsgQue.i4MsgQueId);
    fflush(mOut);
    return true;
}

bool HostSession::receive_i(KELO_MSG_T* msg, double seconds)
{
    const double deadline = monotonicSeconds_i() + seconds;
    for (;;) {
        memset(msg, 0, sizeof(*msg));
        if (kelo_ipc_recv_msg(rKeloAppMsgQue.i4MsgQueId, msg, IPC_NOWAIT) == KELO_IPC_OK) {
            fprintf(mOut, "host: recv %s%s\n", describeType(msg->tMsgType).c_str(),
                    describePayload(*msg).c_str());
            fflush(mOut);
            return true;
        }
        if (monotonicSeconds_i() >= deadline)
            return false;
        usleep(10 * 1000);
    }
}

bool HostSession::run(const Command& c)
{
    KELO_MSG_T msg;
    std::string error;
    double seconds = 0;
    int32 type = 0;
    if (c.verb.empty())
        return true;
    if (c.verb == "send") {
        if (!buildMessage_i(c, &msg, &error))
            return fail_i(error);
        fprintf(mOut, "host: send %s%s\n", describeType(msg.tMsgType).c_str(),
                describePayload(msg).c_str());
        fflush(mOut);
        if (kelo_app_send_ipc_msg(&msg) != KELO_IPC_OK)
            return fail_i("send " + describeType(msg.tMsgType) + ": " + strerror(errno));
        return true;
    }
    if (c.verb == "expect") {
        parseType(c.words[0], &type);
        if (!receive_i(&msg, mTimeout))
            return fail_i("expect " + describeType(type) + ": nothing arrived");
        if (msg.tMsgType != type)
            return fail_i("expect " + describeType(type) + ": got " + describeType(msg.tMsgType));
        return true;
    }
    if (c.verb == "nothing") {
        parseSeconds_i(c.words[0], &seconds);
        if (receive_i(&msg, seconds))
            return fail_i("nothing " + c.words[0] + ": got " + describeType(msg.tMsgType));
        return true;
    }
    if (c.verb == "wait") {
        parseSeconds_i(c.words[0], &seconds);
        const double deadline = monotonicSeconds_i() + seconds;
        while (receive_i(&msg, std::max(0.0, deadline - monotonicSeconds_i()))) {
        }
        return true;
    }
    if (c.verb == "listen") {
        const double deadline = monotonicSeconds_i() + mTimeout;
        for (;;) {
            if (!receive_i(&msg, std::max(0.0, deadline - monotonicSeconds_i())))
                return fail_i("listen: no KELO_MSG_EXIT_SELF");
            if (msg.tMsgType == KELO_MSG_EXIT_SELF)
                return true;
        }
    }
    if (c.verb == "fields") {
        parseType(c.words[0], &type);
        fprintf(mOut, "host: fields %s (%s):", describeType(type).c_str(), recordOf(type));
        for (const Field& f : fieldsOf(type))
            fprintf(mOut, " %s", f.name);
        fprintf(mOut, "\n");
        fflush(mOut);
        return true;
    }
    if (c.verb == "remove") {
        if (uninit_kelo_msg_queue() != KELO_IPC_OK)
            return fail_i("remove: the queues could not be removed");
        fprintf(mOut, "host: queues removed\n");
        fflush(mOut);
        return true;
    }
    return fail_i("unknown command '" + c.verb + "'");
}

} // namespace KeloHost
