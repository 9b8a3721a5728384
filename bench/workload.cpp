// SPDX-License-Identifier: MIT
#include "bench/workload.h"

#include "session/session.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QSpinBox>

static constexpr char generatorSource[] = R"(
def write(register, value, comment=None):
    instruction = ["REG_WRITE", register, value & 0xFFFF]
    return instruction if comment is None else instruction + [comment]

def descriptor(number):
    kinds = [
        {"range": [0, 1000], "default": number},
        {"type": "float", "range": [0.0, 100.0, 0.5], "prec": 2, "default": 1.5},
        {"enum": {"off": 0, "slow": 1, "fast": 2}, "default": 1},
        {"enum": [1, 2, 4, 8], "default": 4},
    ]
    result = dict(kinds[number % 4], ord=number, tooltip=f"Parameter number {number}")
    if number < PARAMETERS // 2:
        result["group"] = f"group {number // 20}"
    return result

def pll(target):
    best = None
    for pre_div in range(1, 17):
        for multiplier in range(16, 256):
            clock = 24.0 / pre_div * multiplier
            if 384.0 <= clock <= 768.0 and (best is None or abs(clock - target) < best[0]):
                best = (abs(clock - target), pre_div, multiplier)
    return best

def registers(first, count, offset, trim):
    for number in range(first, first + count):
        value = (number * 40503 + offset * 257) % 65521 + (trim if number % 200 == 99 else 0)
        if number % 20 == 0:
            yield ["COMMENT", f"step {number // 20}, offset {offset}"]
        elif number % 4 == 0:
            yield write(f"R0x{0x3000 + 2 * number:04X}", value, f"{value / 64:.2f} per cent")
        else:
            yield write(f"R0x{0x3000 + 2 * number:04X}", value)

class Settings:
    part_numbers = ["BENCH"]

    def parameter_list(self, part):
        result = {f"parameter_{number:04d}": descriptor(number) for number in range(PARAMETERS - 2)}
        result["offset"] = {"range": [0, 30000], "default": 0}
        result["trim"] = {"range": [0, 30000], "default": 0}
        return result

    def generate(self, part, parameters):
        used = {name: row["default"] for name, row in self.parameter_list(part).items()}
        used.update((name, given["value"]) for name, given in parameters.items())
        offset, trim = used["offset"], used["trim"]
        error, pre_div, multiplier = pll(400.0 + offset % 300)
        return {
            "name": f"bench_{offset}",
            "functions": [{"name": f"block_{first}_{offset}",
                           "instructions": list(registers(first, min(250, INSTRUCTIONS - first),
                                                          offset, trim))}
                          for first in range(0, INSTRUCTIONS, 250)],
            "notes": [f"PLL: 24.000 MHz / {pre_div} * {multiplier}, {error:.3f} MHz off"]
                     + [f"note {number}: offset {offset}" for number in range(5)],
            "errors": [],
            "parameters": {name: {"value": value} for name, value in used.items()},
        }
)";

static QString writeGenerator(const QTemporaryDir &folder, int parameters, int instructions)
{
    // One interpreter may run several, so each is a module of its own.
    QFile file(
        folder.filePath(QStringLiteral("settings_%1_%2.py").arg(parameters).arg(instructions)));
    const QByteArray sizes = "PARAMETERS = " + QByteArray::number(parameters)
        + "\nINSTRUCTIONS = " + QByteArray::number(instructions) + '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(sizes + generatorSource) < 0)
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

Workload::Workload(int parameters, int instructions)
    : m_parameters(parameters)
    , m_instructions(instructions)
    , m_path(writeGenerator(m_folder, parameters, instructions))
{
}

QString Workload::moduleName() const
{
    return QStringLiteral("settings_%1_%2").arg(m_parameters).arg(m_instructions);
}

std::shared_ptr<Session> Workload::session() const
{
    return std::make_shared<Session>(m_path, QStringLiteral("BENCH"));
}

QString Workload::name() const
{
    return QStringLiteral("%1 parameters, %2 instructions").arg(m_parameters).arg(m_instructions);
}

static QWidget *plainEditor(const QVariantMap &descriptor, QWidget *parent)
{
    const QVariantList range = descriptor.value(QStringLiteral("range")).toList();
    const QVariant defaultValue = descriptor.value(QStringLiteral("default"));
    if (range.isEmpty()) {
        auto *const combo = new QComboBox(parent);
        const QVariant choices = descriptor.value(QStringLiteral("enum"));
        combo->addItems(choices.type() == QVariant::Map ? QStringList(choices.toMap().keys())
                                                        : choices.toStringList());
        combo->setCurrentIndex(1);
        return combo;
    }
    if (descriptor.contains(QStringLiteral("type"))) {
        auto *const spin = new QDoubleSpinBox(parent);
        spin->setRange(range.at(0).toDouble(), range.at(1).toDouble());
        spin->setValue(defaultValue.toDouble());
        return spin;
    }
    auto *const spin = new QSpinBox(parent);
    spin->setRange(range.at(0).toInt(), range.at(1).toInt());
    spin->setValue(defaultValue.toInt());
    return spin;
}

std::unique_ptr<QWidget> plainForm(const QVariantMap &parameters)
{
    auto area = std::make_unique<QScrollArea>();
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    auto *const contents = new QWidget;
    auto *const contentsLayout = new QVBoxLayout(contents);
    auto *const ungrouped = new QFormLayout;
    QMap<QString, QGroupBox *> groups;
    for (auto row = parameters.begin(); row != parameters.end(); ++row) {
        const QVariantMap descriptor = row.value().toMap();
        const QString group = descriptor.value(QStringLiteral("group")).toString();
        QWidget *parent = contents;
        QFormLayout *form = ungrouped;
        if (!group.isEmpty()) {
            if (!groups.contains(group)) {
                groups.insert(group, new QGroupBox(group, contents));
                contentsLayout->addWidget(groups.value(group));
                new QFormLayout(groups.value(group));
            }
            parent = groups.value(group);
            form = static_cast<QFormLayout *>(parent->layout());
        }
        auto *const check = new QCheckBox(row.key(), parent);
        check->setChecked(true);
        auto *const field = new QHBoxLayout;
        field->addWidget(plainEditor(descriptor, parent));
        field->addWidget(
            new QLabel(descriptor.value(QStringLiteral("default")).toString(), parent));
        form->addRow(check, field);
    }
    contentsLayout->addLayout(ungrouped);
    area->setWidget(contents);
    return area;
}

std::unique_ptr<QPlainTextEdit> plainTextArea()
{
    auto area = std::make_unique<QPlainTextEdit>();
    area->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    area->setReadOnly(true);
    area->setUndoRedoEnabled(false);
    area->setLineWrapMode(QPlainTextEdit::NoWrap);
    return area;
}
