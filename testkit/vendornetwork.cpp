// SPDX-License-Identifier: GPL-2.0-or-later
#include "testkit/vendornetwork.h"

#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslError>

#include <algorithm>

using namespace Qt::StringLiterals;

#ifdef Q_OS_WIN
namespace {

// Wine searches a certificate's issuer in the system's store only, not in the authorities set by Qt. The error is
// ignored for certificates issued by the test authority; on Windows it does not occur.
bool isWineIssuerError(const QList<QSslError> &errors, const QString &authorityFile)
{
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(authorityFile);
    return authorities.size() == 1 && std::all_of(errors.begin(), errors.end(), [&authorities](const QSslError &error) {
               return error.error() == QSslError::UnableToGetIssuerCertificate &&
                      error.certificate().issuerInfo(QSslCertificate::CommonName) ==
                          authorities.first().subjectInfo(QSslCertificate::CommonName);
           });
}

} // namespace
#endif

VendorNetwork::VendorNetwork(const HttpsServers &servers, const QString &endpoint)
    : authorityFile(servers.authorityFile())
{
    setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, servers.endpoint(endpoint)));
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
#ifdef Q_OS_WIN
    connect(reply, &QNetworkReply::sslErrors, this, [this, reply](const QList<QSslError> &errors) {
        if (isWineIssuerError(errors, authorityFile)) {
            reply->ignoreSslErrors(errors);
        }
    });
#endif
    replies.append(reply);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        finishedTimer.start();
        errorText = reply->errorString();
    });
    return reply;
}
