// Note encodings: binary pack and unpack, XML writing, URL encoding and decoding of a catalogue
// note with 1,000 sub-notes, and signature verification under a 2048-bit key made here with
// OpenSSL. Throughput is in bytes of the form produced or consumed.
#include "kapi/RsaUtil.h"
#include "kapi/StreamBufferReader.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/director/NoteBinary.h"
#include "kapi/director/NoteSign.h"
#include "kapi/director/NoteUrl.h"
#include "kapi/director/NoteXml.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <random>
#include <string>

using Kapi::Director::Note;
using Kapi::Director::NoteBinary;
using NotePtr = std::shared_ptr<Note>;

namespace {

std::string word(std::mt19937& random)
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJ0123456789_-.";
    std::string out;
    const size_t length = 3 + random() % 20;
    for (size_t i = 0; i < length; ++i)
        out += letters[random() % (sizeof letters - 1)];
    return out;
}

// A "movieList" of 1,000 movies, each with a few fields, a list of bitrates and an image note.
NotePtr catalogue()
{
    std::mt19937 random(2024);
    NotePtr list = Note::create("movieList");
    for (int i = 0; i < 1000; ++i) {
        NotePtr movie = Note::create("movie");
        movie->add("id", std::to_string(100000 + i));
        movie->add("title", word(random));
        movie->add("synopsis", word(random) + " " + word(random) + " " + word(random));
        movie->add("duration", std::to_string(random() % 10000));
        for (int b = 0; b < 4; ++b)
            movie->add("bitrate", std::to_string(500 + 750 * b));
        NotePtr image = Note::create("image");
        image->add("url", "http://images.example/" + std::to_string(i) + ".jpg");
        image->add("width", "320");
        movie->add("image", image);
        list->add("movie", movie);
    }
    return list;
}

const NotePtr& sharedCatalogue()
{
    static const NotePtr s_note = catalogue();
    return s_note;
}

void BM_NotePack(benchmark::State& state)
{
    const NotePtr& note = sharedCatalogue();
    std::string out;
    for (auto _ : state) {
        out.clear();
        Kapi::Stream::StringWriter writer(&out);
        benchmark::DoNotOptimize(NoteBinary::pack(&writer, note));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}
BENCHMARK(BM_NotePack);

void BM_NoteUnpack(benchmark::State& state)
{
    std::string data;
    NoteBinary::packToString(sharedCatalogue(), &data);
    for (auto _ : state) {
        Kapi::Stream::BufferReader reader(data.data(), data.size());
        NotePtr note;
        benchmark::DoNotOptimize(NoteBinary::unpack(&reader, &note));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_NoteUnpack);

void BM_NoteXmlWrite(benchmark::State& state)
{
    const NotePtr& note = sharedCatalogue();
    std::string out;
    for (auto _ : state)
        benchmark::DoNotOptimize(Kapi::Director::NoteXml::toString(note, &out, true, true));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}
BENCHMARK(BM_NoteXmlWrite);

void BM_NoteUrlEncode(benchmark::State& state)
{
    const NotePtr& note = sharedCatalogue();
    std::string out;
    for (auto _ : state) {
        out = Kapi::Director::NoteUrl::toString(note);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}
BENCHMARK(BM_NoteUrlEncode);

void BM_NoteUrlDecode(benchmark::State& state)
{
    const std::string url = Kapi::Director::NoteUrl::toString(sharedCatalogue());
    for (auto _ : state)
        benchmark::DoNotOptimize(Kapi::Director::NoteUrl::fromString(url));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * url.size()));
}
BENCHMARK(BM_NoteUrlDecode);

std::string pemOf(EVP_PKEY* key, bool privateHalf)
{
    BIO* bio = BIO_new(BIO_s_mem());
    if (privateHalf)
        PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    else
        PEM_write_bio_PUBKEY(bio, key);
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    std::string pem(data, static_cast<size_t>(length));
    BIO_free(bio);
    return pem;
}

// A provisioning-sized note signed under key 1 (a fresh 2048-bit key); verify strips the
// signature, so each round puts it back (one map insertion) before verifying again.
void BM_NoteVerify2048(benchmark::State& state)
{
    EVP_PKEY* key = EVP_RSA_gen(2048);
    vUtil::RsaUtil::setPrivateKey(1, pemOf(key, true));
    vUtil::RsaUtil::setPublicKey(1, pemOf(key, false));
    EVP_PKEY_free(key);

    NotePtr note = Note::create("deviceProvisionResponse");
    note->add("clientId", "0x00c0ffee");
    note->add("deviceKey", std::string(128, 'k'));
    note->add("zone", "eu-west");
    Kapi::Director::NoteSign::sign(1, note);
    const std::string signature = note->getStringOr("signature", 0, "");
    std::string packed;
    NoteBinary::packToString(note, &packed);
    bool allVerified = true;
    for (auto _ : state) {
        allVerified = Kapi::Director::NoteSign::verify(1, note) && allVerified;
        note->add("signature", signature);
    }
    if (!allVerified)
        state.SkipWithError("a signature did not verify");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * packed.size()));
    vUtil::RsaUtil::removeKey(1);
}
BENCHMARK(BM_NoteVerify2048);

} // namespace
