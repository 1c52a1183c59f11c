// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

/// What a JSON request brings back.
struct HttpsJsonReply
{
    /// The object that the server sent, unchanged; after any failure exactly "ok" = false and a German "message".
    QJsonObject object;
    /// From the response's status line; 0 without a response.
    int httpStatus = 0;
};

/// Posts the JSON text \a body to the https address \a url and waits for the JSON object that comes back.
///
/// Blocks for as long as the exchange lasts, so it belongs on a worker thread; any number of threads may call it at
/// once. Failures come back as a reply. A status such as 404 or 500 is none: what counts is that an object with members
/// came.
HttpsJsonReply exchangeJson(const QString &url, const QByteArray &body);

// The steps of the exchange, the decisions apart from the network.

/// Where a request goes.
struct HttpsAddress
{
    QString host;       ///< encoded as in a URL; an IPv6 address without brackets
    int port = 443;     ///< 1 … 65535
    QString objectName; ///< encoded path, then "?" and the readable query when the address has one; may be empty

    bool operator==(const HttpsAddress &) const = default;
};

/// Reads \a url tolerantly. Nothing when it cannot be parsed or has another scheme than https.
std::optional<HttpsAddress> readHttpsAddress(const QString &url);

/// A response: its status and as much of its body as arrived.
struct HttpsAnswer
{
    int httpStatus = 0;
    QByteArray body;
};

/// The step at which an exchange ended without a response.
enum class HttpsStep {
    Open,     ///< the HTTP service itself did not start
    Connect,  ///< the server's name and port were refused; no packet was sent
    Request,  ///< the request could not be put together
    Transfer, ///< sending, or receiving up to the end of the response's headers
};

/// Why there is no response.
struct HttpsFailure
{
    HttpsStep step = HttpsStep::Transfer;
    quint32 code = 0; ///< the transport's own number: GetLastError() of WinHTTP, CURLcode of libcurl
};

/// Sends one POST and reads the response; the one function that each transport implements.
std::variant<HttpsAnswer, HttpsFailure> sendPost(const HttpsAddress &address, const QByteArray &body);

/// Takes the JSON object out of a response; a failure reply when there is none or it has no members.
HttpsJsonReply readAnswer(const HttpsAnswer &answer);

/// The failure reply for an exchange without a response.
HttpsJsonReply describeFailure(const HttpsFailure &failure);

/// Sent with every request; the service knows its clients by this name, whatever version they have.
inline constexpr char jsonUserAgent[] = "Tarvoline-OBS-Plugin/0.8.7";

/// The media type of both directions, for the headers Content-Type and Accept.
inline constexpr char jsonMediaType[] = "application/json";
