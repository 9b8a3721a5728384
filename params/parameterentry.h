// SPDX-License-Identifier: MIT
#pragma once

#include <QPair>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <QVector>

#include <optional>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QSpinBox;
class QWidget;

enum class ParameterType : qint32 { Integer = 1, Float = 2 };
enum class ParameterKind : qint32 { Free = 0, Range = 1, EnumList = 2, EnumMap = 3 };

/// Sort key of parameters and groups whose descriptor gives none: after all that have one.
constexpr qint32 defaultOrd = 1000000000;

/// One parameter of the form. The widgets belong to the form: the entry and its copies only point
/// at them. A hidden parameter has none; any other has exactly one editor.
struct ParameterEntry
{
    ParameterType type = ParameterType::Integer;
    ParameterKind kind = ParameterKind::Free;
    QString name;
    QString group; ///< Name of the group box, empty for the rows below all boxes.
    qint64 ord = defaultOrd;
    QVariant
        enumValues; ///< A list of values or a map from text to value, as the generator gave it.
    QVariant defaultValue; ///< Null for none.
    qint32 prec = 3; ///< Decimals of what a floating-point parameter shows.
    QCheckBox *check = nullptr;
    QComboBox *combo = nullptr;
    QSpinBox *spin = nullptr;
    QDoubleSpinBox *doubleSpin = nullptr;
    QLabel *valueLabel = nullptr;
    QHBoxLayout *fieldLayout = nullptr;
};

/// A titled group of rows; the rows are in the QFormLayout of its box.
struct ParameterGroup
{
    QString name;
    qint64 ord = defaultOrd;
    QGroupBox *box = nullptr;
};

/// Reads what \a descriptor says about parameter \a name; makes no widgets.
[[nodiscard]] ParameterEntry readParameter(const QString &name, const QVariantMap &descriptor);

/// Strict order of entries: grouped ones by group name, then those without group; within a group
/// by ord, then by name.
[[nodiscard]] bool sortsBefore(const ParameterEntry &a, const ParameterEntry &b);

/// Texts and values of the combo box of a parameter that has an "enum" and no valid "range".
[[nodiscard]] QVector<QPair<QString, QVariant>> choices(const ParameterEntry &entry);

/// Equal without any conversion, unlike the toolkit's variants, to which 1, true and "1" are equal.
[[nodiscard]] bool isSameData(const QVariant &a, const QVariant &b);
[[nodiscard]] bool isSameMap(const QVariantMap &a, const QVariantMap &b);

/// How the value label shows \a value, which is not null; none when the parameter's choices have
/// no text for it.
[[nodiscard]] std::optional<QString> valueText(const ParameterEntry &entry, const QVariant &value);

/// Makes the widgets of the row as children of \a parent, and the field layout, which the caller
/// puts into a form. Nothing for a hidden parameter. The value label is left without text.
void makeWidgets(ParameterEntry &entry, const QVariantMap &descriptor, QWidget *parent);

/// Makes the box, child of \a parent, with an empty form layout.
[[nodiscard]] ParameterGroup
makeGroup(const QString &name, const QVariantMap &descriptor, QWidget *parent);

/// The entry's combo or spin box; null for a hidden parameter.
[[nodiscard]] QWidget *editorOf(const ParameterEntry &entry);

/// The value that the editor holds; invalid for a combo box without current item.
[[nodiscard]] QVariant editorValue(const ParameterEntry &entry);

/// Shows \a value in the editor. A spin box emits valueChanged() when that changes it.
void setEditorValue(const ParameterEntry &entry, const QVariant &value);
