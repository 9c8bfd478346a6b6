#include "apps/board/keptviews.h"

#include "apps/document/viewercommand.h"
#include "host/framework/framework.h"
#include "viewer/session/commands.h"

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr const char* kCountProperty = "ov3dKeptViews";
constexpr const char* kNamesProperty = "ov3dKeptViewNames";

/// Views kept for undo, of the viewer's limit.
constexpr int kViewsForUndo = 48;

/// The control character tells it from every name of the user's. No blank: the viewer trims names.
QString nameOf(quint64 number)
{
    return QStringLiteral("undo\x01%1").arg(number % kViewsForUndo);
}

bool hasControlCharacter(const QString& name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

} // namespace

const int kMostNamedViews = kMaxKeptViews - kViewsForUndo;

KeptView KeptView::of(CBaseObject& item)
{
    KeptView view;
    const quint64 number = item.property(kCountProperty).toULongLong() + 1;
    if (!sendViewerCommand(item, kCommandKeepView, nameOf(number)).isEmpty())
        return view;
    item.setProperty(kCountProperty, number);
    view.m_number = number;
    return view;
}

bool KeptView::returnTo(CBaseObject& item) const
{
    const quint64 newest = item.property(kCountProperty).toULongLong();
    if (m_number == 0 || newest - m_number >= kViewsForUndo)
        return false;
    return sendViewerCommand(item, kCommandReturnToView, nameOf(m_number)).isEmpty();
}

QString keepNamedView(CBaseObject& item, const QString& name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return QStringLiteral("a view needs a name");
    if (hasControlCharacter(trimmed))
        return QStringLiteral("the name of a view cannot hold control characters");
    QStringList names = namedViews(item);
    names.removeAll(trimmed);
    if (names.size() >= kMostNamedViews)
        return QStringLiteral("%1 views are kept already, which is the limit; one of their names can be used again")
            .arg(kMostNamedViews);
    QString error = sendViewerCommand(item, kCommandKeepView, trimmed);
    if (error.isEmpty())
        item.setProperty(kNamesProperty, names << trimmed);
    return error;
}

QStringList namedViews(const CBaseObject& item)
{
    return item.property(kNamesProperty).toStringList();
}

} // namespace ov3d::apps
