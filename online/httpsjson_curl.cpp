// SPDX-License-Identifier: GPL-2.0-or-later
// The exchange with libcurl, for systems without WinHTTP. It does by hand what WinHTTP does unasked, so that both
// behave alike: time-outs for each step, redirects, escaping of the object name, cookies within one exchange.
//
// Where they cannot be alike: the numbers in the failure texts are libcurl's own; of all the steps of a TLS handshake
// together the time-out is that of one receive operation, because libcurl shows nothing of what happens in between; a
// proxy is taken from the environment (https_proxy, no_proxy), which is libcurl's idea of the system's settings; nobody
// is logged on by the system's account when a server asks for it.
#include "httpsjson.h"

#include <QElapsedTimer>
#include <QUrl>

#include <curl/curl.h>
#include <sys/socket.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 resolveLimitMs = 5000;
constexpr qint64 connectLimitMs = 5000;
constexpr qint64 stallLimitMs = 8000; // of each send or receive operation, not of the whole exchange

// WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS has this default.
constexpr int maximumRedirects = 10;

constexpr int firstFinalStatus = 200; // below it are the interim responses, such as 100 Continue

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

/** What libcurl reports of one request and its response while they are on their way. */
struct Transfer
{
    CURL *easy = nullptr;
    curl_socket_t socket = CURL_SOCKET_BAD; ///< the last one opened: there is none before the name is resolved
    bool headersComplete = false;
    QByteArray body;
};

int socketOpened(void *context, curl_socket_t socket, curlsocktype)
{
    static_cast<Transfer *>(context)->socket = socket;
    return CURL_SOCKOPT_OK;
}

long countOf(CURL *easy, CURLINFO counter)
{
    long value = 0;
    curl_easy_getinfo(easy, counter, &value);
    return value;
}

curl_off_t bigCountOf(CURL *easy, CURLINFO counter)
{
    curl_off_t value = 0;
    curl_easy_getinfo(easy, counter, &value);
    return value;
}

long statusOf(CURL *easy)
{
    return countOf(easy, CURLINFO_RESPONSE_CODE);
}

size_t headerReceived(char *data, size_t unit, size_t units, void *context)
{
    auto *transfer = static_cast<Transfer *>(context);
    const QByteArrayView line(data, static_cast<qsizetype>(unit * units));
    if (line.trimmed().isEmpty() && statusOf(transfer->easy) >= firstFinalStatus) {
        transfer->headersComplete = true;
    }
    return unit * units;
}

// noexcept: a body that memory cannot hold ends the program here rather than throw through a C library.
size_t bodyReceived(char *data, size_t unit, size_t units, void *context) noexcept
{
    static_cast<Transfer *>(context)->body.append(data, static_cast<qsizetype>(unit * units));
    return unit * units;
}

bool hasPeer(curl_socket_t socket)
{
    sockaddr_storage peer{};
    socklen_t bytes = sizeof peer;
    return getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &bytes) == 0;
}

/** How far a transfer is. Whatever grows is progress; the first two values have limits of their own. */
struct Progress
{
    bool resolved = false;
    bool connected = false;
    curl_off_t amount = 0;

    bool operator==(const Progress &) const = default;
};

Progress progressOf(const Transfer &transfer)
{
    CURL *const easy = transfer.easy;
    // A redirect within one server opens no new socket: its first sign of life is the request on its way.
    const long requestBytes = countOf(easy, CURLINFO_REQUEST_SIZE);
    Progress progress;
    progress.resolved = requestBytes > 0 || transfer.socket != CURL_SOCKET_BAD;
    progress.connected = requestBytes > 0 || (progress.resolved && hasPeer(transfer.socket));
    progress.amount = requestBytes + countOf(easy, CURLINFO_HEADER_SIZE) +
                      bigCountOf(easy, CURLINFO_APPCONNECT_TIME_T) + bigCountOf(easy, CURLINFO_SIZE_UPLOAD_T) +
                      bigCountOf(easy, CURLINFO_SIZE_DOWNLOAD_T);
    return progress;
}

qint64 limitOf(const Progress &progress)
{
    if (!progress.resolved) {
        return resolveLimitMs;
    }
    return progress.connected ? stallLimitMs : connectLimitMs;
}

CURLcode resultOf(CURLM *multi)
{
    int left = 0;
    const CURLMsg *message = curl_multi_info_read(multi, &left);
    return message ? message->data.result : CURLE_FAILED_INIT;
}

/**
 * The system's resolver cannot be interrupted. A name that takes too long is given up, and the thread that asks for it
 * ends by itself some time later: waiting for it would be waiting for the name.
 */
Multi makeMulti()
{
    Multi multi(curl_multi_init());
#if LIBCURL_VERSION_NUM >= 0x081600
    // In older versions the thread belongs to the single transfer (CURLOPT_QUICK_EXIT).
    if (multi) {
        curl_multi_setopt(multi.get(), CURLMOPT_QUICK_EXIT, 1L);
    }
#endif
    return multi;
}

/** Runs the transfer to its end, or until it makes no progress within the limit of the step it is at. */
CURLcode run(CURLM *multi, const Transfer &transfer)
{
    if (curl_multi_add_handle(multi, transfer.easy) != CURLM_OK) {
        return CURLE_FAILED_INIT;
    }
    CURLcode result = CURLE_OPERATION_TIMEDOUT;
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    Progress last;
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK || running == 0) {
            result = resultOf(multi);
            break;
        }
        const Progress now = progressOf(transfer);
        if (now != last) {
            last = now;
            sinceProgress.restart();
        }
        const qint64 remainingMs = limitOf(now) - sinceProgress.elapsed();
        if (remainingMs <= 0) {
            break;
        }
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(remainingMs), nullptr);
    }
    curl_multi_remove_handle(multi, transfer.easy);
    return result;
}

/** The request line's target. WinHTTP escapes what must not stand there and leaves percent signs alone. */
QByteArray escapedObjectName(const QString &objectName)
{
    constexpr QByteArrayView unsafe = "\"#<>[\\]^`{|}";
    constexpr char firstPrintable = 0x21; // the blank is not safe either
    constexpr char deleteCharacter = 0x7f;
    QByteArray escaped;
    const QByteArray bytes = objectName.toUtf8();
    for (const char byte : bytes) {
        const bool nonAscii = (static_cast<unsigned char>(byte) & 0x80U) != 0;
        if (nonAscii || byte < firstPrintable || byte == deleteCharacter || unsafe.contains(byte)) {
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
    // The empty one keeps libcurl from asking for leave ("Expect: 100-continue") before it sends a long body.
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

/** True for the redirects that are repeated as GET, without a body; the others repeat the request as it was. */
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

/** Everything that stays the same over the redirects of one exchange. @p body must outlive @p easy. */
CURLcode prepare(CURL *easy, const curl_slist *headers, const QByteArray &url, const QByteArray &body)
{
    CURLcode worst = CURLE_OK;
    const auto set = [&](CURLoption option, auto value) {
        const CURLcode result = curl_easy_setopt(easy, option, value);
        worst = worst == CURLE_OK ? result : worst;
    };
    set(CURLOPT_NOSIGNAL, 1L);   // signals and threads do not mix
    set(CURLOPT_QUICK_EXIT, 1L); // see makeMulti()
    set(CURLOPT_PROTOCOLS_STR, "https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's own headers are not the response
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_COOKIEFILE, ""); // kept for the redirects of this exchange, never on disk
    set(CURLOPT_USERAGENT, jsonUserAgent);
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_URL, url.constData());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    set(CURLOPT_POSTFIELDS, body.constData());
    return worst;
}

/** Points the callbacks at a new transfer; redirects get one each. */
void observe(Transfer *transfer)
{
    curl_easy_setopt(transfer->easy, CURLOPT_SOCKOPTFUNCTION, socketOpened);
    curl_easy_setopt(transfer->easy, CURLOPT_SOCKOPTDATA, transfer);
    curl_easy_setopt(transfer->easy, CURLOPT_HEADERFUNCTION, headerReceived);
    curl_easy_setopt(transfer->easy, CURLOPT_HEADERDATA, transfer);
    curl_easy_setopt(transfer->easy, CURLOPT_WRITEFUNCTION, bodyReceived);
    curl_easy_setopt(transfer->easy, CURLOPT_WRITEDATA, transfer);
}

/**
 * Sends the prepared request and goes wherever redirects lead, as WinHTTP does by default
 * (WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP): the same statuses, POST becoming GET for the older three of
 * them, and a failure of the whole exchange when a redirect leaves https or one too many comes.
 */
std::variant<HttpsAnswer, HttpsFailure> follow(CURLM *multi, CURL *easy)
{
    for (int redirects = 0;; ++redirects) {
        Transfer transfer;
        transfer.easy = easy;
        observe(&transfer);
        const CURLcode result = run(multi, transfer);
        if (!transfer.headersComplete) {
            return HttpsFailure{HttpsStep::Transfer, static_cast<quint32>(result)};
        }
        const long status = statusOf(easy);
        const char *target = nullptr;
        curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &target);
        if (!target || !isRedirect(status)) {
            return HttpsAnswer{static_cast<int>(status), transfer.body};
        }
        if (redirects == maximumRedirects) {
            return HttpsFailure{HttpsStep::Transfer, CURLE_TOO_MANY_REDIRECTS};
        }
        const QByteArray next(target); // the option frees what the information points to
        curl_easy_setopt(easy, CURLOPT_URL, next.constData());
        if (changesToGet(status)) {
            curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        }
    }
}

} // namespace

std::variant<HttpsAnswer, HttpsFailure> sendPost(const HttpsAddress &address, const QByteArray &body)
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
