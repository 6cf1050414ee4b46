// Kapi::Director::NoteSign: digest of the packed note, then the RSA engine and the base64
// engine, in the order the checks are logged.
#include "kapi/director/NoteSign.h"

#include "kapi/Base64.h"
#include "kapi/Rsa.h"
#include "kapi/RsaUtil.h"
#include "kapi/Sha1.h"
#include "kapi/director/NoteBinary.h"
#include "kapi/vLog.h"

#include <vector>

namespace Kapi {
namespace Director {

namespace {

const char* const kSignature = "signature";

// The canonical digest: SHA-1 of the binary form.
bool sha1(const Note& note, unsigned char digest[Sha1::kDigestLength])
{
    std::string bytes;
    // The binary form wants a shared pointer; an aliasing one borrows the note without owning.
    std::shared_ptr<Note> borrowed(std::shared_ptr<Note>(), const_cast<Note*>(&note));
    if (!NoteBinary::packToString(borrowed, &bytes))
        return false;
    std::unique_ptr<Sha1> engine = Sha1::NewSoftwareEngine();
    engine->update(reinterpret_cast<const unsigned char*>(bytes.data()),
                   static_cast<unsigned int>(bytes.size()));
    engine->hashCode(digest);
    return true;
}

} // namespace

bool NoteSign::verify(int keyNumber, const std::shared_ptr<Note>& note)
{
    std::string signature;
    bool found = false;
    for (unsigned i = 0; note && !found && i < note->count(kSignature); ++i)
        found = note->getString(kSignature, i, &signature);
    if (!found) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO,
                        "NoteSign::verify: note has no signature!?");
        return false;
    }
    note->removeAll(kSignature);

    std::vector<unsigned char> decoded(signature.size() + 1);
    unsigned int decodedLength = 0;
    std::unique_ptr<Base64> base64 = Base64::NewSoftwareEngine(true);
    if (!base64->decode(signature, decoded.data(), &decodedLength)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO,
                        "NoteSign::verify: can't decode signature?");
        return false;
    }
    unsigned char digest[Sha1::kDigestLength];
    if (!sha1(*note, digest)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO, "NoteSign::verify: can't sha1 a note!?");
        return false;
    }
    std::unique_ptr<Rsa> rsa = Rsa::NewSoftwareEngine();
    if (!vUtil::RsaUtil::loadPublicKey(keyNumber, rsa.get())) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO,
                        "NoteSign::verify: can't load the key (%d)", keyNumber);
        return false;
    }
    if (decodedLength != rsa->keyLen()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_INFO,
                        "NoteSign::verify: signature has bad length (%d != %d)",
                        static_cast<int>(decodedLength), static_cast<int>(rsa->keyLen()));
        return false;
    }
    return rsa->verify(digest, decoded.data());
}

bool NoteSign::sign(int keyNumber, const std::shared_ptr<Note>& note)
{
    if (!note || note->get(kSignature, 0) != nullptr)
        return false;
    unsigned char digest[Sha1::kDigestLength];
    if (!sha1(*note, digest))
        return false;
    std::unique_ptr<Rsa> rsa = Rsa::NewSoftwareEngine();
    if (!vUtil::RsaUtil::loadKey(keyNumber, rsa.get()) || rsa->keyLen() == 0)
        return false;
    std::vector<unsigned char> signature(rsa->keyLen());
    if (!rsa->sign(digest, signature.data()))
        return false;
    if (!rsa->verify(digest, signature.data())) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                        "NoteSign::sign(), couldn't verify new signature!");
        return false;
    }
    std::string text;
    std::unique_ptr<Base64> base64 = Base64::NewSoftwareEngine(true);
    if (!base64->encode(signature.data(), static_cast<unsigned int>(signature.size()), text)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR, "Failed to base64 a signature?");
        return false;
    }
    note->add(kSignature, text);
    return true;
}

} // namespace Director
} // namespace Kapi
