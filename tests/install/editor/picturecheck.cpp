/// Whether a picture shows a model on a transparent page: picturecheck PICTURE LEAST_COLOURS

#include <QImage>
#include <QSet>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    const QImage picture = argc == 3 ? QImage(QString::fromLocal8Bit(argv[1])) : QImage();
    if (picture.isNull()) {
        std::fprintf(stderr, "picturecheck: no picture\n");
        return 1;
    }
    QSet<QRgb> colours;
    int opaque = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            if (qAlpha(pixel) == 0)
                continue;
            ++opaque;
            colours.insert(pixel);
        }
    }
    const double share = double(opaque) / (double(picture.width()) * picture.height());
    std::printf("%d x %d, %.3f opaque, %d colours\n", picture.width(), picture.height(), share, int(colours.size()));
    const bool isFine = picture.size() == QSize(400, 300) && share > 0.1 && share < 0.9 &&
                        colours.size() >= std::atoi(argv[2]);
    return isFine ? 0 : 1;
}
