#include "tests/unit/renderer/surfacetestbase.h"

#include <QColor>
#include <QTest>
#include <cmath>

using ov3d::protocol::RenderSettings;

namespace {

/// A smooth ball: an OBJ of a sphere with normals.
QByteArray ballObj()
{
    QByteArray obj = "mtllib ball.mtl\nusemtl ball\n";
    constexpr int rows = 16;
    constexpr int columns = 32;
    for (int j = 0; j <= rows; ++j)
        for (int i = 0; i <= columns; ++i) {
            const double a = M_PI * j / rows;
            const double b = 2 * M_PI * i / columns;
            const QByteArray at = QByteArray::number(std::sin(a) * std::sin(b)) + " " +
                                  QByteArray::number(std::cos(a)) + " " +
                                  QByteArray::number(std::sin(a) * std::cos(b)) + "\n";
            obj += "v " + at + "vn " + at;
        }
    const auto corner = [](int j, int i) {
        const QByteArray index = QByteArray::number(j * (columns + 1) + i + 1);
        return " " + index + "//" + index;
    };
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i)
            obj += "f" + corner(j, i) + corner(j + 1, i) + corner(j + 1, i + 1) + corner(j, i + 1) + "\n";
    return obj;
}

} // namespace

RenderSettings SurfaceTestBase::with(int shading, int preset)
{
    RenderSettings settings;
    settings.material_type_a = shading;
    settings.material_type_b = preset;
    return settings;
}

RenderSettings SurfaceTestBase::raw()
{
    RenderSettings settings;
    settings.raw_mode = true;
    return settings;
}

void SurfaceTestBase::init()
{
    PictureTestBase::init();
    m_client.reset(new RendererClient);
    m_client->azimuth = m_client->elevation = 0;
    QVERIFY(m_client->waitUntilReady());
}

void SurfaceTestBase::cleanup()
{
    m_client.reset();
    PictureTestBase::cleanup();
}

QImage SurfaceTestBase::draw(const RenderSettings& settings)
{
    return m_client->draw(120, 120, ov3d::protocol::Quality::final, settings);
}

QImage SurfaceTestBase::drawSquare(const QByteArray& material, const QList<QImage>& textures,
                                   const RenderSettings& settings, const QByteArray& extension)
{
    if (!m_client->load(surfacefiles::writeSquare(*m_folder, material, textures, extension)))
        qWarning("%s", qPrintable(m_client->failure()));
    const QImage image = draw(settings);
    return image.isNull() ? QImage(120, 120, QImage::Format_RGB888) : image;
}

QColor SurfaceTestBase::middleOf(const QByteArray& material, const QList<QImage>& textures,
                                 const RenderSettings& settings)
{
    return drawSquare(material, textures, settings).pixelColor(60, 60);
}

bool SurfaceTestBase::loadBall(const QByteArray& properties)
{
    m_folder->write("ball.mtl", "newmtl ball\n" + properties + "\n");
    return m_client->load(m_folder->write("ball.obj", ballObj()));
}
