// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>

#include <curl/curl.h>

/// One HTTP request and its response with libcurl. Time limits as with WinHTTP: 5 s to resolve the name, 5 s to
/// connect, 8 s for each send or receive operation after that.
class CurlTransfer
{
public:
    /// Sets the callbacks of \a handle. All other options must be set; the handle must outlive this object.
    explicit CurlTransfer(CURL *handle);
    CurlTransfer(const CurlTransfer &) = delete;
    CurlTransfer &operator=(const CurlTransfer &) = delete;
    ~CurlTransfer() = default;

    /// Runs the transfer; CURLE_OPERATION_TIMEDOUT when the limit of the current step was exceeded.
    CURLcode run(CURLM *multi);

    /// Whether all headers of a final response arrived; the body may still be incomplete.
    [[nodiscard]] bool hasResponse() const { return headersComplete; }
    /// From the response's status line; 0 without a response.
    [[nodiscard]] long httpStatus() const;
    /// The received part of the response's body.
    [[nodiscard]] const QByteArray &body() const { return received; }

private:
    /// State of the transfer. Any change is progress; name resolution and connection have limits of their own.
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
    curl_socket_t socket = CURL_SOCKET_BAD; ///< the latest one; none is open before the name is resolved
    bool headersComplete = false;
    QByteArray received;
};
