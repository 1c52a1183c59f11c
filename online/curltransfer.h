// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>

#include <curl/curl.h>

/// One request and its response with libcurl, given up when it makes no progress: 5 s for the name, 5 s for the
/// connection, 8 s for each send or receive operation after that, as WinHTTP counts them.
class CurlTransfer
{
public:
    /// Takes over the callbacks of \a handle, which must be prepared otherwise and outlive this.
    explicit CurlTransfer(CURL *handle);
    CurlTransfer(const CurlTransfer &) = delete;
    CurlTransfer &operator=(const CurlTransfer &) = delete;
    ~CurlTransfer() = default;

    /// Runs to the end, or until the limit of the present step is over (CURLE_OPERATION_TIMEDOUT).
    CURLcode run(CURLM *multi);

    /// Whether a final response's headers have come whole; its body may still have broken off.
    [[nodiscard]] bool hasResponse() const { return headersComplete; }
    /// From the response's status line; 0 without a response.
    [[nodiscard]] long httpStatus() const;
    /// As much of the response's body as arrived.
    [[nodiscard]] const QByteArray &body() const { return received; }

private:
    /// How far the transfer is. Whatever grows is progress; the first two values have limits of their own.
    struct Progress
    {
        bool resolved = false;
        bool connected = false;
        curl_off_t amount = 0;

        bool operator==(const Progress &) const = default;
    };

    static int socketOpened(void *context, curl_socket_t openedSocket, curlsocktype purpose);
    static size_t headerReceived(char *data, size_t unit, size_t units, void *context);
    static size_t bodyReceived(char *data, size_t unit, size_t units, void *context) noexcept;

    [[nodiscard]] long countOf(CURLINFO counter) const;
    [[nodiscard]] curl_off_t bigCountOf(CURLINFO counter) const;
    [[nodiscard]] Progress progress() const;
    static qint64 limitOf(const Progress &progress);

    CURL *easy;
    curl_socket_t socket = CURL_SOCKET_BAD; ///< the last one opened: there is none before the name is resolved
    bool headersComplete = false;
    QByteArray received;
};
