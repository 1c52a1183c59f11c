// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

// Time limits of an exchange.
inline constexpr int httpsResolveLimitMs = 5000;
inline constexpr int httpsConnectLimitMs = 5000;
inline constexpr int httpsInactivityLimitMs = 8000; ///< without progress in sending or receiving

/// Result of a JSON request.
struct HttpsJsonReply
{
    /// The server's object, unchanged; after a failure exactly "ok" = false and a German "message".
    QJsonObject object;
    /// From the response's status line; 0 without a response.
    int httpStatus = 0;
};

/// Posts the JSON text \a body to the https address \a url and returns the JSON object of the response.
///
/// Blocks until the exchange has ended, so call it on a worker thread; it is thread-safe. Failures are returned as a
/// reply. A status such as 404 or 500 is no failure if the body is an object with members.
HttpsJsonReply exchangeJson(const QString &url, const QByteArray &body);

// The steps of the exchange. All but sendPost() are pure functions.

/// Destination of a request.
struct HttpsAddress
{
    QString host;       ///< encoded as in a URL; an IPv6 address without brackets
    int port = 443;     ///< 1 … 65535
    QString objectName; ///< encoded path, then "?" and the readable query when the address has one; may be empty

    bool operator==(const HttpsAddress &) const = default;
};

/// Parses \a url in QUrl's tolerant mode. Empty when it is invalid or its scheme is not https.
std::optional<HttpsAddress> parseHttpsAddress(const QString &url);

/// Status and received part of the body of a response.
struct HttpsResponse
{
    int httpStatus = 0;
    QByteArray body;
};

/// The step at which an exchange ended without a response.
enum class HttpsStep {
    Open,     ///< the HTTP service itself did not start
    Connect,  ///< the server's name and port were rejected; no packet was sent
    Request,  ///< the request could not be created
    Transfer, ///< sending, or receiving up to the end of the response's headers
};

/// Reason for a missing response.
struct HttpsFailure
{
    HttpsStep step = HttpsStep::Transfer;
    quint32 code = 0; ///< GetLastError() with WinHTTP, CURLcode with libcurl
};

/// Sends one POST and reads the response; implemented once per transport.
std::variant<HttpsResponse, HttpsFailure> sendPost(const HttpsAddress &address, const QByteArray &body);

/// Parses the JSON object of a response; a failure reply when there is none or it has no members.
HttpsJsonReply parseResponse(const HttpsResponse &response);

/// The failure reply for an exchange without a response.
HttpsJsonReply describeFailure(const HttpsFailure &failure);

/// Sent with every request. The service identifies its clients by this fixed name, which is not the version.
inline constexpr char jsonUserAgent[] = "Tarvoline-OBS-Plugin/0.8.7";

/// Media type for the headers Content-Type and Accept.
inline constexpr char jsonMediaType[] = "application/json";
