#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"

#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QXmlStreamReader>

// The checks run twice: here against the core library alone, and from tests/app with the
// application library linked, where the compiled application catalog is present as well.
namespace {

struct CatalogInfo
{
    const char *name;
    const char *sourceBase;     // below the source tree; "_<lang>.ts" follows
    const char *resourcePrefix; // "_<lang>.qm" follows
};

const CatalogInfo kCatalogs[] = {
    {"core", "resources/VoxariaCoreBundle/core", ":/VoxariaCoreBundle/translations/core"},
    {"app", "resources/app/app", ":/app/translations/app"},
};

const char *const kLanguages[] = {"en", "de"};

// Formats whose callers fill placeholders although their keys do not show it.
const QMap<QString, int> kFormatKeys = {{QStringLiteral("sendFax"), 1},
                                        {QStringLiteral("fax_to"), 1},
                                        {QStringLiteral("pdfservice_admin_required"), 1},
                                        {QStringLiteral("pdfservice_failed"), 1},
                                        {QStringLiteral("thumbnail_page"), 2},
                                        {QStringLiteral("error_invalid_receiver"), 1},
                                        {QStringLiteral("report_state_failed"), 1},
                                        {QStringLiteral("report_state_failed_code"), 1},
                                        {QStringLiteral("report_no_match"), 1},
                                        {QStringLiteral("report_missing"), 1},
                                        {QStringLiteral("report_unreadable"), 1},
                                        {QStringLiteral("threshold_level"), 2}};

const QString kMissingLog = QStringLiteral("Missing localized text for key");

struct Catalog
{
    QMap<QString, QString> texts; // key -> translation
    QStringList problems;
};

// What lrelease would drop or get wrong is reported as a problem rather than skipped.
Catalog readCatalog(const QString &sourceBase, const QString &language)
{
    Catalog catalog;
    const QString path =
        TestEnvironment::sourceDir() + u'/' + sourceBase + u'_' + language + QLatin1String(".ts");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        catalog.problems << QStringLiteral("cannot open %1").arg(path);
        return catalog;
    }
    QXmlStreamReader xml(&file);
    QString key;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("message")) {
            key = xml.attributes().value(QLatin1String("id")).toString();
            if (key.isEmpty())
                catalog.problems
                    << QStringLiteral("line %1: message without id").arg(xml.lineNumber());
            else if (catalog.texts.contains(key))
                catalog.problems << QStringLiteral("%1: listed twice").arg(key);
        } else if (xml.name() == QLatin1String("translation")) {
            const QString type = xml.attributes().value(QLatin1String("type")).toString();
            if (!type.isEmpty())
                catalog.problems << QStringLiteral("%1: translation is %2").arg(key, type);
            const QString text = xml.readElementText();
            if (!key.isEmpty() && text.trimmed().isEmpty())
                catalog.problems << QStringLiteral("%1: empty translation").arg(key);
            if (!key.isEmpty())
                catalog.texts.insert(key, text);
        }
    }
    if (xml.hasError())
        catalog.problems << QStringLiteral("%1: %2").arg(path, xml.errorString());
    return catalog;
}

Catalog readCatalog(const CatalogInfo &info, const char *language)
{
    return readCatalog(QString::fromLatin1(info.sourceBase), QString::fromLatin1(language));
}

// The Qt placeholders (%1 … %99, also the localised %L1 form) a text carries.
QSet<QString> placeholders(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("%L?([1-9][0-9]?)"));
    QSet<QString> found;
    for (const QRegularExpressionMatch &m : pattern.globalMatch(text))
        found.insert(m.captured(1));
    return found;
}

// printf-style and Cocoa conversions that QString::arg() would never fill.
bool hasForeignFormat(const QString &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("%(@|[-+ #0]*[0-9]*(\\.[0-9]+)?(hh|h|ll|l|z)?[diouxXeEfgGcsp])"));
    return pattern.match(text).hasMatch();
}

bool compiledCatalogPresent(const CatalogInfo &info)
{
    return QFile::exists(QString::fromLatin1(info.resourcePrefix) + QLatin1String("_en.qm"));
}

QLocale localeFor(const char *language)
{
    return qstrcmp(language, "de") == 0 ? QLocale(QLocale::German, QLocale::Germany)
                                        : QLocale(QLocale::English, QLocale::UnitedStates);
}

} // namespace

class TestStringCatalogs : public QObject
{
    Q_OBJECT

private:
    QLocale m_startLocale;

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }
    void cleanup() { QLocale::setDefault(m_startLocale); }

    void sourcesAreComplete_data()
    {
        QTest::addColumn<QString>("sourceBase");
        QTest::addColumn<QString>("language");
        for (const CatalogInfo &info : kCatalogs) {
            for (const char *language : kLanguages)
                QTest::addRow("%s_%s", info.name, language)
                    << QString::fromLatin1(info.sourceBase) << QString::fromLatin1(language);
        }
    }
    void sourcesAreComplete()
    {
        QFETCH(QString, sourceBase);
        QFETCH(QString, language);
        Catalog catalog = readCatalog(sourceBase, language);
        QVERIFY(!catalog.texts.isEmpty());
        for (auto it = catalog.texts.cbegin(); it != catalog.texts.cend(); ++it) {
            if (it.value().trimmed().isEmpty())
                catalog.problems << QStringLiteral("%1: empty").arg(it.key());
            if (hasForeignFormat(it.value()))
                catalog.problems
                    << QStringLiteral("%1: %2 is no Qt placeholder").arg(it.key(), it.value());
        }
        QVERIFY2(catalog.problems.isEmpty(), qPrintable(catalog.problems.join(u'\n')));
    }

    void languagesAgree_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < int(std::size(kCatalogs)); ++i)
            QTest::newRow(kCatalogs[i].name) << i;
    }
    void languagesAgree()
    {
        QFETCH(int, index);
        const Catalog english = readCatalog(kCatalogs[index], "en");
        const Catalog german = readCatalog(kCatalogs[index], "de");
        QStringList problems;
        for (auto it = english.texts.cbegin(); it != english.texts.cend(); ++it) {
            if (!german.texts.contains(it.key())) {
                problems << QStringLiteral("%1: no German text").arg(it.key());
                continue;
            }
            const QSet<QString> inEnglish = placeholders(it.value());
            if (inEnglish != placeholders(german.texts.value(it.key())))
                problems << QStringLiteral("%1: placeholders differ").arg(it.key());
            // A key written as a format ("… (%@).") is filled by its caller.
            const int expected =
                kFormatKeys.value(it.key(), int(it.key().count(QLatin1String("%@"))));
            if (inEnglish.size() != expected)
                problems << QStringLiteral("%1: %2 placeholders, %3 expected")
                                .arg(it.key())
                                .arg(inEnglish.size())
                                .arg(expected);
        }
        for (auto it = german.texts.cbegin(); it != german.texts.cend(); ++it) {
            if (!english.texts.contains(it.key()))
                problems << QStringLiteral("%1: no English text").arg(it.key());
        }
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
    }

    // Both catalogs are installed side by side, so a key in both would depend on the order.
    void everyKeyHasOneCatalog()
    {
        const QStringList core = readCatalog(kCatalogs[0], "en").texts.keys();
        const QStringList app = readCatalog(kCatalogs[1], "en").texts.keys();
        QSet<QString> shared(core.cbegin(), core.cend());
        shared.intersect(QSet<QString>(app.cbegin(), app.cend()));
        QVERIFY2(
            shared.isEmpty(),
            qPrintable(QStringList(shared.cbegin(), shared.cend()).join(QStringLiteral(", "))));
    }

    // The status help looks its texts up under "0x%x" of a status code, upper-cased, and
    // under the same key with "_detail".
    void statusHelpKeysArePaired()
    {
        const Catalog app = readCatalog(kCatalogs[1], "en");
        static const QRegularExpression statusKey(QStringLiteral("^0X([0-9A-F]+)(_detail)?$"));
        QStringList problems;
        int titles = 0;
        for (const QString &key : app.texts.keys()) {
            const QRegularExpressionMatch m = statusKey.match(key);
            if (!m.hasMatch()) {
                if (key.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
                    problems << QStringLiteral("%1: not an upper-cased \"0x%x\" key").arg(key);
                continue;
            }
            // Negative codes come out as their 32-bit two's complement, as "%x" writes them.
            const auto code = int(m.captured(1).toUInt(nullptr, 16));
            const QString title = QString::asprintf("0x%x", unsigned(code)).toUpper();
            if (key.chopped(m.captured(2).size()) != title)
                problems
                    << QStringLiteral("%1: the code %2 gives %3").arg(key).arg(code).arg(title);
            const QString partner =
                m.captured(2).isEmpty() ? title + QLatin1String("_detail") : title;
            if (!app.texts.contains(partner))
                problems << QStringLiteral("%1: %2 is missing").arg(key, partner);
            titles += m.captured(2).isEmpty() ? 1 : 0;
        }
        QVERIFY(titles > 0);
        QVERIFY(app.texts.contains(QStringLiteral("0X1F4")));
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
    }

    // Every literal key the program looks up has a text; a key that the core library looks
    // up lives in the core catalog, which is all a program without windows installs.
    void keysUsedInTheSourcesExist()
    {
        QSet<QString> coreKeys, appKeys;
        for (const QString &key : readCatalog(kCatalogs[0], "en").texts.keys())
            coreKeys.insert(key);
        for (const QString &key : readCatalog(kCatalogs[1], "en").texts.keys())
            appKeys.insert(key);

        static const QRegularExpression lookup(QStringLiteral(
            "\\b(?:FXText|qtTrId|FBLocalization::text)\\(\\s*\"((?:[^\"\\\\\\n]|\\\\.)*)\""));
        static const QRegularExpression escape(QStringLiteral("\\\\(.)"));
        const QString srcDir = TestEnvironment::sourceDir() + QStringLiteral("/src");
        QStringList problems;
        int scanned = 0;
        QDirIterator files(srcDir, {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            ++scanned;
            QFile file(path);
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
            const QString text = QString::fromUtf8(file.readAll());
            const QString relative = path.mid(srcDir.size() + 1);
            const bool inCore = !relative.startsWith(QLatin1String("app/"));
            for (const QRegularExpressionMatch &m : lookup.globalMatch(text)) {
                const QString key = QString(m.captured(1)).replace(escape, QStringLiteral("\\1"));
                const int line = int(text.left(m.capturedStart()).count(u'\n')) + 1;
                if (inCore && !coreKeys.contains(key))
                    problems << QStringLiteral("%1:%2: \"%3\" is not in the core catalog")
                                    .arg(relative)
                                    .arg(line)
                                    .arg(key);
                else if (!coreKeys.contains(key) && !appKeys.contains(key))
                    problems << QStringLiteral("%1:%2: \"%3\" is in no catalog")
                                    .arg(relative)
                                    .arg(line)
                                    .arg(key);
            }
        }
        QVERIFY(scanned > 0);
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
    }

    // What lrelease compiled is what the sources say, looked up the way the program does.
    void compiledCatalogMatchesItsSource_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("language");
        for (int i = 0; i < int(std::size(kCatalogs)); ++i) {
            for (const char *language : kLanguages)
                QTest::addRow("%s_%s", kCatalogs[i].name, language)
                    << i << QString::fromLatin1(language);
        }
    }
    void compiledCatalogMatchesItsSource()
    {
        QFETCH(int, index);
        QFETCH(QString, language);
        const CatalogInfo &info = kCatalogs[index];
        if (!compiledCatalogPresent(info))
            QSKIP("this program does not carry the catalog");
        QVERIFY(FBLocalization::installCatalog(QString::fromLatin1(info.resourcePrefix),
                                               localeFor(qPrintable(language))));
        const Catalog source = readCatalog(QString::fromLatin1(info.sourceBase), language);
        LogCapture log;
        QStringList problems;
        for (auto it = source.texts.cbegin(); it != source.texts.cend(); ++it) {
            const QString shown = FXText(it.key().toUtf8().constData());
            if (shown != it.value())
                problems << QStringLiteral("%1: shows \"%2\"").arg(it.key(), shown);
        }
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
        QVERIFY2(!log.contains(kMissingLog), qPrintable(log.messages().join(u'\n')));
    }

    void languageFollowsTheLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("language");
        QTest::newRow("de_DE") << QLocale(QLocale::German, QLocale::Germany) << "de";
        QTest::newRow("de_AT") << QLocale(QLocale::German, QLocale::Austria) << "de";
        QTest::newRow("de_CH") << QLocale(QLocale::German, QLocale::Switzerland) << "de";
        QTest::newRow("en_US") << QLocale(QLocale::English, QLocale::UnitedStates) << "en";
        QTest::newRow("en_GB") << QLocale(QLocale::English, QLocale::UnitedKingdom) << "en";
        QTest::newRow("fr_FR") << QLocale(QLocale::French, QLocale::France) << "en";
        QTest::newRow("nl_NL") << QLocale(QLocale::Dutch, QLocale::Netherlands) << "en";
        QTest::newRow("C") << QLocale::c() << "en";
    }
    void languageFollowsTheLocale()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, language);
        const QString expected = readCatalog(QString::fromLatin1(kCatalogs[0].sourceBase), language)
                                     .texts.value(QStringLiteral("error_auth"));
        QVERIFY(!expected.isEmpty());

        // The user's locale is the default one the program starts with.
        QLocale::setDefault(locale);
        QCOMPARE(FBLocalization::languageFor(QLocale()), language);
        QVERIFY(FBLocalization::installCoreCatalog());
        QCOMPARE(FXText("error_auth"), expected);
    }

    void missingKeyShowsItselfAndIsLoggedOnce()
    {
        QVERIFY(FBLocalization::installCoreCatalog());
        LogCapture log;
        QCOMPARE(FXText("no_such_key_anywhere"), QStringLiteral("no_such_key_anywhere"));
        QCOMPARE(FXText("no_such_key_anywhere"), QStringLiteral("no_such_key_anywhere"));
        QCOMPARE(FXText("another_missing_key"), QStringLiteral("another_missing_key"));
        QCOMPARE(log.count(QStringLiteral("Missing localized text for key "
                                          "\"no_such_key_anywhere\"")),
                 1);
        QCOMPARE(log.count(kMissingLog), 2);
    }
};

QTEST_GUILESS_MAIN(TestStringCatalogs)
#include "tst_stringcatalogs.moc"
