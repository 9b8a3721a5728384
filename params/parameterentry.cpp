// SPDX-License-Identifier: MIT
#include "params/parameterentry.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QSpinBox>
#include <QStyleOption>
#include <QStylePainter>

#include <algorithm>
#include <limits>

// Keys that parameters and groups share.
static QString ordKey()
{
    return QStringLiteral("ord");
}
static QString labelKey()
{
    return QStringLiteral("label");
}
static QString tooltipKey()
{
    return QStringLiteral("tooltip");
}

static bool isHidden(const QVariantMap &descriptor)
{
    return descriptor.value(QStringLiteral("hide")).toBool();
}

/// [minimum, maximum] or [minimum, maximum, step, ...]; empty when there is no valid range.
static QVariantList rangeOf(const QVariantMap &descriptor)
{
    const QVariantList range = descriptor.value(QStringLiteral("range")).toList();
    return range.size() >= 2 ? range : QVariantList();
}

static ParameterKind kindOfEnum(const QVariant &values)
{
    switch (values.userType()) {
    case QMetaType::QVariantList:
        return ParameterKind::EnumList;
    case QMetaType::QVariantMap:
        return ParameterKind::EnumMap;
    default:
        return ParameterKind::Free;
    }
}

ParameterEntry readParameter(const QString &name, const QVariantMap &descriptor)
{
    ParameterEntry entry;
    entry.name = name;
    if (isHidden(descriptor))
        return entry;

    if (descriptor.value(QStringLiteral("type")).toString() == QLatin1String("float"))
        entry.type = ParameterType::Float;
    if (!rangeOf(descriptor).isEmpty()) {
        entry.kind = ParameterKind::Range;
    } else {
        entry.enumValues = descriptor.value(QStringLiteral("enum"));
        entry.kind = kindOfEnum(entry.enumValues);
    }
    // A null from JSON is a variant of its own type; "no default" is always the invalid one.
    const QVariant defaultValue = descriptor.value(QStringLiteral("default"));
    if (!defaultValue.isNull())
        entry.defaultValue = defaultValue;
    // Only absent keys take the fallback: one of the wrong kind converts to 0 or empty.
    entry.group = descriptor.value(QStringLiteral("group")).toString();
    entry.ord = descriptor.value(ordKey(), defaultOrd).toInt();
    entry.prec = descriptor.value(QStringLiteral("prec"), entry.prec).toInt();
    return entry;
}

bool sortsBefore(const ParameterEntry &a, const ParameterEntry &b)
{
    if (a.group == b.group)
        return a.ord != b.ord ? a.ord < b.ord : a.name < b.name;
    if (a.group.isEmpty() || b.group.isEmpty())
        return b.group.isEmpty();
    return a.group < b.group;
}

static QString fixedText(double value, int decimals)
{
    // More decimals than a spin box can show are zeros, but a text of their length may not fit
    // into memory.
    constexpr int most =
        std::numeric_limits<double>::max_exponent10 + std::numeric_limits<double>::digits10;
    return QString::number(value, 'f', qMin(decimals, most));
}

QVector<QPair<QString, QVariant>> choices(const ParameterEntry &entry)
{
    QVector<QPair<QString, QVariant>> items;
    if (entry.kind == ParameterKind::EnumList) {
        const QVariantList values = entry.enumValues.toList();
        for (const QVariant &value : values) {
            items.append({entry.type == ParameterType::Float
                              ? fixedText(value.toDouble(), entry.prec)
                              : QString::number(value.toLongLong()),
                          value});
        }
        return items;
    }
    const QVariantMap values = entry.enumValues.toMap();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        items.append({it.key(), it.value()});
    return items;
}

bool isSameData(const QVariant &a, const QVariant &b)
{
    if (a.userType() != b.userType())
        return false;
    switch (a.userType()) {
    case QMetaType::Double:
        return a.toDouble() == b.toDouble();
    case QMetaType::QVariantList: {
        const QVariantList first = a.toList();
        const QVariantList second = b.toList();
        return std::equal(first.begin(), first.end(), second.begin(), second.end(), isSameData);
    }
    case QMetaType::QVariantMap:
        return isSameMap(a.toMap(), b.toMap());
    default:
        return a == b;
    }
}

bool isSameMap(const QVariantMap &a, const QVariantMap &b)
{
    return std::equal(a.keyBegin(), a.keyEnd(), b.keyBegin(), b.keyEnd())
        && std::equal(a.begin(), a.end(), b.begin(), b.end(), isSameData);
}

std::optional<QString> valueText(const ParameterEntry &entry, const QVariant &value)
{
    if (entry.kind == ParameterKind::EnumMap) {
        // Of several texts for one value the last one is shown.
        std::optional<QString> text;
        bool isExact = false;
        const QVariantMap values = entry.enumValues.toMap();
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            const bool isSame = isSameData(it.value(), value);
            if (isSame || (!isExact && it.value() == value))
                text = it.key();
            isExact = isExact || isSame;
        }
        return text;
    }
    return entry.type == ParameterType::Float ? fixedText(value.toDouble(), entry.prec)
                                              : QString::number(value.toInt());
}

static QCheckBox *
makeCheck(const ParameterEntry &entry, const QVariantMap &descriptor, QWidget *parent)
{
    const QString label = descriptor.value(labelKey(), entry.name).toString();
    const bool enable = descriptor.value(QStringLiteral("enable"), true).toBool();
    auto *const check = new QCheckBox(label, parent);
    check->setObjectName(entry.name + QStringLiteral("_check"));
    check->setChecked(!entry.defaultValue.isNull() && enable);
    return check;
}

static QSpinBox *makeSpin(const ParameterEntry &entry, const QVariantList &range, QWidget *parent)
{
    auto *const spin = new QSpinBox(parent);
    spin->setRange(range.at(0).toInt(), range.at(1).toInt());
    if (range.size() >= 3)
        spin->setSingleStep(range.at(2).toInt());
    if (!entry.defaultValue.isNull())
        spin->setValue(entry.defaultValue.toInt());
    return spin;
}

static QDoubleSpinBox *
makeDoubleSpin(const ParameterEntry &entry, const QVariantList &range, QWidget *parent)
{
    auto *const spin = new QDoubleSpinBox(parent);
    // First of all, because the bounds and the value are rounded to it.
    spin->setDecimals(entry.prec);
    spin->setRange(range.at(0).toDouble(), range.at(1).toDouble());
    if (range.size() >= 3)
        spin->setSingleStep(range.at(2).toDouble());
    if (!entry.defaultValue.isNull())
        spin->setValue(entry.defaultValue.toDouble());
    return spin;
}

static void selectValue(QComboBox *combo, const QVariant &value)
{
    int index = 0;
    while (index < combo->count() && !isSameData(combo->itemData(index), value))
        ++index;
    combo->setCurrentIndex(index < combo->count() ? index : combo->findData(value));
}

namespace {

/// The editor of a parameter that the user cannot set. The looks of a combo box would promise choices,
/// so there is nothing to see but the keyboard focus.
class NoChoice final : public QComboBox
{
public:
    using QComboBox::QComboBox;

protected:
    void paintEvent(QPaintEvent *) override
    {
        if (!hasFocus())
            return;
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        QStylePainter(this).drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
};

} // namespace

static QComboBox *makeCombo(const ParameterEntry &entry, QWidget *parent)
{
    auto *const combo = new QComboBox(parent);
    const auto items = choices(entry);
    for (const auto &[text, value] : items)
        combo->addItem(QIcon(), text, value);
    if (!entry.defaultValue.isNull() && combo->count() > 0)
        selectValue(combo, entry.defaultValue);
    return combo;
}

/// Makes the entry's editor, as yet without what all editors have in common.
static void makeEditor(ParameterEntry &entry, const QVariantMap &descriptor, QWidget *parent)
{
    if (entry.kind != ParameterKind::Range) {
        // Nothing says what a parameter without choices may be, so the user cannot set it.
        const bool isFixed = !descriptor.contains(QStringLiteral("enum"));
        entry.combo = isFixed ? new NoChoice(parent) : makeCombo(entry, parent);
        entry.combo->setMaxVisibleItems(30);
        if (isFixed)
            entry.check->setEnabled(false);
        return;
    }
    QAbstractSpinBox *box = nullptr;
    if (entry.type == ParameterType::Float)
        box = entry.doubleSpin = makeDoubleSpin(entry, rangeOf(descriptor), parent);
    else
        box = entry.spin = makeSpin(entry, rangeOf(descriptor), parent);
    // While a number is being typed its first digits are not yet a value to generate from.
    box->setKeyboardTracking(false);
}

static QLabel *makeValueLabel(const ParameterEntry &entry, QWidget *parent)
{
    auto *const label = new QLabel(parent);
    label->setObjectName(entry.name + QStringLiteral("_value"));
    // The text of a choice is the generator's, and may look like markup.
    label->setTextFormat(Qt::PlainText);
    label->setEnabled(false);
    return label;
}

void makeWidgets(ParameterEntry &entry, const QVariantMap &descriptor, QWidget *parent)
{
    if (isHidden(descriptor))
        return;
    entry.check = makeCheck(entry, descriptor, parent);
    makeEditor(entry, descriptor, parent);
    entry.valueLabel = makeValueLabel(entry, parent);

    QWidget *const editor = editorOf(entry);
    // An editor without any choice has no name to be found by.
    if (entry.kind == ParameterKind::Range || descriptor.contains(QStringLiteral("enum")))
        editor->setObjectName(entry.name);
    const QString toolTip =
        QStringLiteral("[%1] %2").arg(entry.name, descriptor.value(tooltipKey()).toString());
    entry.check->setToolTip(toolTip);
    editor->setToolTip(toolTip);
    editor->setAccessibleName(entry.check->text());
    // The wheel, which may be meant for the form, must not take the focus with it.
    editor->setFocusPolicy(Qt::StrongFocus);
    editor->setEnabled(entry.check->isChecked());
    QObject::connect(entry.check, &QCheckBox::clicked, editor, &QWidget::setEnabled);

    entry.fieldLayout = new QHBoxLayout;
    entry.fieldLayout->addWidget(editor);
    entry.fieldLayout->addWidget(entry.valueLabel);
}

/// A number of its own for each group box of the process, which makes its object name.
static int nextGroupNumber()
{
    static int number = 0;
    return ++number;
}

namespace {

/// A group box whose title is shown whole: styles give it the width of its ink at another scale, which
/// may be a few pixels less than it takes.
class TitledBox final : public QGroupBox
{
public:
    using QGroupBox::QGroupBox;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QStyleOptionGroupBox box;
        initStyleOption(&box);
        box.text += QChar(QChar::Nbsp);
        QStylePainter(this).drawComplexControl(QStyle::CC_GroupBox, box);
    }
};

} // namespace

ParameterGroup makeGroup(const QString &name, const QVariantMap &descriptor, QWidget *parent)
{
    ParameterGroup group;
    group.name = name;
    group.ord = descriptor.value(ordKey(), defaultOrd).toInt();
    group.box = new TitledBox(descriptor.value(labelKey(), name).toString(), parent);
    group.box->setObjectName(QStringLiteral("group_%1").arg(nextGroupNumber()));
    group.box->setToolTip(descriptor.value(tooltipKey()).toString());
    // Owned by the box.
    new QFormLayout(group.box);
    return group;
}

QWidget *editorOf(const ParameterEntry &entry)
{
    if (entry.combo)
        return entry.combo;
    if (entry.spin)
        return entry.spin;
    return entry.doubleSpin;
}

/// The value that a spin box shows: steps leave it a little beside its decimals.
static double shownValue(const QDoubleSpinBox *spin)
{
    const double value = spin->value();
    const double shown = fixedText(value, spin->decimals()).toDouble();
    // Added to zero, a negative zero loses its sign.
    return shown == value ? value : 0.0 + shown;
}

QVariant editorValue(const ParameterEntry &entry)
{
    if (entry.combo)
        return entry.combo->currentData();
    return entry.spin ? QVariant(entry.spin->value()) : QVariant(shownValue(entry.doubleSpin));
}

void setEditorValue(const ParameterEntry &entry, const QVariant &value)
{
    if (entry.combo)
        selectValue(entry.combo, value);
    else if (entry.spin)
        entry.spin->setValue(value.toInt());
    else
        entry.doubleSpin->setValue(value.toDouble());
}
