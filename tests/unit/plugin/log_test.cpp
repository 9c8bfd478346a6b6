#include "src/log/log.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/filecontent.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

const QString kStamp = QStringLiteral("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}");

const QString kExists = QStringLiteral("Directory already exists.");
const QString kCreated = QStringLiteral("Directory created successfully.");
const QString kFailed = QStringLiteral("Failed to create directory.");

QString creating(const QString& path)
{
    return QStringLiteral("Directory does not exist. Creating directory: \"%1\"").arg(path);
}

} // namespace

class LogTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void entryIsTimeTagAndTextWithoutALineEnd()
    {
        test("hello");
        const QString content = QString::fromUtf8(log());
        const QRegularExpression form(QStringLiteral("\\A%1\\[OVOBJECT\\]  hello\\z").arg(kStamp));
        QVERIFY2(form.match(content).hasMatch(), qPrintable(content));
        QCOMPARE(content.size(), 23 + 12 + 5);
    }

    void entryWithoutLineEndIsFollowedOnTheSameLine()
    {
        test("first");
        test("second\n");
        const QString content = QString::fromUtf8(log());
        const QRegularExpression form(
            QStringLiteral("\\A%1\\[OVOBJECT\\]  first%1\\[OVOBJECT\\]  second\n\\z").arg(kStamp));
        QVERIFY2(form.match(content).hasMatch(), qPrintable(content));
    }

    void entriesAreAppendedToWhatTheFileHolds()
    {
        m_fixture->writeFile(QStringLiteral("ov3dlog.txt"), "from an earlier day\n");
        test("x\n");
        QVERIFY(log().startsWith("from an earlier day\n2"));
        QVERIFY(log().endsWith("[OVOBJECT]  x\n"));
    }

    void textIsWrittenByteForByte()
    {
        const std::string text("\xff\xfe\0 \xc3\xa4\r\n", 8);
        test(text);
        QCOMPARE(log().mid(23 + 12), QByteArray::fromStdString(text));
    }

    void emptyTextStillMakesAnEntry()
    {
        test("");
        QCOMPARE(log().size(), 23 + 12);
    }

    void noHandleIsKeptBetweenEntries()
    {
        test("first\n");
        QVERIFY(QFile::remove(logPath()));
        test("second\n");
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("second\n")});
    }

    void timeHas23Characters()
    {
        const QString time = QString::fromStdString(getCurrentTime());
        const QRegularExpression form(QStringLiteral("\\A%1\\z").arg(kStamp));
        QVERIFY2(form.match(time).hasMatch(), qPrintable(time));
        QCOMPARE(time.size(), 23);
    }

    void timeIsTheCurrentLocalTime()
    {
        const QDateTime before = QDateTime::currentDateTime();
        const QDateTime time =
            QDateTime::fromString(QString::fromStdString(getCurrentTime()), QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
        const QDateTime after = QDateTime::currentDateTime();
        QVERIFY(time.isValid());
        QVERIFY(before <= time && time <= after);
    }

    void millisecondsArePaddedWithZeros_data()
    {
        QTest::addColumn<qint64>("nanoseconds");
        QTest::addColumn<QString>("ending");
        const qint64 second = 1'700'000'000'000'000'000;
        QTest::newRow("5 ms after a full second") << second + 5'000'000 << ".005";
        QTest::newRow("a full second") << second << ".000";
        QTest::newRow("42 ms") << second + 42'000'000 << ".042";
        QTest::newRow("the last moment of a second is not rounded up") << second + 999'999'999 << ".999";
        QTest::newRow("less than a millisecond") << second + 999'999 << ".000";
    }

    void millisecondsArePaddedWithZeros()
    {
        QFETCH(qint64, nanoseconds);
        QFETCH(QString, ending);
        const QString time = QString::fromStdString(formatLogTime(std::chrono::nanoseconds(nanoseconds)));
        QVERIFY2(time.endsWith(ending), qPrintable(time));
    }

    void momentIsShownInLocalTime()
    {
        const auto moment = 1'706'745'599s + 5ms;
        const QDateTime expected = QDateTime::fromMSecsSinceEpoch(std::chrono::milliseconds(moment).count());
        QCOMPARE(QString::fromStdString(formatLogTime(moment)),
                 expected.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")));
    }

    void firstEntryAsksTheHostForTheFolder()
    {
        test("x");
        QCOMPARE(m_fixture->framework.pathQueries(), 1);
        QCOMPARE(g_app_path, m_fixture->folder());
        QCOMPARE(g_app_path_log, m_fixture->folder() + QStringLiteral("ov3dlog.txt"));
    }

    void firstEntryMakesTheTextureDirectory()
    {
        test("x");
        QVERIFY(QFileInfo(m_fixture->folder() + QStringLiteral("texture3D")).isDir());
    }

    void firstEntryReportsTheNewTextureDirectory()
    {
        test("x");
        QCOMPARE(messages(), (QStringList{creating(m_fixture->folder() + QStringLiteral("texture3D")), kCreated}));
    }

    void firstEntryReportsATextureDirectoryThatIsThere()
    {
        QVERIFY(QDir().mkdir(m_fixture->folder() + QStringLiteral("texture3D")));
        test("x");
        QCOMPARE(messages(), QStringList{kExists});
    }

    void laterEntriesAskAndReportNothing()
    {
        test("first\n");
        clearMessages();
        QVERIFY(QDir().rmdir(m_fixture->folder() + QStringLiteral("texture3D")));
        m_fixture->framework.setPath(QStringLiteral("/elsewhere/"));
        test("second\n");
        test("third\n");
        QCOMPARE(m_fixture->framework.pathQueries(), 1);
        QVERIFY(messages().isEmpty());
        QVERIFY(!QDir(m_fixture->folder() + QStringLiteral("texture3D")).exists());
        QCOMPARE(m_fixture->logEntries().size(), 3);
    }

    void pathWithoutTrailingSeparatorMakesSiblings()
    {
        m_fixture->framework.setPath(m_fixture->folder() + QStringLiteral("app"));
        test("x");
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("appov3dlog.txt")));
        QVERIFY(QFileInfo(m_fixture->folder() + QStringLiteral("apptexture3D")).isDir());
        QVERIFY(!QFile::exists(m_fixture->folder() + QStringLiteral("app")));
    }

    void pathSetByTheHostBeforeTheFirstEntryLosesEveryEntry()
    {
        g_app_path = m_fixture->folder();
        test("first");
        test("second");
        QCOMPARE(m_fixture->framework.pathQueries(), 0);
        QVERIFY(g_app_path_log.isEmpty());
        QVERIFY(messages().isEmpty());
        QCOMPARE(QDir(m_fixture->folder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("resources")});
    }

    void logPathSetByTheHostTogetherWithTheFolderIsUsed()
    {
        g_app_path = QStringLiteral("/any/");
        g_app_path_log = m_fixture->folder() + QStringLiteral("chosen.txt");
        test("x");
        QVERIFY(contentOf(g_app_path_log).endsWith("[OVOBJECT]  x"));
    }

    void emptyPathOfTheHostLogsIntoTheWorkingDirectory()
    {
        m_fixture->framework.setPath(QString());
        test("x");
        QVERIFY(g_app_path.isEmpty());
        QCOMPARE(g_app_path_log, QStringLiteral("ov3dlog.txt"));
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("x")});
        QVERIFY(QFileInfo(m_fixture->folder() + QStringLiteral("texture3D")).isDir());
        QCOMPARE(messages(), (QStringList{creating(QStringLiteral("texture3D")), kCreated}));
    }

    void emptyPathOfTheHostIsAskedForAgainByEveryEntry()
    {
        m_fixture->framework.setPath(QString());
        test("first\n");
        clearMessages();
        test("second\n");
        QCOMPARE(m_fixture->framework.pathQueries(), 2);
        QCOMPARE(messages(), QStringList{kExists});
        m_fixture->framework.setPath(m_fixture->folder());
        test("third\n");
        QCOMPARE(g_app_path, m_fixture->folder());
        QCOMPARE(m_fixture->logEntries().size(), 3);
    }

    void missingFrameworkCountsAsAnEmptyPath()
    {
        SetFramework(nullptr);
        test("x");
        QVERIFY(g_app_path.isEmpty());
        QCOMPARE(g_app_path_log, QStringLiteral("ov3dlog.txt"));
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("x")});
    }

    void missingPathServiceCountsAsAnEmptyPath()
    {
        m_fixture->framework.hasPathService = false;
        test("x");
        QVERIFY(g_app_path.isEmpty());
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("x")});
    }

    void unwritableLocationLosesEntriesSilently()
    {
        const QString below = m_fixture->writeFile(QStringLiteral("file")) + QLatin1Char('/');
        m_fixture->framework.setPath(below);
        test("first");
        QCOMPARE(messages(), (QStringList{creating(below + QStringLiteral("texture3D")), kFailed}));
        clearMessages();
        test("second");
        QVERIFY(messages().isEmpty());
        QCOMPARE(g_app_path, below);
    }

    void directoryInTheLogsPlaceLosesEntriesSilently()
    {
        QVERIFY(QDir().mkdir(logPath()));
        test("x");
        QVERIFY(QFileInfo(logPath()).isDir());
        QVERIFY(QDir(logPath()).isEmpty());
    }

    void loggingGoesOnWithoutTheTextureDirectory()
    {
        m_fixture->writeFile(QStringLiteral("texture3D"));
        test("x");
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("x")});
        QCOMPARE(messages().last(), kFailed);
    }

    void pathIsReadAsUtf8()
    {
        const QString folder = m_fixture->folder() + QString::fromUtf8("Größe 模型/");
        QVERIFY(QDir().mkpath(folder));
        m_fixture->framework.setPath(folder);
        test("x");
        QVERIFY(contentOf(folder + QStringLiteral("ov3dlog.txt")).endsWith("[OVOBJECT]  x"));
    }

    void missingParentsAreMadeWithTheDirectory()
    {
        const QString path = m_fixture->folder() + QStringLiteral("a/b c/d");
        ensureDirectoryExists(path);
        QVERIFY(QFileInfo(path).isDir());
        QCOMPARE(messages(), (QStringList{creating(path), kCreated}));
    }

    void existingDirectoryIsReportedAndLeftAlone()
    {
        ensureDirectoryExists(m_fixture->folder());
        QCOMPARE(messages(), QStringList{kExists});
    }

    void fileInTheDirectorysPlaceIsAFailure()
    {
        const QString path = m_fixture->writeFile(QStringLiteral("taken"));
        ensureDirectoryExists(path);
        QCOMPARE(messages(), (QStringList{creating(path), kFailed}));
    }

    /// A host's message handler may write to the log in turn, also while the first entry reports on the directory.
    void messageHandlerMayWriteToTheLog()
    {
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { test(text.toStdString() + "\n"); });
        test("from the caller\n");
        qInstallMessageHandler(before);
        const QStringList entries = m_fixture->logEntries();
        QCOMPARE(entries.size(), 3);
        QCOMPARE(entries.at(1), kCreated + QLatin1Char('\n'));
        QCOMPARE(entries.at(2), QStringLiteral("from the caller\n"));
    }

    void entriesOfManyThreadsAreEachWrittenWhole()
    {
        constexpr int kThreads = 8;
        constexpr int kEntries = 200;
        const std::string text(200, 'x');
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&text] {
                for (int entry = 0; entry < kEntries; ++entry)
                    test(text + "\n");
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        const QStringList entries = m_fixture->logEntries();
        QCOMPARE(entries.size(), kThreads * kEntries);
        QCOMPARE(entries.count(QString::fromStdString(text) + QLatin1Char('\n')), kThreads * kEntries);
        QCOMPARE(g_app_path, m_fixture->folder());
    }

private:
    QString logPath() const { return m_fixture->folder() + QStringLiteral("ov3dlog.txt"); }
    QByteArray log() const { return contentOf(logPath()); }
};

OV3D_TEST_MAIN(LogTest)
#include "log_test.moc"
