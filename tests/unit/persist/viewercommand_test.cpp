#include "src/render/handshake.h"
#include "tests/support/recordedsleeps.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/propertystream.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QTextCodec>
#include <QThread>

#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int kParams = 101;
constexpr int kCode = 4711;
constexpr std::size_t kMostSleeps = 6001;

} // namespace

class ViewerCommandTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        SingleItemTestBase::init();
        ItemFixture::makeReady(m_item);
        m_sleeps = {};
    }

    void cleanup()
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
        SingleItemTestBase::cleanup();
    }

    // The answer

    void viewersAnswerIsReturned_data()
    {
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("returned");
        QTest::newRow("done") << 0 << true;
        QTest::newRow("failed") << 1 << false;
    }

    void viewersAnswerIsReturned()
    {
        QFETCH(int, result);
        QFETCH(bool, returned);
        m_fixture->viewer.setCommandResult(result);
        QCOMPARE(send(QStringLiteral("go")), returned);
        // The pause comes before the first look, also when the answer is there at once.
        QCOMPARE(m_sleeps.milliseconds, std::vector<unsigned long>{10});
        QCOMPARE(m_item->m_context.command_result, result);
        QCOMPARE(m_fixture->viewer.callCount(), 1);
    }

    void lateAnswerIsReturned_data()
    {
        QTest::addColumn<int>("sleeps");
        QTest::addColumn<int>("result");
        QTest::newRow("done after a while") << 250 << 0;
        QTest::newRow("failed after a while") << 250 << 1;
        QTest::newRow("done in the last moment") << int(kMostSleeps) << 0;
        QTest::newRow("failed in the last moment") << int(kMostSleeps) << 1;
    }

    void lateAnswerIsReturned()
    {
        QFETCH(int, sleeps);
        QFETCH(int, result);
        m_sleeps.onSleep = [&](std::size_t count) {
            if (count == std::size_t(sleeps))
                storeRelease(m_item->m_context.command_result, std::int32_t(result));
        };
        QCOMPARE(send(QStringLiteral("go")), result == 0);
        QCOMPARE(m_sleeps.milliseconds, std::vector<unsigned long>(std::size_t(sleeps), 10));
    }

    void silenceEndsAfter6001Pauses_data()
    {
        QTest::addColumn<int>("answer"); // -1: none
        QTest::newRow("no answer") << -1;
        QTest::newRow("an answer that is none of the two") << 2;
        QTest::newRow("another one") << -2;
    }

    void silenceEndsAfter6001Pauses()
    {
        QFETCH(int, answer);
        if (answer != -1)
            m_fixture->viewer.setCommandResult(answer);
        QVERIFY(!send(QStringLiteral("go")));
        QCOMPARE(m_sleeps.milliseconds, std::vector<unsigned long>(kMostSleeps, 10));
        QCOMPARE(m_item->m_context.op, std::int32_t(kCode));
        QCOMPARE(m_item->m_context.command_result, std::int32_t(answer));
        QCOMPARE(m_fixture->viewer.callCount(), 1);
    }

    void lockedItemsCommandIsNotAnswered()
    {
        m_fixture->viewer.setCommandResult(0);
        m_item->setLocked(true);
        QVERIFY(!send(QStringLiteral("go")));
        m_item->setLocked(false);
        QCOMPARE(m_sleeps.milliseconds.size(), kMostSleeps);
        QCOMPARE(m_fixture->viewer.callCount(), 0);
    }

    void viewerOnAnotherThreadMayAnswer()
    {
        m_fixture->viewer.setOnCall([this](ViewContext& context) {
            // Answered from outside, while the caller really sleeps.
            m_answering = std::thread([&context] {
                QThread::msleep(50);
                storeRelease(context.command_result, std::int32_t(0));
            });
        });
        QDataStream in(streamOfText(CEffectLayerParams::toJson(commandRecord(QStringLiteral("go")))));
        const bool answered = m_item->SetSpecialProperty(kParams, in, false);
        m_answering.join();
        m_fixture->viewer.setOnCall(nullptr);
        QVERIFY(answered);
    }

    void earlierAnswerIsForgotten()
    {
        storeRelease(m_item->m_context.command_result, std::int32_t(0));
        QVERIFY(!send(QStringLiteral("go")));
        QCOMPARE(m_fixture->viewer.lastCall().context.command_result, -1);
        QCOMPARE(m_sleeps.milliseconds.size(), kMostSleeps);
    }

    // The request

    void viewerGetsCodeAndText()
    {
        m_fixture->viewer.setCommandResult(0);
        QVERIFY(send(QStringLiteral("turn left")));
        const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
        QCOMPARE(call.argc, 0);
        QCOMPARE(call.contextAddress, static_cast<void*>(&m_item->m_context));
        QCOMPARE(call.context.op, kCode);
        QCOMPARE(call.context.command_result, -1);
        QCOMPARE(textOf(call), padded("turn left"));
    }

    void textFillsTheFieldWithZerosBehindIt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes"); // without the zeros behind
        QTest::newRow("none") << QString() << QByteArray();
        QTest::newRow("one letter") << "x" << QByteArray("x");
        QTest::newRow("255 bytes keep one zero") << QString(255, 'a') << QByteArray(255, 'a');
        QTest::newRow("256 bytes leave no zero") << QString(256, 'a') << QByteArray(256, 'a');
        QTest::newRow("257 bytes are cut") << QString(257, 'a') << QByteArray(256, 'a');
        QTest::newRow("10000 bytes are cut") << QString(10000, 'a') << QByteArray(256, 'a');
        QTest::newRow("it ends at the first NUL") << QStringLiteral("ab%1cd").arg(QChar(0)) << QByteArray("ab");
        QTest::newRow("a NUL in front leaves nothing") << QChar(0) + QStringLiteral("cd") << QByteArray();
        QTest::newRow("local encoding") << QString::fromUtf8("ü模") << QByteArray("\xc3\xbc\xe6\xa8\xa1");
        QTest::newRow("a letter is cut in the middle")
            << QString(255, 'a') + QChar(0xfc) << QByteArray(255, 'a') + '\xc3';
    }

    void textFillsTheFieldWithZerosBehindIt()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        std::memset(m_item->m_context.command_text, 'z', sizeof m_item->m_context.command_text);
        m_item->m_context.mouse_type = 0x7a7a7a7a;
        m_fixture->viewer.setCommandResult(0);
        QVERIFY(send(text));
        QCOMPARE(textOf(m_fixture->viewer.lastCall()), padded(bytes));
        QCOMPARE(m_item->m_context.mouse_type, 0x7a7a7a7a);
    }

    void textIsInTheLocalEncoding()
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        m_fixture->viewer.setCommandResult(0);
        QVERIFY(send(QString(QChar(0xfc))));
        QCOMPARE(textOf(m_fixture->viewer.lastCall()), padded("\xfc"));
    }

    void textTakesThePlaceOfTheModelPath()
    {
        std::strcpy(m_item->m_context.model_path, "/some/model.stl");
        m_fixture->viewer.setCommandResult(0);
        QVERIFY(send(QStringLiteral("go")));
        QCOMPARE(QByteArray(m_item->m_context.model_path), QByteArray("go"));
    }

    void commandAppliesNoSettings()
    {
        m_fixture->viewer.setCommandResult(0);
        CEL3DObjectParams record = commandRecord(QStringLiteral("go"));
        record.view_type = 9;
        record.point_size = 9;
        record.raw_mode = true;
        QVERIFY(send(record));
        QCOMPARE(SettingsBlocks::ofContext(*m_item).lines(), SettingsBlocks().lines());
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), SettingsBlocks().lines());
        QVERIFY(!m_item->m_paramsApplied);
    }

    void commandFlagStaysUntilARecordClearsIt()
    {
        m_fixture->viewer.setCommandResult(0);
        QVERIFY(send(QStringLiteral("first")));
        m_fixture->viewer.clearCalls();
        QVERIFY(sendText(QStringLiteral("{\"command_text\":\"second\",\"view_type\":3}")));
        QCOMPARE(m_fixture->viewer.lastCall().context.op, kCode);
        QCOMPARE(textOf(m_fixture->viewer.lastCall()), padded("second"));
        QCOMPARE(m_item->m_viewSettings.view_type, 0);

        m_fixture->viewer.clearCalls();
        QVERIFY(sendText(QStringLiteral("{\"command\":false}")));
        QCOMPARE(m_fixture->viewer.lastCall().context.op, std::int32_t(kOperationRedraw));
        QCOMPARE(m_item->m_viewSettings.view_type, 3);
    }

    void commandBeforeTheViewerIsReadyIsRefused()
    {
        storeRelease(m_item->m_viewerReady, 0);
        QVERIFY(!send(QStringLiteral("go")));
        storeRelease(m_item->m_viewerReady, 1);
        QVERIFY(m_sleeps.milliseconds.empty());
        QCOMPARE(m_fixture->viewer.callCount(), 0);
    }

private:
    static CEL3DObjectParams commandRecord(const QString& text)
    {
        CEL3DObjectParams record;
        record.command = true;
        record.command_code = kCode;
        record.command_text = text;
        return record;
    }

    static QByteArray padded(const QByteArray& bytes) { return bytes + QByteArray(256 - bytes.size(), '\0'); }

    static QByteArray textOf(const ScriptedViewer::Call& call)
    {
        return QByteArray(call.context.command_text, sizeof call.context.command_text);
    }

    bool send(const QString& text) { return send(commandRecord(text)); }
    bool send(const CEL3DObjectParams& record) { return sendText(CEffectLayerParams::toJson(record)); }

    /// Sleeps are counted and not slept.
    bool sendText(const QString& text)
    {
        QDataStream in(streamOfText(text));
        const SleepRecording recording(m_sleeps);
        return m_item->SetSpecialProperty(kParams, in, false);
    }

    RecordedSleeps m_sleeps;
    std::thread m_answering;
};

OV3D_TEST_MAIN(ViewerCommandTest)
#include "viewercommand_test.moc"
