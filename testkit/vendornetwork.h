// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "testkit/httpsservers.h"

#include <QElapsedTimer>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>

#include <chrono>
#include <optional>

class QNetworkReply;

/// A network manager that sends all requests through a proxy endpoint of the test server and trusts the test authority.
/// Records requests and the end of their replies.
class VendorNetwork : public QNetworkAccessManager
{
    Q_OBJECT

public:
    explicit VendorNetwork(const HttpsServers &servers, const QString &endpoint = QStringLiteral("proxy"));

    /// Overrides the transfer timeout of the next requests.
    void shortenTimeout(std::chrono::milliseconds timeout) { shorterTimeout = timeout; }
    /// Trusts no certificate from now on.
    void trustNone() { authorityFile.clear(); }
    /// The requests of the dock.
    [[nodiscard]] const QList<QNetworkRequest> &made() const { return madeRequests; }
    /// Replies that are not deleted yet.
    [[nodiscard]] int openReplies() const;
    /// Started when the last reply finished, before other slots run; and its error text.
    [[nodiscard]] const QElapsedTimer &sinceFinished() const { return finishedTimer; }
    [[nodiscard]] const QString &lastErrorText() const { return errorText; }

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body) override;

private:
    QString authorityFile;
    std::optional<std::chrono::milliseconds> shorterTimeout;
    QList<QNetworkRequest> madeRequests;
    QList<QPointer<QNetworkReply>> replies;
    QElapsedTimer finishedTimer;
    QString errorText;
};
