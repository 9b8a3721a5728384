// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QWheelEvent>

/// Descriptors and values as they come from Python, with single quotes for double ones.
static QVariantMap json(QString text)
{
    const auto document = QJsonDocument::fromJson(text.replace('\'', '"').toUtf8());
    if (!document.isObject())
        qFatal("No JSON object: %s", qPrintable(text));
    return document.object().toVariantMap();
}

static QString valuesText(const ParametersPane &pane)
{
    QString text = QJsonDocument::fromVariant(pane.values()).toJson(QJsonDocument::Compact);
    return text.remove("{\"value\":").replace("},", ",").replace("}}", "}").remove('"');
}

template <typename Widget> static Widget *child(const QWidget &pane, const QString &name)
{
    const auto found = pane.findChildren<Widget *>(name);
    if (found.size() != 1)
        qFatal("%d widgets are named %s", int(found.size()), qPrintable(name));
    return found.first();
}

/// In the row of a check box, the editor or, as second cell, the value label.
static QWidget *cell(QCheckBox *check, int index)
{
    auto *form = qobject_cast<QFormLayout *>(check->parentWidget()->layout());
    if (!form)
        form = check->parentWidget()->findChild<QFormLayout *>("formLayout");
    int row = 0;
    QFormLayout::ItemRole role = QFormLayout::SpanningRole;
    form->getWidgetPosition(check, &row, &role);
    return form->itemAt(row, QFormLayout::FieldRole)->layout()->itemAt(index)->widget();
}

/// What is seen of a row: "x label: editor; value label", with "!" before what is disabled.
static QString rowText(QCheckBox *check)
{
    QWidget *const editor = cell(check, 0);
    auto *const label = qobject_cast<QLabel *>(cell(check, 1));
    QString text;
    if (auto *const combo = qobject_cast<QComboBox *>(editor)) {
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items.append(combo->itemText(i) + ':' + combo->itemData(i).toString());
        text = QString("[%1] at %2").arg(items.join(' ')).arg(combo->currentIndex());
    } else {
        const auto get = [editor](const char *name) { return editor->property(name).toString(); };
        const bool isInt = qobject_cast<QSpinBox *>(editor);
        text = (isInt ? QString("int ") : "float." + get("decimals") + ' ') + get("minimum") + ".."
            + get("maximum") + " by " + get("singleStep") + " = " + get("value");
    }
    return (check->isEnabled() ? "" : "!") + QString(check->isChecked() ? "x " : "- ")
        + check->text() + (editor->isEnabled() ? ": " : ": !") + text
        + (label->isEnabled() ? "; " : "; !") + label->text();
}

/// The rows from top to bottom, those of a group in brackets.
static QString layoutText(QLayout *layout)
{
    QStringList parts;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *const item = layout->itemAt(i);
        if (auto *const box = qobject_cast<QGroupBox *>(item->widget()))
            parts.append(box->title() + '(' + layoutText(box->layout()) + ')');
        else if (auto *const check = qobject_cast<QCheckBox *>(item->widget()))
            parts.append(check->text());
        else if (qobject_cast<QFormLayout *>(item->layout()) && item->layout()->count() > 0)
            parts.append(layoutText(item->layout()));
    }
    return parts.join(' ');
}

/// Does as the user does: "click" the check box; press the editor's "arrow" or turn the "wheel"
/// over it; else type into it, where U, D, P, E and T stand for Up, Down, Page Up, Enter and Tab.
static void perform(const QString &action, QCheckBox *check)
{
    QWidget *const editor = cell(check, 0);
    const QPointF middle = editor->rect().center();
    if (action == "click") {
        QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(8, check->height() / 2));
    } else if (action == "arrow") {
        QTest::mouseClick(editor, Qt::LeftButton, {}, QPoint(editor->width() - 5, 5));
    } else if (action == "wheel") {
        QWheelEvent event(middle, middle, {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(editor, &event);
    } else {
        const Qt::Key special[] = {
            Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp, Qt::Key_Enter, Qt::Key_Tab};
        editor->setFocus(Qt::TabFocusReason);
        for (const QChar key : action) {
            const int index = QString("UDPET").indexOf(key);
            QTest::keyClick(editor, index < 0 ? Qt::Key(key.unicode()) : special[index]);
        }
    }
}

/// Calls the functions of a pane: "form", "set" and "used" with a map, or one of them "later", in
/// an event of its own.
static void call(ParametersPane *pane, const QString &calls)
{
    for (const QString &one : calls.split("; ", Qt::SkipEmptyParts)) {
        const QString argument = one.section(' ', 1);
        if (one.startsWith("form"))
            pane->setParameters(json(argument), {});
        else if (one.startsWith("set"))
            pane->setValues(json(argument));
        else if (one.startsWith("used"))
            pane->showUsedValues(json(argument));
        else
            QMetaObject::invokeMethod(
                pane, [=] { call(pane, argument); }, Qt::QueuedConnection);
    }
}

class tst_ParametersPane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void row_data() { loadTable("params/rows"); }
    void row();
    void namesAndHelp();
    void order_data() { loadTable("params/order"); }
    void order();
    void groupNumbers();
    void values_data() { loadTable("params/values"); }
    void values();
    void userChange_data() { loadTable("params/userchanges"); }
    void userChange();
    void typedTextIsNotAnnounced();
    void keyboardAndScrolling();
    void callsWhileEmitting_data();
    void callsWhileEmitting();
    void interruptedSetValues_data() { loadTable("params/interrupted"); }
    void interruptedSetValues();
};

void tst_ParametersPane::row()
{
    QFETCH(QString, descriptor);
    ParametersPane pane;
    QSignalSpy spy(&pane, &ParametersPane::parameterChanged);
    call(&pane, "form {'p':" + descriptor + '}');
    auto *const check = pane.findChild<QCheckBox *>();
    QTEST(check ? rowText(check) : QString(""), "expected");
    QCOMPARE(spy.count(), 0);
}

void tst_ParametersPane::namesAndHelp()
{
    ParametersPane pane;
    pane.setParameters(json("{'gain':{'range':[0,9],'group':'g','label':'Gain'},'free':{},"
                            "'%1':{'enum':[1],'type':'float','prec':2000000000,'tooltip':'%2'}}"),
                       json("{'g':{'tooltip':'Group help'}}"));
    auto *const gain = child<QSpinBox>(pane, "gain");
    auto *const combo = child<QComboBox>(pane, "%1");
    QCOMPARE(gain->toolTip(), "[gain] ");
    QCOMPARE(gain->accessibleName(), "Gain");
    QCOMPARE(gain->parentWidget()->toolTip(), "Group help");
    QCOMPARE(child<QCheckBox>(pane, "gain_check")->toolTip(), "[gain] ");
    QCOMPARE(child<QLabel>(pane, "gain_value")->toolTip(), "");
    QCOMPARE(combo->toolTip(), "[%1] %2");
    QCOMPARE(combo->maxVisibleItems(), 30);
    // Not the two gigabytes of zeros that were asked for.
    QCOMPARE(combo->itemText(0), "1." + QString(323, '0'));
    QCOMPARE(cell(child<QCheckBox>(pane, "free_check"), 0)->objectName(), "");
    QCOMPARE(child<QScrollArea>(pane, "scrollArea")->accessibleName(), "Parameters");
}

void tst_ParametersPane::order()
{
    QFETCH(QString, parameters);
    QFETCH(QString, groups);
    ParametersPane pane;
    pane.show();
    for (const char *const before : {"form {}", "form {'other':{}}"}) {
        call(&pane, before);
        pane.setParameters(json(parameters), json(groups));
        QTEST(layoutText(child<QWidget>(pane, "contents")->layout()), "expected");
    }
}

void tst_ParametersPane::groupNumbers()
{
    const auto numbers = [](const ParametersPane &pane) {
        QMap<QString, int> result;
        for (const QGroupBox *const box : pane.findChildren<QGroupBox *>()) {
            if (!box->isHidden())
                result[box->title()] = box->objectName().remove("group_").toInt();
        }
        return result;
    };
    // Numbered by name, whatever the order in which they are shown.
    const QVariantMap groups = json("{'a':{'ord':2},'b':{'ord':1}}");
    ParametersPane pane;
    pane.setParameters(json("{'p':{'group':'a'},'q':{'group':'b'}}"), groups);
    const int first = numbers(pane).value("a");
    QVERIFY(first > 0);
    QCOMPARE(numbers(pane), (QMap<QString, int>{{"a", first}, {"b", first + 1}}));

    const QPointer<QGroupBox> old = pane.findChild<QGroupBox *>();
    pane.setParameters(json("{'p':{'group':'a'},'q':{'group':'c'}}"), groups);
    QCOMPARE(numbers(pane), (QMap<QString, int>{{"a", first + 2}, {"c", first + 3}}));
    QVERIFY(old && old->isHidden());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!old);
    ParametersPane other;
    call(&other, "form {'p':{'group':'a'}}");
    QCOMPARE(numbers(other).value("a"), first + 4);
}

void tst_ParametersPane::values()
{
    QFETCH(QString, calls);
    const QString first =
        "form {'i':{'range':[0,9],'default':4},'f':{'type':'float','range':[0,1]},'n':{},"
        "'m':{'enum':{'a':'u','b':'v'},'default':'u'},'l':{'enum':[1,2]},'h':{'hide':true}}";
    ParametersPane pane;
    call(&pane, first);
    const QPointer<QCheckBox> old = pane.findChild<QCheckBox *>();
    QSignalSpy spy(&pane, &ParametersPane::parameterChanged);
    call(&pane, calls);
    QTEST(valuesText(pane), "expected");
    QTEST(QString::number(spy.count()), "signalCount");
    QTEST(rowText(child<QCheckBox>(pane, "i_check")), "row");
    QCOMPARE(old.isNull(), calls.contains("form"));

    // The same descriptors once more change nothing.
    const auto widgets = pane.findChildren<QWidget *>();
    spy.clear();
    call(&pane,
         calls.contains("form") ? calls.mid(calls.lastIndexOf("form")).section("; ", 0, 0) : first);
    QCOMPARE(pane.findChildren<QWidget *>(), widgets);
    QTEST(valuesText(pane), "expected");
    QCOMPARE(spy.count(), 0);
}

void tst_ParametersPane::userChange()
{
    QFETCH(QString, descriptor);
    QFETCH(QString, action);
    ParametersPane pane;
    call(&pane, "form {'p':" + descriptor + ",'q':{'range':[0,9]}}");
    pane.show();
    QVERIFY(QTest::qWaitForWindowActive(&pane));
    auto *const check = child<QCheckBox>(pane, "p_check");
    QString seen("");
    connect(&pane, &ParametersPane::parameterChanged, this, [&] {
        QCOMPARE(cell(check, 0)->isEnabled(), check->isChecked());
        seen += (seen.isEmpty() ? "" : " ") + valuesText(pane);
    });
    perform(action, check);
    QTEST(seen, "seen");
}

void tst_ParametersPane::typedTextIsNotAnnounced()
{
    for (const char *const calls : {"set {}", "form {'a':{'range':[0,5]}}", "form {}", ""}) {
        auto pane = std::make_unique<ParametersPane>();
        call(pane.get(), "form {'a':{'range':[0,9],'default':4},'b':{'range':[0,9],'default':4}}");
        pane->show();
        QVERIFY(QTest::qWaitForWindowActive(pane.get()));
        perform("7", child<QCheckBox>(*pane, "a_check"));
        QStringList seen;
        connect(pane.get(), &ParametersPane::parameterChanged, this, [&] {
            seen += valuesText(*pane);
        });
        call(pane.get(), calls);
        // The value restored after a rebuild is the committed one, and news for the new spin box.
        QCOMPARE(seen.join(' '), QString(calls).contains("range") ? "{a:4}" : "");
        seen.clear();
        pane.reset();
        QCOMPARE(seen.join(' '), "");
    }
}

void tst_ParametersPane::keyboardAndScrolling()
{
    ParametersPane pane;
    pane.show();
    QVERIFY(QTest::qWaitForWindowActive(&pane));
    auto *const area = child<QScrollArea>(pane, "scrollArea");
    QVariantMap parameters = json(
        "{'c':{'enum':[1],'default':1,'group':'g'},'b':{'range':[0,9],'default':1},"
        "'d':{'range':[0,9],'default':1,'group':'h'},'a':{'range':[0,9],'default':1,'ord':9}}");
    for (int i = 0; i < 50; ++i)
        parameters["z" + QString::number(i)] = QVariantMap();
    for (const char *const groups : {"{'h':{'ord':1}}", "{'h':{'ord':2}}"}) {
        pane.setParameters(parameters, json(groups));
        area->setFocus();
        QStringList stops;
        for (int i = 0; i < 9; ++i) {
            QTest::keyClick(pane.focusWidget(), Qt::Key_Tab);
            stops.append(pane.focusWidget()->objectName());
        }
        QCOMPARE(stops.join(' '), "d_check d c_check c a_check a b_check b scrollArea");
    }

    child<QSpinBox>(pane, "a")->setFocus();
    QCoreApplication::processEvents();
    area->verticalScrollBar()->setValue(300);
    parameters["b"] = json("{'range':[0,5]}");
    pane.setParameters(parameters, {});
    QVERIFY(child<QSpinBox>(pane, "a")->hasFocus());
    QVERIFY(child<QCheckBox>(pane, "z9_check")->isVisible());
    QCoreApplication::processEvents();
    QCOMPARE(area->verticalScrollBar()->value(), 300);
    parameters.remove("a");
    pane.setParameters(parameters, {});
    QVERIFY(area->hasFocus());
}

void tst_ParametersPane::callsWhileEmitting_data()
{
    for (const char *const column : {"editor", "action", "calls", "expected"})
        QTest::addColumn<QString>(column);
    const QString form = "form {'a':{'range':[0,99]},'c':{'range':[0,9]}}";
    const QString set = "set {'a':{'value':7}}";
    for (const QString group : {"", ",'group':'g'"}) {
        for (const QString &calls : {form, "later " + form, set, form + "; " + set}) {
            for (const QString action :
                 {"click", "U", "5E", "5T", "5 and a click elsewhere", "arrow", "wheel", "D"}) {
                QTest::newRow(qPrintable(action + group + ": " + calls))
                    << (action == "D" ? "'enum':[4,5,7]" : "'range':[0,99]") + group << action
                    << calls
                    << (calls.contains("set")   ? "{a:7}"
                            : action == "click" ? "{}"
                                                : "{a:5}");
            }
        }
    }
}

void tst_ParametersPane::callsWhileEmitting()
{
    QFETCH(QString, editor);
    QFETCH(QString, action);
    QFETCH(QString, calls);
    QWidget window;
    QHBoxLayout layout(&window);
    QVector<ParametersPane *> panes{new ParametersPane, new ParametersPane};
    for (ParametersPane *const pane : panes) {
        layout.addWidget(pane);
        call(pane, "form {'a':{'default':4," + editor + "},'b':{'range':[0,9]}}");
    }
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    auto *const check = child<QCheckBox>(*panes[0], "a_check");
    const QPointer<QWidget> old = cell(check, 0);
    const QPointer<QCheckBox> elsewhere = child<QCheckBox>(*panes[1], "b_check");
    int count = 0;
    connect(panes[0], &ParametersPane::parameterChanged, this, [&] {
        if (++count > 1)
            return;
        for (ParametersPane *const pane : panes)
            call(pane, calls);
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
        QVERIFY2(old && elsewhere, "the toolkit is still at work in these");
    });
    perform(action.section(' ', 0, 0), check);
    if (action.contains("elsewhere"))
        perform("click", elsewhere);
    QVERIFY(count > 0);
    QTEST(valuesText(*panes[0]), "expected");

    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(old.isNull(), calls.contains("form"));
    QCOMPARE(panes[0]->findChildren<QCheckBox *>().size(), 2);
    count = 1;
    perform("click", child<QCheckBox>(*panes[0], "a_check"));
    QCOMPARE(count, 2);
}

void tst_ParametersPane::interruptedSetValues()
{
    QFETCH(QString, calls);
    const QString form = "form {'a':{'range':[0,%1]},'b':{'range':[0,%1]},'c':{'range':[0,%1]}}";
    const QString set = "set {'a':{'value':1},'b':{'value':2},'c':{'value':3}}";
    for (const bool byRebuild : {false, true}) {
        ParametersPane pane;
        call(&pane, form.arg(50));
        if (byRebuild)
            call(&pane, set);
        int count = 0;
        connect(&pane, &ParametersPane::parameterChanged, this, [&] {
            if (++count == 1)
                call(&pane, calls);
        });
        call(&pane, byRebuild ? form.arg(60) : set);
        QTEST(valuesText(pane), "expected");
        QTEST(QString::number(count), "signalCount");
        // Nothing of the interrupted call is left for later.
        call(&pane, form.arg(70));
        QTEST(valuesText(pane), "expected");
    }
}

TARNWICK_TEST_MAIN(tst_ParametersPane)
#include "tst_parameterspane.moc"
