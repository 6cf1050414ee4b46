// CurlEasy: the transfer. Exactly one write callback is installed per transfer (file, packet
// listener or in-memory buffer); the header parser runs for every transfer and also reserves
// the in-memory body once from Content-Length.
#include "kapi/net/CurlEasy.h"

#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

#include <cstring>
#include <curl/curl.h>

namespace Kapi {
namespace Net {

namespace {

CURL* easy(void* handle)
{
    return static_cast<CURL*>(handle);
}

} // namespace

Curl::Code CurlEasy::setupTransfer()
{
    CURL* h = easy(mHandle);
    if (h == nullptr) {
        return Curl::kFailedInit;
    }
    if (!mOutputFileName.empty()) {
        finalizeTransfer();
        // _FILE_OFFSET_BITS=64 makes fopen large-file aware on 32-bit targets.
        mOutputFile = fopen(mOutputFileName.c_str(), "wb");
        if (mOutputFile == nullptr) {
            return Curl::kWriteError;
        }
        curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, fwrite);
        curl_easy_setopt(h, CURLOPT_WRITEDATA, mOutputFile);
    } else if (mPacketListener == nullptr) {
        curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, bufferWrite_i);
        curl_easy_setopt(h, CURLOPT_WRITEDATA, this);
    }
    curl_easy_setopt(h, CURLOPT_HEADERFUNCTION, headerParse_i);
    curl_easy_setopt(h, CURLOPT_HEADERDATA, this);
    if (mHeaderList != nullptr) {
        curl_easy_setopt(h, CURLOPT_HTTPHEADER, static_cast<curl_slist*>(mHeaderList));
    }
    return Curl::kOk;
}

void CurlEasy::finalizeTransfer()
{
    if (mOutputFile != nullptr) {
        fclose(mOutputFile);
        mOutputFile = nullptr;
    }
}

void CurlEasy::setErrorMessage(Curl::Code code)
{
    if (code == Curl::kOk) {
        return;
    }
    const char* text = curl_easy_strerror(static_cast<CURLcode>(code));
    if (text != nullptr && text[0] != '\0') {
        mErrorMessage = text;
    } else {
        mErrorMessage = StringUtil::newPrintf("Curl Error Code %d", code);
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "::CURL query failed (%s) (%d)",
                    mErrorMessage.c_str(), code);
}

Curl::Code CurlEasy::perform()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                    "CurlEasy(%p)::perform() called. Use CurlAsync instead so that we dont "
                    "block on core.stop()",
                    static_cast<void*>(this));
    Curl::Code code = setupTransfer();
    if (code != Curl::kOk) {
        setErrorMessage(code);
        return code;
    }
    code = curl_easy_perform(easy(mHandle));
    setErrorMessage(code);
    finalizeTransfer();
    return code;
}

void CurlEasy::callTransferListener(void* easyHandle, Curl::Code code)
{
    char* owner = nullptr;
    if (easyHandle == nullptr ||
        curl_easy_getinfo(easy(easyHandle), CURLINFO_PRIVATE, &owner) != CURLE_OK ||
        owner == nullptr) {
        return;
    }
    CurlEasy* self = reinterpret_cast<CurlEasy*>(owner);
    if (self->mTransferListener == nullptr) {
        return;
    }
    self->setErrorMessage(code);
    self->finalizeTransfer();
    self->mTransferListener->transferComplete(code);
}

size_t CurlEasy::bufferWrite_i(char* data, size_t size, size_t count, void* self)
{
    CurlEasy* request = static_cast<CurlEasy*>(self);
    const size_t bytes = size * count;
    if (request->mBody.size() + bytes > request->mMaxBodySize) {
        return 0;
    }
    request->mBody.append(data, bytes);
    return count;
}

size_t CurlEasy::packetWrite_i(char* data, size_t size, size_t count, void* self)
{
    CurlEasy* request = static_cast<CurlEasy*>(self);
    if (request->mPacketListener == nullptr) {
        return 0;
    }
    if (!request->mPacketListener->gotBytes(data, static_cast<unsigned int>(size * count))) {
        return 0;
    }
    return count;
}

size_t CurlEasy::headerParse_i(char* data, size_t size, size_t count, void* self)
{
    static_cast<CurlEasy*>(self)->handleHeaderLine_i(data, size * count);
    return count;
}

void CurlEasy::handleHeaderLine_i(const char* data, size_t length)
{
    while (length > 0 && (data[length - 1] == '\r' || data[length - 1] == '\n')) {
        --length;
    }
    if (length == 0) {
        return;
    }
    const std::string line(data, length);
    const size_t colon = line.find(':');
    if (colon == std::string::npos) {
        return;
    }
    const std::string name = line.substr(0, colon);
    size_t valueStart = colon + 1;
    if (valueStart < line.size() && line[valueStart] == ' ') {
        while (valueStart < line.size() && line[valueStart] == ' ') {
            ++valueStart;
        }
    }
    const std::string value = line.substr(valueStart);
    mResponseHeaders.addValue(name, Variant(value));
    uint64 contentLength = 0;
    if (name == "Content-Length" && StringUtil::asUInteger64(value, contentLength)) {
        if (mPacketListener != nullptr) {
            mPacketListener->gotContentLength(contentLength);
        } else {
            if (contentLength > mMaxBodySize) {
                contentLength = mMaxBodySize;
            }
            mBody.reserve(static_cast<size_t>(contentLength) + 1);
        }
    }
}

} // namespace Net
} // namespace Kapi
