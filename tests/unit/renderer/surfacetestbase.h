#pragma once

#include "tests/unit/renderer/picturetestbase.h"
#include "tests/unit/renderer/rendererclient.h"
#include "tests/unit/renderer/surfacefiles.h"

#include <QScopedPointer>

/// Base of tests of what surfaces look like: a renderer that looks from the front at squares and balls, and draws
/// pictures of 120 x 120 pixels.
class SurfaceTestBase : public PictureTestBase
{
    Q_OBJECT

protected:
    using RenderSettings = ov3d::protocol::RenderSettings;

    /// @param shading material_type_a.
    /// @param preset material_type_b.
    static RenderSettings with(int shading, int preset = 6);

    /// Light, textures and everything else put aside, for tests of plain colours.
    static RenderSettings raw();

    /// The picture of what is loaded.
    QImage draw(const RenderSettings& settings = {});

    /// Loads a square of that material; a black picture when it could not be drawn.
    QImage drawSquare(const QByteArray& material, const QList<QImage>& textures, const RenderSettings& settings = {},
                      const QByteArray& extension = {});

    /// The middle pixel of that picture.
    QColor middleOf(const QByteArray& material, const QList<QImage>& textures, const RenderSettings& settings = {});

    /// Loads a smooth ball whose material has those properties of an MTL.
    bool loadBall(const QByteArray& properties);

    QScopedPointer<RendererClient> m_client;

protected Q_SLOTS:
    void init();
    void cleanup();
};
