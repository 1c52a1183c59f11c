// SPDX-License-Identifier: GPL-2.0-or-later
// The service's answer: the first two bytes are its status, the rest its body.
#include "check.h"
#include "httpsjson.h"

#include <QJsonDocument>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t statusBytes = 2;
    if (size < statusBytes) {
        return 0;
    }
    const int status = data[0] * 256 + data[1];
    const QByteArray body(reinterpret_cast<const char *>(data + statusBytes),
                          static_cast<qsizetype>(size - statusBytes));
    const HttpsJsonReply reply = readAnswer({status, body});
    require(reply.httpStatus == status, "the status");

    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isObject() && !document.object().isEmpty()) {
        require(reply.object == document.object(), "the object was changed");
        return 0;
    }
    const QJsonObject failure{
        {QStringLiteral("ok"), false},
        {QStringLiteral("message"),
         QStringLiteral("Der Server lieferte keine gültige JSON-Antwort. HTTP ") + QString::number(status)}};
    require(reply.object == failure, "the failure's text");
    return 0;
}
