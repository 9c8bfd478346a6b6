#pragma once

#include "host/framework/framework.h"

#include <QImage>

namespace ov3d::apps {

/// Stands on a page for an item that is being loaded, or that cannot be. GUI thread.
///
/// As long as an item may still come it looks as the item did when it was saved, so that a page's picture does not lose
/// what happens not to be loaded; without such a picture, and once the item has failed, it is a grey card that says so.
/// It can be selected, and so moved and removed, only once it is known that no item will take its place.
class PlaceholderItem : public CBaseObject
{
public:
    PlaceholderItem(const QRectF& frame, const QString& name);

    /// The item's own preview picture, read when it is first painted.
    void setPicture(const QString& path) { m_picturePath = path; }

    /// @param reason  the rest of a sentence that begins with the name.
    void showFailure(const QString& reason);
    void showWaiting();
    void showLoading();
    void showArriving();
    enum class State
    {
        waiting,
        loading,
        arriving, ///< being inserted or pasted: no part of the document yet
        failed,
    };
    [[nodiscard]] State state() const { return m_state; }

    [[nodiscard]] QString name() const { return m_name; }
    [[nodiscard]] QString text() const { return m_text; }

    int type() const override;
    void OnQPainterDraw(QPainter* painter) override;

private:
    const QImage& picture();
    void drawCard(QPainter& painter) const;

    QString m_picturePath; ///< empty once it has been read
    QImage m_picture;
    QString m_name;
    QString m_text;
    State m_state = State::waiting;
};

} // namespace ov3d::apps
