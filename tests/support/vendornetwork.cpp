// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/vendornetwork.h"

#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>

using namespace Qt::StringLiterals;

VendorNetwork::VendorNetwork(const HttpsServers &servers, const QString &door) : authorityFile(servers.authorityFile())
{
    setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, servers.door(door)));
}

int VendorNetwork::openReplies() const
{
    return static_cast<int>(replies.size() - replies.count(nullptr));
}

QNetworkReply *VendorNetwork::createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body)
{
    madeRequests.append(request);
    QNetworkRequest ours(request);
    QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates(authorityFile.isEmpty() ? QList<QSslCertificate>()
                                                    : QSslCertificate::fromPath(authorityFile));
    ours.setSslConfiguration(trust);
    if (shorterTimeout) {
        ours.setTransferTimeout(*shorterTimeout);
    }
    QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, ours, body);
    replies.append(reply);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        finishedTimer.start();
        errorText = reply->errorString();
    });
    return reply;
}
