#pragma once

#include "host/framework/framework.h"

namespace ov3d::apps {

/// Stands on a page for an item that is being loaded, or that cannot be: a grey card that says so. GUI thread.
///
/// It can be selected, and so moved and removed, only once it is known that no item will take its place.
class PlaceholderItem : public CBaseObject
{
public:
    PlaceholderItem(const QRectF& frame, const QString& name);

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
    QString m_name;
    QString m_text;
    State m_state = State::waiting;
};

} // namespace ov3d::apps
