#include "apps/cli/gesture.h"

#include <QRegularExpression>
#include <QStringList>

#include <cstdlib>

namespace ov3d::apps {

namespace {

constexpr int kMaxNotches = 200;

constexpr const char* kForms = "drag:X,Y-X,Y[:left|right|middle][:shift|alt|ctrl], wheel:N@X,Y[:shift], undo or redo";

bool takeButton(const QString& word, Qt::MouseButton& button)
{
    if (word == QLatin1String("left"))
        button = Qt::LeftButton;
    else if (word == QLatin1String("right"))
        button = Qt::RightButton;
    else if (word == QLatin1String("middle"))
        button = Qt::MiddleButton;
    else
        return false;
    return true;
}

bool takeModifier(const QString& word, Qt::KeyboardModifiers& modifiers)
{
    if (word == QLatin1String("shift"))
        modifiers = Qt::ShiftModifier;
    else if (word == QLatin1String("alt"))
        modifiers = Qt::AltModifier;
    else if (word == QLatin1String("ctrl"))
        modifiers = Qt::ControlModifier;
    else
        return false;
    return true;
}

/// The words after the positions: at most a button, then at most a modifier.
bool readDrag(const QRegularExpressionMatch& match, DragGesture& drag)
{
    drag.from = {match.captured(1).toDouble(), match.captured(2).toDouble()};
    drag.to = {match.captured(3).toDouble(), match.captured(4).toDouble()};
    QStringList words = match.captured(5).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (!words.isEmpty() && takeButton(words.first(), drag.button))
        words.removeFirst();
    if (!words.isEmpty() && takeModifier(words.first(), drag.modifiers))
        words.removeFirst();
    return words.isEmpty();
}

} // namespace

bool parseGesture(const QString& text, Gesture& gesture, QString& error)
{
    static const QString number = QStringLiteral("(-?\\d{1,6}(?:\\.\\d{1,6})?)");
    static const QRegularExpression dragForm(
        QRegularExpression::anchoredPattern(QStringLiteral("drag:%1,%1-%1,%1((?::[a-z]+)*)").arg(number)));
    static const QRegularExpression wheelForm(
        QRegularExpression::anchoredPattern(QStringLiteral("wheel:([+-]?\\d{1,4})@%1,%1(:shift)?").arg(number)));

    if (text == QLatin1String("undo")) {
        gesture = UndoGesture{};
        return true;
    }
    if (text == QLatin1String("redo")) {
        gesture = RedoGesture{};
        return true;
    }
    if (const auto match = dragForm.match(text); match.hasMatch()) {
        DragGesture drag;
        if (readDrag(match, drag)) {
            gesture = drag;
            return true;
        }
    }
    if (const auto match = wheelForm.match(text); match.hasMatch()) {
        const int notches = match.captured(1).toInt();
        if (notches == 0 || std::abs(notches) > kMaxNotches) {
            error =
                QStringLiteral("the gesture \"%1\" must turn the wheel by 1 to %2 notches").arg(text).arg(kMaxNotches);
            return false;
        }
        gesture = WheelGesture{notches,
                               {match.captured(2).toDouble(), match.captured(3).toDouble()},
                               match.captured(4).isEmpty() ? Qt::NoModifier : Qt::ShiftModifier};
        return true;
    }
    error = QStringLiteral("the gesture \"%1\" is none of %2").arg(text, QLatin1String(kForms));
    return false;
}

} // namespace ov3d::apps
