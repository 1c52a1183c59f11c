// SPDX-License-Identifier: GPL-2.0-or-later
// The exchange with libcurl, for systems without WinHTTP. It implements what WinHTTP does by default: time-outs for
// each step, redirects, escaping of the object name, cookies within one exchange.
//
// Differences: the numbers in the failure texts are libcurl's; the whole TLS handshake has the time-out of one receive
// operation, because libcurl reports no progress within it; the proxy is taken from the environment (https_proxy,
// no_proxy); there is no authentication with the system's account.
#include "curltransfer.h"
#include "httpsjson.h"

#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS has this default.
constexpr int maximumRedirects = 10;

struct CurlDeleter
{
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};

struct CurlMultiDeleter
{
    void operator()(CURLM *handle) const { curl_multi_cleanup(handle); }
};

using Easy = std::unique_ptr<CURL, CurlDeleter>;
using Multi = std::unique_ptr<CURLM, CurlMultiDeleter>;
using Headers = std::unique_ptr<curl_slist, CurlDeleter>;

/// The system's resolver cannot be interrupted. With QUICK_EXIT a resolver thread that exceeds the time limit is not
/// joined; it ends when the resolver returns.
Multi makeMulti()
{
    Multi multi(curl_multi_init());
#if LIBCURL_VERSION_NUM >= 0x081600
    // In older versions the option exists for a single transfer only (CURLOPT_QUICK_EXIT).
    if (multi) {
        curl_multi_setopt(multi.get(), CURLMOPT_QUICK_EXIT, 1L);
    }
#endif
    return multi;
}

/// The request target. As with WinHTTP, characters that are not allowed are escaped and percent signs are not.
QByteArray escapedObjectName(const QString &objectName)
{
    constexpr QByteArrayView unsafe = "\"#<>[\\]^`{|}";
    constexpr char firstUnescaped = 0x21; // control characters and the space are escaped
    constexpr char deleteCharacter = 0x7f;
    QByteArray escaped;
    const QByteArray bytes = objectName.toUtf8();
    for (const char byte : bytes) {
        const bool nonAscii = (static_cast<unsigned char>(byte) & 0x80U) != 0;
        if (nonAscii || byte < firstUnescaped || byte == deleteCharacter || unsafe.contains(byte)) {
            escaped += '%' + QByteArray(&byte, 1).toHex().toUpper();
        } else {
            escaped += byte;
        }
    }
    return escaped;
}

QByteArray urlOf(const HttpsAddress &address)
{
    const bool isIpv6 = address.host.contains(u':');
    const QString host = isIpv6 ? u'[' + address.host + u']' : address.host;
    return u"https://%1:%2"_s.arg(host).arg(address.port).toUtf8() + escapedObjectName(address.objectName);
}

Headers requestHeaders()
{
    // The empty header disables libcurl's "Expect: 100-continue" for long bodies.
    const QByteArray type(jsonMediaType);
    Headers headers;
    for (const QByteArray &line : {"Content-Type: " + type, "Accept: " + type, QByteArray("Expect:")}) {
        curl_slist *longer = curl_slist_append(headers.get(), line.constData());
        if (!longer) {
            return nullptr;
        }
        static_cast<void>(headers.release());
        headers.reset(longer);
    }
    return headers;
}

/// Whether a redirect is followed with GET and no body; the others repeat the request unchanged.
bool changesToGet(long status)
{
    constexpr long movedPermanently = 301;
    constexpr long found = 302;
    constexpr long seeOther = 303;
    return status == movedPermanently || status == found || status == seeOther;
}

bool isRedirect(long status)
{
    constexpr long temporaryRedirect = 307;
    constexpr long permanentRedirect = 308;
    return changesToGet(status) || status == temporaryRedirect || status == permanentRedirect;
}

/// Sets the options that redirects do not change. \a body must outlive \a easy.
CURLcode prepare(CURL *easy, const curl_slist *headers, const QByteArray &url, const QByteArray &body)
{
    CURLcode firstError = CURLE_OK;
    const auto set = [&](CURLoption option, auto value) {
        const CURLcode result = curl_easy_setopt(easy, option, value);
        firstError = firstError == CURLE_OK ? result : firstError;
    };
    set(CURLOPT_NOSIGNAL, 1L);   // signals are not usable in a multi-threaded program
    set(CURLOPT_QUICK_EXIT, 1L); // see makeMulti()
    set(CURLOPT_PROTOCOLS_STR, "https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // headers of a proxy are not part of the response
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_COOKIEFILE, ""); // cookies in memory, for the redirects of this exchange
    set(CURLOPT_USERAGENT, jsonUserAgent);
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_URL, url.constData());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    set(CURLOPT_POSTFIELDS, body.constData());
    return firstError;
}

/// Sends the prepared request and follows redirects as WinHTTP does by default
/// (WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP): 301, 302 and 303 change POST to GET, 307 and 308 do not; a
/// redirect to another scheme than https and too many redirects are failures.
std::variant<HttpsResponse, HttpsFailure> follow(CURLM *multi, CURL *easy)
{
    for (int redirects = 0;; ++redirects) {
        CurlTransfer transfer(easy);
        const CURLcode result = transfer.run(multi);
        if (!transfer.hasResponse()) {
            return HttpsFailure{HttpsStep::Transfer, static_cast<quint32>(result)};
        }
        const long status = transfer.httpStatus();
        const char *target = nullptr;
        curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &target);
        if (!target || !isRedirect(status)) {
            return HttpsResponse{static_cast<int>(status), transfer.body()};
        }
        if (redirects == maximumRedirects) {
            return HttpsFailure{HttpsStep::Transfer, CURLE_TOO_MANY_REDIRECTS};
        }
        const QByteArray next(target); // a copy: setting the option frees the string
        curl_easy_setopt(easy, CURLOPT_URL, next.constData());
        if (changesToGet(status)) {
            curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        }
    }
}

} // namespace

std::variant<HttpsResponse, HttpsFailure> sendPost(const HttpsAddress &address, const QByteArray &body)
{
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (started != CURLE_OK) {
        return HttpsFailure{HttpsStep::Open, static_cast<quint32>(started)};
    }
    const Headers headers = requestHeaders();
    const Multi multi = makeMulti();
    const Easy easy(curl_easy_init());
    if (!headers || !multi || !easy) {
        return HttpsFailure{HttpsStep::Open, CURLE_OUT_OF_MEMORY};
    }
    if (address.host.isEmpty()) {
        return HttpsFailure{HttpsStep::Connect, CURLE_URL_MALFORMAT};
    }
    const CURLcode prepared = prepare(easy.get(), headers.get(), urlOf(address), body);
    if (prepared != CURLE_OK) {
        return HttpsFailure{HttpsStep::Request, static_cast<quint32>(prepared)};
    }
    return follow(multi.get(), easy.get());
}
