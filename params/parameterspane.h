// SPDX-License-Identifier: MIT
#pragma once

#include "params/parameterentry.h"

#include <QMap>
#include <QVariantMap>
#include <QVector>
#include <QWidget>

#include <memory>

class QFormLayout;
class QVBoxLayout;
namespace Ui {
class ParametersPane;
}

/// The form of a mode's parameters: a row of check box, editor and value label for each, in titled
/// groups. The values live in the widgets only.
///
/// A receiver of parameterChanged() may call any function of the pane, and may let pending events
/// do so, also while setParameters() or setValues() is emitting: the newest call wins, and the one
/// it interrupted returns without touching the form again.
class ParametersPane : public QWidget
{
    Q_OBJECT

public:
    explicit ParametersPane(QWidget *parent = nullptr);
    ~ParametersPane() override;

    /// Builds the form from maps of parameter and group name to descriptor. What is set in the
    /// form stays set where its parameter stays. Nothing happens when both maps are unchanged.
    void setParameters(const QVariantMap &parameters, const QVariantMap &groups);

    /// The ticked parameters: a map from name to a map with the one key "value", which is invalid
    /// for a combo box without current item.
    [[nodiscard]] QVariantMap values() const;

    /// Ticks and fills the parameters that \a values, shaped like values(), holds, and unticks all
    /// others. Emits parameterChanged() at once for each spin box whose value changes.
    void setValues(const QVariantMap &values);

    /// Shows what the generator used, a map shaped like values(), in the labels of the unticked
    /// parameters.
    void showUsedValues(const QVariantMap &usedValues);

    /// Gives the keyboard to the first row that takes it.
    void focusFirstRow();

Q_SIGNALS:
    /// The user, or setValues() in a spin box, changed something; once for each change.
    void parameterChanged();

private Q_SLOTS:
    void announceChange();

private:
    void silenceRows();
    void removeGroups();
    void removeRows();
    void readEntries();
    void makeGroups();
    void fillForms();
    void addRows(QFormLayout *form, const QString &group, QWidget *parent);
    void connectEntry(const ParameterEntry &entry);
    void finishSetValues();
    [[nodiscard]] QString takeFocus();
    void giveFocus(const QString &objectName);
    static void applyValue(const ParameterEntry &entry, const QVariantMap &values);
    static void formatValue(const ParameterEntry &entry, const QVariant &value);

    const std::unique_ptr<Ui::ParametersPane> m_ui;
    QVBoxLayout *const m_contentsLayout;
    // Outside of the contents while its rows change, so no parent owns it for good.
    const std::unique_ptr<QFormLayout> m_formLayout;
    QObject *m_wheelGuard = nullptr;
    QVariantMap m_parameterDescriptors;
    QVariantMap m_groupDescriptors;
    QMap<QString, ParameterGroup> m_groups;
    QVector<ParameterEntry> m_entries; // in the order of sortsBefore()

    // What setValues() is applying and the next entry to get its share; past the last one when
    // nothing is left to do.
    QVariantMap m_valuesToSet;
    int m_nextToSet = 0;
};
