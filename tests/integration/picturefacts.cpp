#include "tests/integration/picturefacts.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <cstdlib>

namespace {

bool isOpaque(const QImage& image, int x, int y)
{
    return x >= 0 && y >= 0 && x < image.width() && y < image.height() && qAlpha(image.pixel(x, y)) > 0;
}

bool isNearlyKeyColour(QRgb colour)
{
    constexpr int kNear = 48;
    return std::abs(qRed(colour) - 92) < kNear && std::abs(qGreen(colour) - 238) < kNear &&
           std::abs(qBlue(colour) - 20) < kNear;
}

} // namespace

ProgramRun runProgram(const QString& program, const QStringList& arguments, const QString& folder, int limitMs)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));

    QProcess process;
    process.setProcessEnvironment(environment);
    if (!folder.isEmpty())
        process.setWorkingDirectory(folder);
    process.start(program, arguments);
    ProgramRun run;
    if (process.waitForFinished(limitMs) && process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    else
        process.kill();
    process.waitForFinished();
    run.output = process.readAllStandardOutput();
    run.errors = process.readAllStandardError();
    return run;
}

double opaqueShare(const QImage& image)
{
    qint64 opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            opaque += isOpaque(image, x, y) ? 1 : 0;
    }
    return static_cast<double>(opaque) / (static_cast<double>(image.width()) * image.height());
}

int keyColouredEdgePixels(const QImage& image)
{
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool isEdge = isOpaque(image, x, y) && !(isOpaque(image, x - 1, y) && isOpaque(image, x + 1, y) &&
                                                           isOpaque(image, x, y - 1) && isOpaque(image, x, y + 1));
            found += isEdge && isNearlyKeyColour(image.pixel(x, y)) ? 1 : 0;
        }
    }
    return found;
}

bool isNotAllBlack(const QImage& image)
{
    constexpr int kBlack = 8;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb colour = image.pixel(x, y);
            if (isOpaque(image, x, y) && qMax(qRed(colour), qMax(qGreen(colour), qBlue(colour))) > kBlack)
                return true;
        }
    }
    return false;
}
