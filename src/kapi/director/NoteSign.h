#ifndef KAPI_DIRECTOR_NOTESIGN_H
#define KAPI_DIRECTOR_NOTESIGN_H
// Kapi::Director::NoteSign: RSA/SHA-1 signatures carried inside a note. The signature is the
// entry "signature" whose string value is the one-line base64 text of the raw PKCS #1 v1.5
// signature; the signed data is the SHA-1 digest of the note's binary form with every
// "signature" entry removed. Keys come from the key store by number (vUtil::RsaUtil).
//
// verify() removes the signature from the caller's note, whatever the outcome (once a
// signature was found). Both functions keep no state and are safe from any thread on distinct
// notes; a note must not change under them. Failures are logged under kapi_director.
#include "kapi/director/Note.h"

#include <memory>

namespace Kapi {
namespace Director {

class NoteSign
{
public:
    NoteSign() = delete;

    // Adds a "signature" entry made with private key `keyNumber`. False (note unchanged) when
    // the note is already signed, cannot be packed, or the key is missing or does not sign.
    static bool sign(int keyNumber, const std::shared_ptr<Note>& note);
    // True when the first "signature" entry is a valid signature of the rest of the note under
    // public key `keyNumber`.
    static bool verify(int keyNumber, const std::shared_ptr<Note>& note);
};

} // namespace Director
} // namespace Kapi

#endif
