// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"
#include "support/table.h"
#include "support/testmain.h"
#include "support/textcontrast.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QJsonDocument>
#include <QSplitter>
#include <QTimer>
#include <QWheelEvent>

/// A map as it comes from Python, of those in a text with single quotes for double ones.
static QVariantMap map(QString text, int index = 0)
{
    const auto json = QJsonDocument::fromJson('[' + text.replace('\'', '"').toUtf8() + ']');
    return json.toVariant().toList().value(index).toMap();
}

static QString valuesText(const ParametersPane *pane)
{
    QString text = QJsonDocument::fromVariant(pane->values()).toJson(QJsonDocument::Compact);
    return text.remove("{\"value\":").replace("},", ",").replace("}}", "}").remove('"');
}

static QString get(const QWidget *widget, const QString &property)
{
    return widget ? widget->property(qPrintable(property)).toString() : "no widget";
}

/// In the row of a check box, the editor or, as second cell, the value label.
static QWidget *cell(QCheckBox *check, int index)
{
    for (auto *const form : check->parentWidget()->findChildren<QFormLayout *>()) {
        if (const int position = form->indexOf(check); position >= 0)
            return form->itemAt(position + 1)->layout()->itemAt(index)->widget();
    }
    qFatal("%s is in no form", qPrintable(check->objectName()));
}

/// What is seen of a row: "x label: editor; value label", with "!" before what is disabled.
static QString rowText(QCheckBox *check)
{
    const QWidget *const editor = cell(check, 0);
    const auto dim = [](const QWidget *widget) { return QString(widget->isEnabled() ? "" : "!"); };
    QString text = get(editor, "decimals").isEmpty() ? "int" : "float." + get(editor, "decimals");
    text += ' ' + get(editor, "minimum") + ".." + get(editor, "maximum") + " by "
        + get(editor, "singleStep") + " = " + get(editor, "value");
    if (auto *const combo = qobject_cast<const QComboBox *>(editor)) {
        QStringList choices;
        for (int i = 0; i < combo->count(); ++i)
            choices += combo->itemText(i) + ':' + combo->itemData(i).toString();
        text = '[' + choices.join(' ') + "] at " + get(combo, "currentIndex");
    }
    if (check->visibleRegion().isEmpty())
        return "out of sight";
    return dim(check) + (check->isChecked() ? "x " : "- ") + check->text() + ": " + dim(editor)
        + text + "; " + dim(cell(check, 1)) + get(cell(check, 1), "text");
}

/// How many of the disabled texts that are in sight can be read.
static QString readableTexts(QWidget *pane)
{
    const QImage image = pane->grab().toImage();
    int count = 0;
    int readable = 0;
    for (const auto *const widget : pane->findChildren<QWidget *>()) {
        const bool isCombo = widget->inherits("QComboBox") && !get(widget, "currentText").isEmpty();
        if (widget->isEnabled()
            || !(isCombo || widget->inherits("QLabel") || widget->inherits("QCheckBox")
                 || widget->inherits("QLineEdit")))
            continue;
        // Without the frame, the arrow, the box to tick.
        const QRect text = isCombo
            ? widget->rect().adjusted(5, 5, -25, -5)
            : widget->rect().adjusted(get(widget, "tristate").isEmpty() ? 0 : 22, 2, 0, -2);
        ++count;
        readable += textContrast(image.copy(text.translated(widget->mapTo(pane, QPoint())))) >= 4.5;
    }
    return QString("%1 of %2").arg(readable).arg(count);
}

/// Acts as a user at a row: by a click on its check box, at its editor, or with the keys named.
static void act(QCheckBox *check, const QString &action)
{
    QWidget *const editor = cell(check, 0);
    QWheelEvent turn(QPointF(), QPointF(), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
    if (action == "click")
        return QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(8, check->height() / 2));
    if (action == "arrow")
        return QTest::mouseClick(editor, Qt::LeftButton, {}, QPoint(editor->width() - 5, 5));
    if (action == "wheel") {
        // Only from the outside does the wheel move the focus.
        QSpontaneKeyEvent::setSpontaneous(&turn);
        return void(qApp->notify(editor, &turn));
    }
    editor->setFocus(Qt::TabFocusReason);
    for (const QString &key : action.split(' ', Qt::SkipEmptyParts))
        QTest::keyClick(editor->window()->focusWidget(), Qt::Key(QKeySequence(key)[0]));
}

/// Plays scripts to a pane and compares what is seen. tests/data/params/scripts.txt explains them.
class tst_ParametersPane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script_data() { loadTable("params/scripts"); }
    void script() { play("$"); }
    void row_data() { loadTable("params/rows"); }
    void row() { play("form {'p':$}; row p"); }
    void order_data() { loadTable("params/order"); }
    void order() { play("form $; layout; both form {'other':{}}; both form $; layout"); }
    void values_data() { loadTable("params/values"); }
    void values()
    {
        play("form {'i':{'range':[0,9],'default':4},'f':{'type':'float','range':[0,1]},'n':{},"
             "'m':{'enum':{'a':'u','b':'v'},'default':'u'},'l':{'enum':[1,2]},'h':{'hide':true}}; "
             "$; values; row i");
    }
    void callsWhileEmitting_data() { loadTable("params/whileemitting"); }
    void callsWhileEmitting()
    {
        const QString script =
            "both form {'a':{%1'range':[0,99],'default':4},'b':{'range':[0,9]},"
            "'d':{%1'enum':[4,5,7],'default':4}}; $; values; on b click; form {'z':{}}; layout";
        play(script.arg(""));
        play(script.arg("'group':'g',"));
    }
    void interruptedSetValues_data() { loadTable("params/interrupted"); }
    /// In a call of setValues(), and in the one that a rebuild makes.
    void interruptedSetValues()
    {
        const QString form =
            "form {'a':{'range':[0,%1]},'b':{'range':[0,%1]},'c':{'range':[0,%1]}}; ";
        play(form.arg(50) + "$; set {'a':{'value':1},'b':{'value':2},'c':{'value':3}}; values; "
             + form.arg(70) + "values");
        play("form {'a':{'range':[0,9],'default':1},'b':{'range':[0,9],'default':2},"
             "'c':{'range':[0,9],'default':3}}; $; "
             + form.arg(60) + "values; " + form.arg(70) + "values");
    }

private:
    /// Plays a script with the "steps" of the row in the place of $.
    void play(QString script)
    {
        const QPalette palette = QApplication::palette();
        QSplitter window;
        m_pane = new ParametersPane(&window);
        m_beside = new ParametersPane(&window);
        m_seen.clear();
        m_firstGroup = 0;
        window.resize(600, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        connect(m_pane, &ParametersPane::parameterChanged, this, &tst_ParametersPane::receive);
        QFETCH(QString, steps);
        for (const QString &step : script.replace("$", steps).split("; ", Qt::SkipEmptyParts)) {
            run(m_pane, step);
            QTest::qWait(0);
        }
        delete std::exchange(m_pane, nullptr);
        QApplication::setPalette(palette);
        QTEST(m_seen.join(" / "), "seen");
    }

    void run(ParametersPane *pane, const QString &step)
    {
        const QString verb = step.section(' ', 0, 0);
        const QString rest = step.section(' ', 1);
        const QString name = rest.section(' ', 0, 0);
        if (verb == "both")
            for (ParametersPane *const each : {m_beside, m_pane})
                run(each, rest);
        else if (verb == "beside")
            run(m_beside, rest);
        else if (verb == "later")
            QTimer::singleShot(0, pane, [=] { run(pane, rest); });
        else if (verb == "alone") {
            pane->setParent(nullptr);
            pane->show();
        } else if (verb == "during")
            m_during += rest;
        else if (verb == "form")
            pane->setParameters(map(rest), map(rest, 1));
        else if (verb == "set")
            pane->setValues(map(rest));
        else if (verb == "used")
            pane->showUsedValues(map(rest));
        else if (verb == "on")
            act(pane->findChild<QCheckBox *>(name + "_check"), rest.section(' ', 1));
        else if (verb == "values")
            m_seen += valuesText(pane);
        else if (verb == "row")
            m_seen += rowText(pane->findChild<QCheckBox *>(name + "_check"));
        else if (verb == "layout")
            m_seen += layoutText(pane);
        else if (verb == "palette")
            QApplication::setPalette({QColor(name), QColor(rest.section(' ', 1))});
        else if (verb == "readable")
            m_seen += readableTexts(pane);
        else if (verb == "blank") {
            const QImage image =
                cell(pane->findChild<QCheckBox *>(name + "_check"), 0)->grab().toImage();
            m_seen += textContrast(image) > 1 ? "drawn" : "blank";
        } else if (verb == "get")
            m_seen += get(pane->findChild<QWidget *>(name), rest.section(' ', 1));
        else
            qFatal("There is no step %s", qPrintable(verb));
    }

    /// The rows from top to bottom, those of a group in brackets after its title and number.
    QString layoutText(const QWidget *pane)
    {
        QMultiMap<int, QString> parts;
        for (const auto *const box : pane->findChildren<QGroupBox *>()) {
            const int number = box->objectName().remove("group_").toInt();
            m_firstGroup = m_firstGroup ? m_firstGroup : number;
            const int top = box->mapTo(pane, QPoint()).y();
            const QString id = '#' + QString::number(number - m_firstGroup);
            parts.insert(top, box->title() + id + box->toolTip() + '(');
            parts.insert(top + box->height(), ")");
        }
        for (const auto *const check : pane->findChildren<QCheckBox *>())
            parts.insert(check->mapTo(pane, QPoint()).y(), check->text());
        return QStringList(parts.values()).join(' ');
    }

    /// Receives parameterChanged(), and lets events through as a receiver does that generates.
    void receive()
    {
        const auto all = m_pane->window()->findChildren<QWidget *>();
        const QVector<QPointer<QWidget>> widgets(all.begin(), all.end());
        m_seen += '*' + valuesText(m_pane);
        for (const QString &step : std::exchange(m_during, {}))
            run(m_pane, step);
        QTest::qWait(1);
        QVERIFY2(!widgets.contains(nullptr), "the toolkit is still at work in these");
    }

    ParametersPane *m_pane = nullptr;
    ParametersPane *m_beside = nullptr;
    QStringList m_seen;
    QStringList m_during;
    int m_firstGroup = 0;
};

TARNWICK_TEST_MAIN(tst_ParametersPane)
#include "tst_parameterspane.moc"
