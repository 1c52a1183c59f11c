// SPDX-License-Identifier: GPL-2.0-or-later
// The exchange with Windows' HTTP service. All calls are synchronous.
#include "httpsjson.h"

#include <windows.h>

#include <winhttp.h>

#include <memory>
#include <string>

namespace {

struct HandleCloser
{
    void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};

using Handle = std::unique_ptr<void, HandleCloser>;

HttpsFailure lastError(HttpsStep step)
{
    return {step, GetLastError()};
}

std::wstring requestHeaders()
{
    const QString type = QString::fromLatin1(jsonMediaType);
    return QStringLiteral("Content-Type: %1\r\nAccept: %1\r\n").arg(type).toStdWString();
}

bool sendAndReceive(HINTERNET request, const std::wstring &headers, const QByteArray &body)
{
    constexpr DWORD untilTerminator = static_cast<DWORD>(-1);
    const DWORD bodyBytes = static_cast<DWORD>(body.size());
    // The parameter is a pointer to non-const, but the body is only read.
    void *const bodyData = const_cast<char *>(body.constData());
    return WinHttpSendRequest(request, headers.c_str(), untilTerminator, bodyData, bodyBytes, bodyBytes, 0) &&
           WinHttpReceiveResponse(request, nullptr);
}

int statusOf(HINTERNET request)
{
    DWORD status = 0;
    DWORD bytes = sizeof status;
    WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                        &status, &bytes, WINHTTP_NO_HEADER_INDEX);
    return static_cast<int>(status);
}

/// The received part of the body; an incomplete body is no error.
QByteArray bodyOf(HINTERNET request)
{
    QByteArray body;
    DWORD available = 0;
    while (WinHttpQueryDataAvailable(request, &available) && available > 0) {
        const qsizetype before = body.size();
        body.resize(before + static_cast<qsizetype>(available));
        DWORD read = 0;
        if (!WinHttpReadData(request, body.data() + before, available, &read)) {
            body.resize(before);
            break;
        }
        body.resize(before + static_cast<qsizetype>(read));
    }
    return body;
}

} // namespace

std::variant<HttpsResponse, HttpsFailure> sendPost(const HttpsAddress &address, const QByteArray &body)
{
    // All strings are created first, because GetLastError() must directly follow a failed call.
    const std::wstring userAgent = QString::fromLatin1(jsonUserAgent).toStdWString();
    const std::wstring host = address.host.toStdWString();
    const std::wstring objectName = address.objectName.toStdWString();
    const std::wstring headers = requestHeaders();

    const Handle session(WinHttpOpen(userAgent.c_str(), WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
                                     WINHTTP_NO_PROXY_BYPASS, 0));
    if (!session) {
        return lastError(HttpsStep::Open);
    }
    // The last two limits apply to each send and each receive operation.
    WinHttpSetTimeouts(session.get(), httpsResolveLimitMs, httpsConnectLimitMs, httpsInactivityLimitMs,
                       httpsInactivityLimitMs);

    const Handle connection(WinHttpConnect(session.get(), host.c_str(), static_cast<INTERNET_PORT>(address.port), 0));
    if (!connection) {
        return lastError(HttpsStep::Connect);
    }
    const Handle request(WinHttpOpenRequest(connection.get(), L"POST", objectName.c_str(), nullptr, WINHTTP_NO_REFERER,
                                            WINHTTP_DEFAULT_ACCEPT_TYPES, WINHTTP_FLAG_SECURE));
    if (!request) {
        return lastError(HttpsStep::Request);
    }
    if (!sendAndReceive(request.get(), headers, body)) {
        return lastError(HttpsStep::Transfer);
    }
    const int status = statusOf(request.get());
    return HttpsResponse{status, bodyOf(request.get())};
}
