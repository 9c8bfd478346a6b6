#include "apps/board/settingspanel.h"

#include "apps/board/settingwords.h"
#include "apps/document/itemsettings.h"
#include "host/framework/framework.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QJsonArray>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr double kNumberStep = 0.05;
constexpr int kNumberDecimals = 3;
constexpr int kIntensityStep = 1000; ///< for what goes into the ten thousands
constexpr double kLetterShare = 0.9; ///< of the window's letters
constexpr int kPatchSide = 14;
constexpr double kLargeRange = 10'000;

/// A background of the key colour is none: the page shows through.
const QColor kNoBackground(51, 252, 26);

QColor colourOf(const QJsonValue& value)
{
    const QJsonArray numbers = value.toArray();
    const auto part = [&numbers](int i) { return std::clamp(numbers.at(i).toDouble(), 0.0, 1.0); };
    return QColor::fromRgbF(part(0), part(1), part(2));
}

/// What has eight bits stays exact to the reader: k / 255.
QJsonArray numbersOf(const QColor& colour)
{
    return {colour.red() / 255.0, colour.green() / 255.0, colour.blue() / 255.0};
}

/// With an edge, so that white is seen.
QIcon patchOf(const QColor& colour)
{
    QPixmap patch(kPatchSide, kPatchSide);
    patch.fill(Qt::darkGray);
    QPainter(&patch).fillRect(patch.rect().adjusted(1, 1, -1, -1), colour);
    return patch;
}

const SettingInfo* infoOf(const QString& key)
{
    for (const SettingInfo& info : settingInfos()) {
        if (key == QLatin1String(info.key))
            return &info;
    }
    return nullptr;
}

} // namespace

SettingsPanel::SettingsPanel(QWidget* parent)
    : QScrollArea(parent)
{
    auto* content = new QWidget(this);
    QFont font = content->font();
    font.setPointSizeF(font.pointSizeF() * kLetterShare);
    content->setFont(font);
    auto* column = new QVBoxLayout(content);
    for (const SettingGroup& group : panelGroups())
        column->addWidget(makeGroup(group, content));
    column->addStretch();
    // One edge for the fields of all groups.
    int widest = 0;
    for (const QLabel* label : qAsConst(m_labels))
        widest = std::max(widest, label->sizeHint().width());
    for (QLabel* label : qAsConst(m_labels))
        label->setMinimumWidth(widest);
    setWidget(content);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setMinimumWidth(content->minimumSizeHint().width() + 24);
    showItem(nullptr);
}

QWidget* SettingsPanel::makeGroup(const SettingGroup& group, QWidget* content)
{
    auto* box = new QGroupBox(group.title, content);
    auto* form = new QFormLayout(box);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    for (const QString& key : group.keys) {
        const SettingInfo* info = infoOf(key);
        if (!info)
            continue;
        const Field field = makeField(*info);
        field.widget->setObjectName(key);
        field.widget->setToolTip(QStringLiteral("%1 (%2)").arg(settingHint(key), key));
        auto* label = new QLabel(settingLabel(key), box);
        label->setToolTip(field.widget->toolTip());
        form->addRow(label, field.widget);
        m_labels << label;
        m_fields.insert(key, field);
    }
    return box;
}

void SettingsPanel::showItem(CBaseObject* item)
{
    const auto settings = item ? readSettings(*item) : std::nullopt;
    widget()->setEnabled(settings && !item->isLocked());
    const QScopedValueRollback<bool> filling(m_isFilling, true);
    for (auto field = m_fields.begin(); field != m_fields.end(); ++field)
        field->set(settings ? settings->value(field.key()) : QJsonValue(QJsonValue::Undefined));
}

void SettingsPanel::report(const QString& key, const QJsonValue& value)
{
    if (!m_isFilling)
        Q_EMIT changed(key, value);
}

SettingsPanel::Field SettingsPanel::makeField(const SettingInfo& info)
{
    const QString key = QLatin1String(info.key);
    switch (info.type) {
    case SettingInfo::Type::flag:
        return flagField(key);
    case SettingInfo::Type::integer:
        return settingChoices(key).isEmpty() ? integerField(info) : choiceField(key);
    case SettingInfo::Type::colour:
        return colourField(key);
    case SettingInfo::Type::numbers:
        break;
    }
    return numbersField(info);
}

SettingsPanel::Field SettingsPanel::flagField(const QString& key)
{
    auto* box = new QCheckBox(this);
    connect(box, &QCheckBox::toggled, this, [this, key](bool on) { report(key, on); });
    return {box, [box](const QJsonValue& value) { box->setChecked(value.toBool()); }};
}

SettingsPanel::Field SettingsPanel::choiceField(const QString& key)
{
    auto* box = new QComboBox(this);
    box->addItems(settingChoices(key));
    connect(box, qOverload<int>(&QComboBox::activated), this, [this, key](int index) { report(key, index); });
    return {box, [box](const QJsonValue& value) { box->setCurrentIndex(value.toInt(-1)); }};
}

SettingsPanel::Field SettingsPanel::integerField(const SettingInfo& info)
{
    const QString key = QLatin1String(info.key);
    auto* box = new QSpinBox(this);
    box->setRange(static_cast<int>(info.minimum), static_cast<int>(info.maximum));
    box->setSingleStep(info.maximum > kLargeRange ? kIntensityStep : 1);
    box->setGroupSeparatorShown(true);
    box->setKeyboardTracking(false);
    connect(box, qOverload<int>(&QSpinBox::valueChanged), this, [this, key](int value) { report(key, value); });
    return {box, [box](const QJsonValue& value) {
                box->setValue(value.toInt());
                if (value.isUndefined())
                    box->clear();
            }};
}

SettingsPanel::Field SettingsPanel::numbersField(const SettingInfo& info)
{
    const QString key = QLatin1String(info.key);
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    QList<QDoubleSpinBox*> boxes;
    for (int i = 0; i < info.count; ++i) {
        auto* box = new QDoubleSpinBox(row);
        box->setRange(info.minimum, info.maximum);
        box->setDecimals(kNumberDecimals);
        box->setSingleStep(kNumberStep);
        box->setKeyboardTracking(false);
        box->setButtonSymbols(QAbstractSpinBox::NoButtons);
        layout->addWidget(box);
        boxes << box;
    }
    for (QDoubleSpinBox* box : boxes) {
        connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this, key, boxes] {
            QJsonArray numbers;
            for (const QDoubleSpinBox* each : boxes)
                numbers.append(each->value());
            report(key, numbers);
        });
    }
    return {row, [boxes](const QJsonValue& value) {
                for (int i = 0; i < boxes.size(); ++i) {
                    boxes[i]->setValue(value.toArray().at(i).toDouble());
                    if (value.isUndefined())
                        boxes[i]->clear();
                }
            }};
}

SettingsPanel::Field SettingsPanel::colourField(const QString& key)
{
    auto* button = new QPushButton(this);
    const auto show = [button, isBackground = key == QLatin1String("bg_color")](const QColor& colour) {
        const bool isNone = isBackground && colour.rgb() == kNoBackground.rgb();
        button->setText(QLatin1Char(' ') + (isNone ? QStringLiteral("none") : colour.name().toUpper()));
        button->setProperty("colour", colour);
        button->setIcon(isNone ? QIcon() : patchOf(colour));
    };
    connect(button, &QPushButton::clicked, this, [this, key, button, show] {
        const QColor chosen =
            QColorDialog::getColor(button->property("colour").value<QColor>(), this, settingTitle(key));
        if (!chosen.isValid())
            return;
        show(chosen);
        report(key, numbersOf(chosen));
    });
    return {button, [button, show](const QJsonValue& value) {
                if (!value.isUndefined()) {
                    show(colourOf(value));
                    return;
                }
                button->setText({});
                button->setIcon({});
            }};
}

} // namespace ov3d::apps
