// kelotool note: service documents between their forms, and their signatures.
//   note convert --from FORM --to FORM [FILE]   FORM: bin, xml, url (query form), path
//   note sign --key PRIVATE.pem [--from FORM] [FILE]   the signed note, in binary form
//   note verify --key PUBLIC.pem [--from FORM] [FILE]  "verified" (0) or "not verified" (1)
// Decoders report through the log; their lines are collected here and printed to standard
// error when the input is refused.
#include "Command.h"

#include "kapi/Log.h"
#include "kapi/ModuleLogger.h"
#include "kapi/Rsa.h"
#include "kapi/RsaUtil.h"
#include "kapi/director/NoteBinary.h"
#include "kapi/director/NoteSign.h"
#include "kapi/director/NoteUrl.h"
#include "kapi/director/NoteUrlPath.h"
#include "kapi/director/NoteXml.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace KeloTool {

namespace {

using Kapi::Director::Note;
using NotePtr = std::shared_ptr<Note>;

// The key number the tool registers the given key under.
const int kToolKey = 1000;

// Collects what the document code logs, for the error report.
class CollectedLog : public Kapi::Log
{
public:
    void log(const char* source, Priority priority, const char* format, ...) override
    {
        va_list args;
        va_start(args, format);
        vlog(source, priority, format, args);
        va_end(args);
    }
    void vlog(const char*, Priority, const char* format, va_list args) override
    {
        char line[1024];
        vsnprintf(line, sizeof line, format, args);
        std::string text = line;
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        m_lines.push_back(text);
    }
    void setLogToConsole(bool) override {}
    void setHighRes(bool) override {}

    void print() const
    {
        for (const std::string& line : m_lines)
            fprintf(stderr, "kelotool note: %s\n", line.c_str());
    }

private:
    std::vector<std::string> m_lines;
};

class LogScope
{
public:
    LogScope() : m_logger(&m_log, "kelotool-note")
    {
        m_logger.levels().setLevelAll(VLOG_NONE);
        m_logger.levels().setLevel(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
        m_logger.levels().setLevel(VLOGSRC_MISC_SYSTEM, VLOG_DEBUG);
        m_logger.levels().setLevel(VLOGSRC_KAPI_CRYPTO, VLOG_INFO);
        Kapi::ModuleLogger::registerLogger(&m_logger);
    }
    ~LogScope() { Kapi::ModuleLogger::unregisterLogger(&m_logger); }
    const CollectedLog& log() const { return m_log; }

private:
    CollectedLog m_log;
    Kapi::ModuleLogger m_logger;
};

bool isForm(const std::string& form)
{
    return form == "bin" || form == "xml" || form == "url" || form == "path";
}

// A text form's input may end with the newline an editor or echo leaves.
std::string withoutFinalNewline(std::string text)
{
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    return text;
}

NotePtr decode(const std::string& form, const std::string& input)
{
    if (form == "bin") {
        NotePtr note = Kapi::Director::NoteBinary::unpackBytes(input.data(), input.size());
        if (!note)
            fprintf(stderr, "kelotool note: not a binary note (%zu bytes)\n", input.size());
        return note;
    }
    if (form == "xml") {
        NotePtr note;
        return Kapi::Director::NoteXml::fromString(input, &note) ? note : nullptr;
    }
    if (form == "url")
        return Kapi::Director::NoteUrl::fromString(withoutFinalNewline(input));
    return Kapi::Director::NoteUrlPath::fromString(withoutFinalNewline(input));
}

bool encode(const std::string& form, const NotePtr& note, std::string* out)
{
    if (form == "bin")
        return Kapi::Director::NoteBinary::packToString(note, out);
    if (form == "xml")
        return Kapi::Director::NoteXml::toString(note, out, true, true);
    *out = (form == "url" ? Kapi::Director::NoteUrl::toString(note)
                          : Kapi::Director::NoteUrlPath::toString(note)) +
           "\n";
    return true;
}

struct Options
{
    std::string from = "bin";
    std::string to;
    std::string key;
    std::string file;
};

// Parses "--from F", "--to F", "--key K" and at most one file; false on anything else.
bool parseOptions(const Args& args, Options* options)
{
    bool haveFile = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--from" || arg == "--to" || arg == "--key") {
            if (i + 1 >= args.size())
                return false;
            std::string& slot = arg == "--from" ? options->from
                                : arg == "--to" ? options->to
                                                : options->key;
            slot = args[++i];
        } else if (!haveFile && (arg == "-" || arg.rfind("--", 0) != 0)) {
            options->file = arg;
            haveFile = true;
        } else {
            return false;
        }
    }
    return true;
}

int fail(const LogScope& scope, const char* what)
{
    scope.log().print();
    fprintf(stderr, "kelotool note: %s\n", what);
    return kExitBadInput;
}

int write(const std::string& data)
{
    fwrite(data.data(), 1, data.size(), stdout);
    return fflush(stdout) == 0 ? kExitOk : kExitBadInput;
}

int runConvert(const Options& options)
{
    LogScope scope;
    std::string input;
    if (!readInput(options.file, input))
        return kExitBadInput;
    NotePtr note = decode(options.from, input);
    if (!note)
        return fail(scope, ("cannot read the input as a '" + options.from + "' note").c_str());
    std::string out;
    if (!encode(options.to, note, &out))
        return fail(scope, ("cannot write the note in the '" + options.to + "' form").c_str());
    return write(out);
}

// Reads the key file and the note for sign and verify; kExitOk when both are usable.
int readKeyAndNote(const Options& options, bool privateHalf, const LogScope& scope,
                   std::string* pem, NotePtr* note)
{
    std::string input;
    if (!readInput(options.key, *pem) || !readInput(options.file, input))
        return kExitBadInput;
    std::unique_ptr<Kapi::Rsa> probe = Kapi::Rsa::NewSoftwareEngine();
    if (privateHalf ? !probe->loadKey(pem->c_str()) : !probe->loadPublicKey(pem->c_str()))
        return fail(scope,
                    (options.key + " holds no RSA " + (privateHalf ? "private" : "public") + " key")
                        .c_str());
    *note = decode(options.from, input);
    if (!*note)
        return fail(scope, ("cannot read the input as a '" + options.from + "' note").c_str());
    return kExitOk;
}

int runSign(const Options& options)
{
    LogScope scope;
    std::string pem;
    NotePtr note;
    if (int status = readKeyAndNote(options, true, scope, &pem, &note); status != kExitOk)
        return status;
    if (note->get("signature", 0) != nullptr)
        return fail(scope, "the note is already signed");
    vUtil::RsaUtil::setPrivateKey(kToolKey, pem);
    const bool signedOk = Kapi::Director::NoteSign::sign(kToolKey, note);
    vUtil::RsaUtil::removeKey(kToolKey);
    std::string out;
    if (!signedOk || !Kapi::Director::NoteBinary::packToString(note, &out))
        return fail(scope, "cannot sign the note");
    return write(out);
}

int runVerify(const Options& options)
{
    LogScope scope;
    std::string pem;
    NotePtr note;
    if (int status = readKeyAndNote(options, false, scope, &pem, &note); status != kExitOk)
        return status;
    vUtil::RsaUtil::setPublicKey(kToolKey, pem);
    const bool verified = Kapi::Director::NoteSign::verify(kToolKey, note);
    vUtil::RsaUtil::removeKey(kToolKey);
    if (!verified) {
        scope.log().print();
        printf("not verified\n");
        return kExitNo;
    }
    printf("verified\n");
    return kExitOk;
}

} // namespace

int runNote(const Args& args)
{
    if (args.empty())
        return usageError("note");
    Options options;
    if (!parseOptions(Args(args.begin() + 1, args.end()), &options) || !isForm(options.from))
        return usageError("note");
    const std::string& action = args[0];
    if (action == "convert") {
        if (!isForm(options.to) || !options.key.empty())
            return usageError("note");
        return runConvert(options);
    }
    if (action == "sign" || action == "verify") {
        if (options.key.empty() || !options.to.empty())
            return usageError("note");
        return action == "sign" ? runSign(options) : runVerify(options);
    }
    return usageError("note");
}

} // namespace KeloTool
