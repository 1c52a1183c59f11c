// SPDX-License-Identifier: GPL-2.0-or-later
#include "updaterequest.h"

#include "buildspec.h"

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Inactivity timeouts (QNetworkRequest::setTransferTimeout).
constexpr std::chrono::milliseconds manifestTimeout = 20s;
constexpr std::chrono::milliseconds installerTimeout = 120s;

QNetworkRequest updateRequest(const QUrl &address, std::chrono::milliseconds timeout)
{
    QNetworkRequest request(address);
    request.setHeader(QNetworkRequest::UserAgentHeader, u"Tarvoline-SRTLA/%1"_s.arg(QLatin1StringView(pluginVersion)));
    request.setTransferTimeout(timeout);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    return request;
}

} // namespace

QNetworkRequest manifestRequest()
{
    QNetworkRequest request =
        updateRequest(QUrl(QLatin1StringView(serviceBaseUrl) + "/update.json"_L1), manifestTimeout);
    request.setRawHeader("Accept", "application/json");
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setRawHeader("Cache-Control", "no-cache");
    return request;
}

QNetworkRequest installerRequest(const QUrl &address)
{
    return updateRequest(address, installerTimeout);
}
