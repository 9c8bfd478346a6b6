#include "apps/common/standardstreams.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

using namespace ov3d::apps;

/// Puts pipes in the place of descriptors 1 and 2 for its life.
class Pipes
{
public:
    Pipes()
    {
        for (int i = 0; i < 2; ++i) {
            std::array<int, 2> ends{};
            if (::pipe2(ends.data(), O_NONBLOCK) != 0)
                qFatal("no pipe");
            m_saved.at(static_cast<std::size_t>(i)) = ::dup(i + 1);
            m_read.at(static_cast<std::size_t>(i)) = ends[0];
            ::dup2(ends[1], i + 1);
            ::close(ends[1]);
        }
    }

    ~Pipes()
    {
        for (int i = 0; i < 2; ++i) {
            ::dup2(m_saved.at(static_cast<std::size_t>(i)), i + 1);
            ::close(m_saved.at(static_cast<std::size_t>(i)));
            ::close(m_read.at(static_cast<std::size_t>(i)));
        }
    }

    QByteArray written(int descriptor)
    {
        std::array<char, 4096> text{};
        const ssize_t count = ::read(m_read.at(static_cast<std::size_t>(descriptor) - 1), text.data(), text.size());
        return {text.data(), count > 0 ? static_cast<int>(count) : 0};
    }

private:
    std::array<int, 2> m_saved{};
    std::array<int, 2> m_read{};
};

class StreamsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void ownTextPassesWhileLibrariesAreSilent();
    void librariesAreHeardAgainAfterwards();
    void everyLineIsOneLine();
    void fullDiskIsReported();
    void pipeIsNoTerminal();
};

void StreamsTest::ownTextPassesWhileLibrariesAreSilent()
{
    QByteArray output, error;
    {
        Pipes pipes;
        const StandardStreams streams;
        {
            const StandardStreams::Silence silence(streams);
            std::cout << "Valid FBX file" << std::endl;
            std::fputs("Not a valid glTF file\n", stderr);
            streams.printLine(QStringLiteral("result ü"));
            streams.printErrorLine(QStringLiteral("reason 中"));
        }
        output = pipes.written(1);
        error = pipes.written(2);
    }
    QCOMPARE(output, QByteArray("result ü\n"));
    QCOMPARE(error, QByteArray("reason 中\n"));
}

void StreamsTest::librariesAreHeardAgainAfterwards()
{
    QByteArray output, error;
    {
        Pipes pipes;
        const StandardStreams streams;
        {
            const StandardStreams::Silence silence(streams);
            std::fputs("lost, although never flushed", stdout);
        }
        std::cout << "heard" << std::endl;
        std::cerr << "heard too" << std::endl;
        output = pipes.written(1);
        error = pipes.written(2);
    }
    QCOMPARE(output, QByteArray("heard\n"));
    QCOMPARE(error, QByteArray("heard too\n"));
}

void StreamsTest::everyLineIsOneLine()
{
    QByteArray output;
    {
        Pipes pipes;
        const StandardStreams streams;
        streams.printLine(QStringLiteral("a\nb\r"));
        output = pipes.written(1);
    }
    QCOMPARE(output, QByteArray("a?b?\n"));
}

void StreamsTest::fullDiskIsReported()
{
    bool written = true;
    {
        Pipes pipes;
        const int full = ::open("/dev/full", O_WRONLY);
        ::dup2(full, STDOUT_FILENO);
        ::close(full);
        const StandardStreams streams;
        written = streams.writeOutput("x");
    }
    QVERIFY(!written);
}

void StreamsTest::pipeIsNoTerminal()
{
    bool isTerminal = true;
    {
        Pipes pipes;
        const StandardStreams streams;
        isTerminal = streams.isErrorTerminal();
    }
    QVERIFY(!isTerminal);
}

OV3D_TEST_MAIN(StreamsTest)
#include "streams_test.moc"
