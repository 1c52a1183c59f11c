// SPDX-License-Identifier: GPL-2.0-or-later
#include "vendorclient.h"

#include "buildspec.h"
#include "httpsjson.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QMetaObject>
#include <QRunnable>
#include <QThreadPool>

namespace {

/// One request; owned by the task that runs it.
struct JsonPostJob
{
    QPointer<QObject> receiver;
    QString url;
    QByteArray body;
    JsonReplyCallback callback;
};

/// Result of the task for the main thread.
struct JsonPostResult
{
    QPointer<QObject> receiver;
    QJsonObject reply;
    int httpStatus = 0;
    JsonReplyCallback callback;
};

/// Last step on the worker: queues the callback to the main thread if the receiver still exists.
void deliver(const JsonPostJob &job, const HttpsJsonReply &reply)
{
    // Queued to the application object, which is in the receiver's thread and waits for this pool in its destructor.
    // The receiver could be destroyed between the test of the guarded pointer and the posting.
    QCoreApplication *const application = QCoreApplication::instance();
    if (!job.receiver || !application) {
        return;
    }
    const JsonPostResult result{job.receiver, reply.object, reply.httpStatus, job.callback};
    QMetaObject::invokeMethod(
        application,
        [result] {
            if (result.receiver) {
                result.callback(result.reply, result.httpStatus);
            }
        },
        Qt::QueuedConnection);
}

} // namespace

void postToVendor(const QPointer<QObject> &receiver, const QString &path, const QJsonObject &request,
                  JsonReplyCallback callback)
{
    JsonPostJob job;
    job.receiver = receiver;
    job.url = QString::fromUtf8(serviceBaseUrl) + path;
    job.body = QJsonDocument(request).toJson(QJsonDocument::Compact);
    job.callback = std::move(callback);

    constexpr int priority = 0;
    QThreadPool::globalInstance()->start(
        QRunnable::create([job = std::move(job)] { deliver(job, exchangeJson(job.url, job.body)); }), priority);
}
