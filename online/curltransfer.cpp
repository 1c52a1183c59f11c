// SPDX-License-Identifier: GPL-2.0-or-later
#include "curltransfer.h"

#include "httpsjson.h"

#include <QElapsedTimer>

#include <sys/socket.h>

namespace {

constexpr int firstFinalStatus = 200; // below are interim responses such as 100 Continue (RFC 9110, 15.2)

bool hasPeer(curl_socket_t socket)
{
    sockaddr_storage peer{};
    socklen_t bytes = sizeof peer;
    return getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &bytes) == 0;
}

CURLcode resultOf(CURLM *multi)
{
    int left = 0;
    const CURLMsg *message = curl_multi_info_read(multi, &left);
    return message ? message->data.result : CURLE_FAILED_INIT;
}

} // namespace

CurlTransfer::CurlTransfer(CURL *handle) : easy(handle)
{
    curl_easy_setopt(easy, CURLOPT_SOCKOPTFUNCTION, socketOpened);
    curl_easy_setopt(easy, CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, headerReceived);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, bodyReceived);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
}

CURLcode CurlTransfer::run(CURLM *multi)
{
    if (curl_multi_add_handle(multi, easy) != CURLM_OK) {
        return CURLE_FAILED_INIT;
    }
    CURLcode result = CURLE_OPERATION_TIMEDOUT;
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    Progress last;
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK || running == 0) {
            result = resultOf(multi);
            break;
        }
        const Progress now = progress();
        if (now != last) {
            last = now;
            sinceProgress.restart();
        }
        const qint64 remainingMs = limitOf(now) - sinceProgress.elapsed();
        if (remainingMs <= 0) {
            break;
        }
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(remainingMs), nullptr);
    }
    curl_multi_remove_handle(multi, easy);
    return result;
}

long CurlTransfer::httpStatus() const
{
    return countOf(CURLINFO_RESPONSE_CODE);
}

int CurlTransfer::socketOpened(void *context, curl_socket_t openedSocket, curlsocktype)
{
    static_cast<CurlTransfer *>(context)->socket = openedSocket;
    return CURL_SOCKOPT_OK;
}

size_t CurlTransfer::headerReceived(char *data, size_t unit, size_t units, void *context)
{
    auto *transfer = static_cast<CurlTransfer *>(context);
    const QByteArrayView line(data, static_cast<qsizetype>(unit * units));
    if (line.trimmed().isEmpty() && transfer->httpStatus() >= firstFinalStatus) {
        transfer->headersComplete = true;
    }
    return unit * units;
}

// noexcept: an allocation failure must not throw through a C library.
size_t CurlTransfer::bodyReceived(char *data, size_t unit, size_t units, void *context) noexcept
{
    static_cast<CurlTransfer *>(context)->received.append(data, static_cast<qsizetype>(unit * units));
    return unit * units;
}

long CurlTransfer::countOf(CURLINFO counter) const
{
    long value = 0;
    curl_easy_getinfo(easy, counter, &value);
    return value;
}

curl_off_t CurlTransfer::bigCountOf(CURLINFO counter) const
{
    curl_off_t value = 0;
    curl_easy_getinfo(easy, counter, &value);
    return value;
}

CurlTransfer::Progress CurlTransfer::progress() const
{
    // A redirect within one server reuses the socket: the first progress is the request being sent.
    const long requestBytes = countOf(CURLINFO_REQUEST_SIZE);
    Progress progress;
    progress.resolved = requestBytes > 0 || socket != CURL_SOCKET_BAD;
    progress.connected = requestBytes > 0 || (progress.resolved && hasPeer(socket));
    progress.amount = requestBytes + countOf(CURLINFO_HEADER_SIZE) + bigCountOf(CURLINFO_APPCONNECT_TIME_T) +
                      bigCountOf(CURLINFO_SIZE_UPLOAD_T) + bigCountOf(CURLINFO_SIZE_DOWNLOAD_T);
    return progress;
}

qint64 CurlTransfer::limitOf(const Progress &progress)
{
    if (!progress.resolved) {
        return httpsResolveLimitMs;
    }
    return progress.connected ? httpsInactivityLimitMs : httpsConnectLimitMs;
}
