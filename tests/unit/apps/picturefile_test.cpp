#include "apps/common/picturefile.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace ov3d::apps;

class PictureFileTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pictureIsWrittenWithItsAlpha();
    void opaquePictureHasAnAlphaChannelToo();
    void failedWriteLeavesTheOldPicture();
    void whatIsNoPlainFileIsNotReplaced_data();
    void whatIsNoPlainFileIsNotReplaced();
    void linkToAPictureStaysALink();
    void namesOfPicturesEndInPng_data();
    void namesOfPicturesEndInPng();
};

void PictureFileTest::pictureIsWrittenWithItsAlpha()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("ü 中 %20.png"));
    QImage image(3, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setPixelColor(1, 1, QColor(10, 20, 30));
    QCOMPARE(writePng(path, image), QString());
    const QImage read(path);
    QCOMPARE(read.size(), QSize(3, 2));
    QCOMPARE(read.pixel(1, 1), qRgba(10, 20, 30, 255));
    QCOMPARE(qAlpha(read.pixel(0, 0)), 0);
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1); // no temporary file is left
}

void PictureFileTest::opaquePictureHasAnAlphaChannelToo()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    QImage image(3, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QCOMPARE(writePng(path, image), QString());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    constexpr int kColourTypeOffset = 25;
    constexpr char kRgba = 6;
    QCOMPARE(file.readAll().at(kColourTypeOffset), kRgba);
}

void PictureFileTest::failedWriteLeavesTheOldPicture()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QCOMPARE(writePng(path, image), QString());
    QVERIFY(!writePng(path, QImage()).isEmpty());
    QCOMPARE(QImage(path).pixelColor(0, 0), QColor(Qt::red));
    QVERIFY(!writePng(folder.filePath(QStringLiteral("none/a.png")), image).isEmpty());
}

void PictureFileTest::whatIsNoPlainFileIsNotReplaced_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("folder") << "folder.png"
                            << "is a folder";
    QTest::newRow("pipe") << "pipe.png"
                          << "is no plain file";
    QTest::newRow("link to a pipe") << "link.png"
                                    << "is no plain file";
    // A device is told by the same look, and is not put at risk here.
    QTest::newRow("socket") << "socket.png"
                            << "is no plain file";
}

void PictureFileTest::whatIsNoPlainFileIsNotReplaced()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    QTemporaryDir folder;
    const auto path = [&folder](const char* file) { return folder.filePath(QString::fromLatin1(file)); };
    QVERIFY(QDir().mkpath(path("folder.png")));
    QCOMPARE(::mkfifo(QFile::encodeName(path("pipe.png")).constData(), 0600), 0);
    QVERIFY(QFile::link(path("pipe.png"), path("link.png")));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path("socket.png")).constData(), sizeof address.sun_path);
    QCOMPARE(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

    const auto typeOf = [&](const QString& file) {
        struct stat status
        {
        };
        return ::lstat(QFile::encodeName(file).constData(), &status) == 0 ? status.st_mode & S_IFMT : 0U;
    };
    const QString target = folder.filePath(name);
    const mode_t before = typeOf(target);
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QCOMPARE(writePng(target, image), reason);
    QCOMPARE(typeOf(target), before);
    QCOMPARE(typeOf(path("pipe.png")), mode_t(S_IFIFO));
    ::close(socket);
}

void PictureFileTest::linkToAPictureStaysALink()
{
    QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("a.png"));
    const QString link = folder.filePath(QStringLiteral("b.png"));
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QCOMPARE(writePng(picture, image), QString());
    QVERIFY(QFile::link(picture, link));
    image.fill(Qt::blue);
    QCOMPARE(writePng(link, image), QString());
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(QImage(picture).pixelColor(0, 0), QColor(Qt::blue));
}

void PictureFileTest::namesOfPicturesEndInPng_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isPng");
    QTest::newRow("lower case") << "a.png" << true;
    QTest::newRow("upper case") << "/tmp/x.y/A.PNG" << true;
    QTest::newRow("another format") << "a.jpg" << false;
    QTest::newRow("none") << "png" << false;
    QTest::newRow("standard output") << "-" << false;
    QTest::newRow("device") << "/dev/stdout" << false;
}

void PictureFileTest::namesOfPicturesEndInPng()
{
    QFETCH(QString, name);
    QFETCH(bool, isPng);
    QCOMPARE(isPngName(name), isPng);
}

OV3D_TEST_MAIN(PictureFileTest)
#include "picturefile_test.moc"
