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

/// A network in which every host is the test's server: requests go through one of its proxy doors, and the test's
/// authority is trusted. Notes the requests that it is given and when their replies finish.
class VendorNetwork : public QNetworkAccessManager
{
    Q_OBJECT

public:
    explicit VendorNetwork(const HttpsServers &servers, const QString &door = QStringLiteral("proxy"));

    /// Gives the next requests this much time, in place of what they ask for.
    void shortenTimeout(std::chrono::milliseconds timeout) { shorterTimeout = timeout; }
    /// Trusts no certificate at all from now on.
    void trustNobody() { authorityFile.clear(); }
    /// The requests as the dock made them.
    [[nodiscard]] const QList<QNetworkRequest> &made() const { return madeRequests; }
    /// Replies that were not released yet.
    [[nodiscard]] int openReplies() const;
    /// Started when the last reply finished, before anyone else learnt of it; and what it said about its failure.
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
