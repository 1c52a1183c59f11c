// SPDX-License-Identifier: GPL-2.0-or-later
// The locale files, parsed by the real libobs.
#include <QDir>
#include <QFile>
#include <QTest>

#include <util/text-lookup.h>

using namespace Qt::StringLiterals;

class TestLocale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hasTwoFiles();
    void filesAreParsed_data();
    void filesAreParsed();
    void bothFilesHaveTheSameKeys();
    void nullLookupIsSafe();

private:
    static QString folder() { return QString::fromUtf8(LOCALE_FOLDER); }

    static QStringList keys(const QString &name);
};

void TestLocale::hasTwoFiles()
{
    QCOMPARE(QDir(folder()).entryList({u"*"_s}, QDir::Files, QDir::Name),
             (QStringList{u"de-DE.ini"_s, u"en-US.ini"_s}));
}

void TestLocale::filesAreParsed_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("description");
    QTest::newRow("German") << u"de-DE.ini"_s
                            << u"Empfängt gebündelte mobile Live-Streams (SRTLA) und gibt sie an eine "
                               "OBS-Medienquelle weiter"_s;
    QTest::newRow("English") << u"en-US.ini"_s
                             << u"Receives bonded mobile live streams (SRTLA) and hands them to an OBS media "
                                "source"_s;
}

void TestLocale::filesAreParsed()
{
    QFETCH(QString, file);
    QFETCH(QString, description);
    lookup_t *lookup = text_lookup_create(QFile::encodeName(folder() + u'/' + file).constData());
    QVERIFY(lookup);
    const char *text = nullptr;
    QVERIFY(text_lookup_getstr(lookup, "PluginName", &text));
    QCOMPARE(QString::fromUtf8(text), u"Tarvoline SRTLA"_s);
    QVERIFY(text_lookup_getstr(lookup, "Description", &text));
    QCOMPARE(QString::fromUtf8(text), description);
    text_lookup_destroy(lookup);
}

void TestLocale::bothFilesHaveTheSameKeys()
{
    QVERIFY(!keys(u"de-DE.ini"_s).isEmpty());
    QCOMPARE(keys(u"en-US.ini"_s), keys(u"de-DE.ini"_s));
}

void TestLocale::nullLookupIsSafe()
{
    const char *text = nullptr;
    QVERIFY(!text_lookup_getstr(nullptr, "PluginName", &text));
    text_lookup_destroy(nullptr);
}

QStringList TestLocale::keys(const QString &name)
{
    QFile file(folder() + u'/' + name);
    QStringList found;
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.contains('=')) {
                found << QString::fromUtf8(line.left(line.indexOf('=')));
            }
        }
    }
    return found;
}

QTEST_GUILESS_MAIN(TestLocale)
#include "tst_locale.moc"
