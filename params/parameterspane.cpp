// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"

#include "params/readablepalette.h"
#include "ui_parameterspane.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

/// Stands for one emission of parameterChanged(), by whichever pane of the process.
///
/// A receiver may process events and so have this or another pane rebuilt, while a widget there is
/// still handling the click, key press or loss of focus that led here. deleteLater() does not save
/// it: what a nested round of events asks to delete is gone before the outer handler gets on. So
/// widgets that are dropped meanwhile wait for the outermost emission to end.
class Emission
{
public:
    Emission() { ++depth; }
    ~Emission();
    Q_DISABLE_COPY(Emission)

    [[nodiscard]] static bool isRunning() { return depth > 0; }
    static void deleteAfter(QWidget *widget);

private:
    static inline int depth = 0;
    static inline QVector<QPointer<QWidget>> dropped;
};

Emission::~Emission()
{
    if (--depth > 0)
        return;
    const auto widgets = std::exchange(dropped, {});
    for (const QPointer<QWidget> &widget : widgets) {
        if (widget)
            widget->deleteLater();
    }
}

/// Deletes \a widget when control returns to the event loop and no emission is running.
void Emission::deleteAfter(QWidget *widget)
{
    if (isRunning())
        dropped.append(widget);
    else
        widget->deleteLater();
}

/// Keeps the wheel, while it scrolls the form, from changing the editors that pass under the pointer:
/// only the one with the keyboard focus steps then.
class WheelGuard final : public QObject
{
public:
    explicit WheelGuard(QScrollArea *form)
        : QObject(form)
        , m_form(form)
    {
    }

    bool eventFilter(QObject *editor, QEvent *event) override
    {
        if (event->type() != QEvent::Wheel || static_cast<QWidget *>(editor)->hasFocus())
            return false;
        if (m_form->verticalScrollBar()->maximum() > 0) {
            // On to the form.
            event->ignore();
            return true;
        }
        static_cast<QWidget *>(editor)->setFocus(Qt::MouseFocusReason);
        return false;
    }

private:
    QScrollArea *const m_form;
};

} // namespace

static QString valueKey()
{
    return QStringLiteral("value");
}

ParametersPane::ParametersPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ParametersPane>())
    , m_contentsLayout(new QVBoxLayout)
    , m_formLayout(std::make_unique<QFormLayout>())
{
    m_ui->setupUi(this);
    m_wheelGuard = new WheelGuard(m_ui->scrollArea);
    m_ui->contents->setLayout(m_contentsLayout);
    m_contentsLayout->setObjectName(QStringLiteral("contentsLayout"));
    m_contentsLayout->setContentsMargins(0, 0, 2, 0);
    m_formLayout->setObjectName(QStringLiteral("formLayout"));
    // What is greyed here is to be read as well: it is what the generator chose, or would choose.
    setPalette(readablePalette());
    connect(
        qApp, &QGuiApplication::paletteChanged, this, [this] { setPalette(readablePalette()); });
}

ParametersPane::~ParametersPane()
{
    // Hiding the focused spin box would commit what is typed in it, when nobody can be told.
    silenceRows();
}

void ParametersPane::setParameters(const QVariantMap &parameters, const QVariantMap &groups)
{
    if (isSameMap(parameters, m_parameterDescriptors) && isSameMap(groups, m_groupDescriptors))
        return;
    finishSetValues();
    const QVariantMap saved = values();
    const bool hadEntries = !m_entries.isEmpty();
    silenceRows();
    const QString focused = takeFocus();

    // Rows come and go while their parent is hidden: one that is shown by itself has the whole form
    // laid out anew, which takes seconds for hundreds of rows.
    const bool wasVisible = m_ui->contents->isVisible();
    if (wasVisible)
        m_ui->contents->hide();
    removeGroups();
    removeRows();
    m_parameterDescriptors = parameters;
    m_groupDescriptors = groups;
    readEntries();
    makeGroups();
    fillForms();
    if (wasVisible)
        m_ui->contents->show();

    giveFocus(focused);
    // Last, because a receiver may call this function again.
    if (hadEntries)
        setValues(saved);
}

void ParametersPane::silenceRows()
{
    for (const ParameterEntry &entry : qAsConst(m_entries)) {
        if (!entry.check)
            continue;
        entry.check->blockSignals(true);
        editorOf(entry)->blockSignals(true);
    }
}

void ParametersPane::removeGroups()
{
    for (const ParameterGroup &group : qAsConst(m_groups)) {
        m_contentsLayout->removeWidget(group.box);
        group.box->hide();
        Emission::deleteAfter(group.box);
    }
    m_groups.clear();
}

void ParametersPane::removeRows()
{
    m_contentsLayout->removeItem(m_formLayout.get());
    // From the back: a form layout moves all rows behind the one that is taken.
    for (int row = m_formLayout->rowCount() - 1; row >= 0; --row) {
        const QFormLayout::TakeRowResult cells = m_formLayout->takeRow(row);
        const std::unique_ptr<QLayoutItem> label(cells.labelItem);
        const std::unique_ptr<QLayoutItem> field(cells.fieldItem);
    }
    auto rows = std::make_unique<QWidget>(m_ui->contents);
    for (const ParameterEntry &entry : qAsConst(m_entries)) {
        if (!entry.check || !entry.group.isEmpty())
            continue;
        entry.check->setParent(rows.get());
        editorOf(entry)->setParent(rows.get());
        entry.valueLabel->setParent(rows.get());
    }
    // One by one into another window, each would search all tab stops.
    rows->setParent(nullptr);
    if (Emission::isRunning())
        Emission::deleteAfter(rows.release());
}

void ParametersPane::readEntries()
{
    m_entries.clear();
    m_entries.reserve(m_parameterDescriptors.size());
    for (auto it = m_parameterDescriptors.cbegin(); it != m_parameterDescriptors.cend(); ++it)
        m_entries.append(readParameter(it.key(), it.value().toMap()));
    std::sort(m_entries.begin(), m_entries.end(), sortsBefore);
    m_nextToSet = m_entries.size();
}

void ParametersPane::makeGroups()
{
    for (const ParameterEntry &entry : qAsConst(m_entries)) {
        if (entry.group.isEmpty() || m_groups.contains(entry.group))
            continue;
        const QVariantMap descriptor = m_groupDescriptors.value(entry.group).toMap();
        m_groups.insert(entry.group, makeGroup(entry.group, descriptor, m_ui->contents));
    }
}

void ParametersPane::fillForms()
{
    // Of equal ord, the map's order, which is that of the names, stays.
    QList<ParameterGroup> groups = m_groups.values();
    std::stable_sort(
        groups.begin(), groups.end(), [](const auto &a, const auto &b) { return a.ord < b.ord; });
    for (const ParameterGroup &group : qAsConst(groups)) {
        m_contentsLayout->addWidget(group.box);
        addRows(static_cast<QFormLayout *>(group.box->layout()), group.name, group.box);
    }
    // Into the contents only when it is full.
    addRows(m_formLayout.get(), QString(), m_ui->contents);
    m_contentsLayout->addLayout(m_formLayout.get());
}

/// Adds the rows of \a group to \a form, with widgets that are children of \a parent.
///
/// Widgets are made in the order in which they are seen, because that is their tab order.
/// QWidget::setTabOrder() for each would take time that grows with the square of the rows.
void ParametersPane::addRows(QFormLayout *form, const QString &group, QWidget *parent)
{
    for (ParameterEntry &entry : m_entries) {
        if (entry.group != group)
            continue;
        makeWidgets(entry, m_parameterDescriptors.value(entry.name).toMap(), parent);
        if (!entry.check)
            continue;
        form->addRow(entry.check, entry.fieldLayout);
        formatValue(entry, entry.defaultValue);
        connectEntry(entry);
    }
}

void ParametersPane::connectEntry(const ParameterEntry &entry)
{
    editorOf(entry)->installEventFilter(m_wheelGuard);
    constexpr auto changed = &ParametersPane::announceChange;
    connect(entry.check, &QCheckBox::clicked, this, changed);
    if (entry.combo)
        connect(entry.combo, qOverload<int>(&QComboBox::activated), this, changed);
    else if (entry.spin)
        connect(entry.spin, qOverload<int>(&QSpinBox::valueChanged), this, changed);
    else
        connect(entry.doubleSpin, qOverload<double>(&QDoubleSpinBox::valueChanged), this, changed);
}

void ParametersPane::announceChange()
{
    const Emission emission;
    Q_EMIT parameterChanged();
}

QVariantMap ParametersPane::values() const
{
    QVariantMap values;
    for (const ParameterEntry &entry : m_entries) {
        if (entry.check && entry.check->isChecked())
            values.insert(entry.name, QVariantMap{{valueKey(), editorValue(entry)}});
    }
    return values;
}

void ParametersPane::setValues(const QVariantMap &values)
{
    finishSetValues();
    m_valuesToSet = values;
    m_nextToSet = 0;
    const QPointer<ParametersPane> pane(this);
    while (pane && m_nextToSet < m_entries.size()) {
        // Copies: a receiver may set other values or rebuild the form, and leaves nothing to set.
        const ParameterEntry entry = m_entries.at(m_nextToSet++);
        const QVariantMap valuesToSet = m_valuesToSet;
        applyValue(entry, valuesToSet);
    }
}

/// Completes an interrupted setValues(), so that nothing it was given is lost. Without emitting:
/// whoever sets values generates afterwards anyway, as ticks alone are never announced.
void ParametersPane::finishSetValues()
{
    for (; m_nextToSet < m_entries.size(); ++m_nextToSet) {
        const ParameterEntry &entry = m_entries.at(m_nextToSet);
        const QSignalBlocker blocker(editorOf(entry));
        applyValue(entry, m_valuesToSet);
    }
}

void ParametersPane::applyValue(const ParameterEntry &entry, const QVariantMap &values)
{
    if (!entry.check)
        return;
    const QVariantMap given = values.value(entry.name).toMap();
    const bool present = given.contains(valueKey());
    entry.check->setChecked(present);
    {
        // Disabling takes the focus away, which commits what is being typed.
        const QSignalBlocker blocker(editorOf(entry));
        editorOf(entry)->setEnabled(present);
    }
    // Last, because a receiver may run now.
    if (present)
        setEditorValue(entry, given.value(valueKey()));
}

void ParametersPane::showUsedValues(const QVariantMap &usedValues)
{
    for (const ParameterEntry &entry : qAsConst(m_entries)) {
        const QVariantMap used = usedValues.value(entry.name).toMap();
        if (!entry.check || !used.contains(valueKey()))
            continue;
        const bool ticked = entry.check->isChecked();
        formatValue(entry, ticked ? entry.defaultValue : used.value(valueKey()));
        entry.valueLabel->setEnabled(!ticked);
    }
}

void ParametersPane::formatValue(const ParameterEntry &entry, const QVariant &value)
{
    const std::optional<QString> text = value.isNull() ? tr("(none)") : valueText(entry, value);
    if (text)
        entry.valueLabel->setText(*text);
}

void ParametersPane::focusFirstRow()
{
    const QWidget *const contents = m_ui->contents;
    for (QWidget *widget = contents->nextInFocusChain(); widget != contents;
         widget = widget->nextInFocusChain()) {
        if (contents->isAncestorOf(widget) && widget->isEnabled()
            && (widget->focusPolicy() & Qt::TabFocus)) {
            widget->setFocus();
            return;
        }
    }
}

/// Takes the keyboard focus from the row widget that has it, and returns that one's object name.
QString ParametersPane::takeFocus()
{
    const QWidget *const focused = m_ui->contents->focusWidget();
    if (!focused || !focused->hasFocus())
        return {};
    // Else it would wander through the other rows and out of the pane.
    m_ui->scrollArea->setFocus();
    return focused->objectName();
}

void ParametersPane::giveFocus(const QString &objectName)
{
    if (objectName.isEmpty())
        return;
    for (const ParameterEntry &entry : qAsConst(m_entries)) {
        if (!entry.check)
            continue;
        for (QWidget *const widget : {static_cast<QWidget *>(entry.check), editorOf(entry)}) {
            if (widget->objectName() == objectName)
                widget->setFocus();
        }
    }
}
