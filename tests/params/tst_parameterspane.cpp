// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"
#include "support/testmain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
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

/// Fills the test's data from lines of cells, the first of them the name of the row.
static void table(std::initializer_list<const char *> columns, const char *text)
{
    for (const char *const column : columns)
        QTest::addColumn<QString>(column);
    for (const QString &line : QString(text).split('\n', Qt::SkipEmptyParts)) {
        const QStringList cells = line.split('|');
        QTestData &row = QTest::newRow(qPrintable(cells.first().trimmed()));
        for (int i = 1; i < cells.size(); ++i)
            row << cells.at(i).trimmed();
    }
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
    void row_data();
    void row();
    void namesAndHelp();
    void order_data();
    void order();
    void groupNumbers();
    void values_data();
    void values();
    void userChange_data();
    void userChange();
    void typedTextIsNotAnnounced();
    void keyboardAndScrolling();
    void callsWhileEmitting_data();
    void callsWhileEmitting();
    void interruptedSetValues_data();
    void interruptedSetValues();
};

void tst_ParametersPane::row_data()
{
    table({"descriptor", "expected"}, R"(
range alone          | {'range':[0,10]}                           | - p: !int 0..10 by 1 = 0; !(none)
range above 0        | {'range':[5,10,2,7]}                       | - p: !int 5..10 by 2 = 5; !(none)
backward range       | {'range':[5,1]}                            | - p: !int 5..5 by 1 = 5; !(none)
default out of range | {'range':[5,10],'default':12}              | x p: int 5..10 by 1 = 10; !12
default 0 is one     | {'range':[0,3],'default':0}                | x p: int 0..3 by 1 = 0; !0
default null is none | {'range':[0,3],'default':null}             | - p: !int 0..3 by 1 = 0; !(none)
not enabled          | {'range':[0,9],'default':3,'enable':false} | - p: !int 0..9 by 1 = 3; !3
label                | {'range':[0,9],'label':'Gain'}             | - Gain: !int 0..9 by 1 = 0; !(none)
float                | {'type':'float','range':[0,1,0.25],'default':0.5}       | x p: float.3 0..1 by 0.25 = 0.5; !0.500
prec before range    | {'type':'float','range':[0.0625,1],'prec':4}            | - p: !float.4 0.0625..1 by 1 = 0.0625; !(none)
type by case         | {'type':'Float','range':[0,9]}             | - p: !int 0..9 by 1 = 0; !(none)
short range          | {'range':[5],'enum':[1,2]}                 | - p: ![1:1 2:2] at 0; !(none)
range before enum    | {'range':[0,3],'enum':[1,2]}               | - p: !int 0..3 by 1 = 0; !(none)
enum order           | {'enum':[3,1,5000000000],'default':1}      | x p: [3:3 1:1 5000000000:5000000000] at 1; !1
default not in enum  | {'enum':[1,2,3],'default':4}               | x p: [1:1 2:2 3:3] at -1; !4
equal values         | {'enum':[1,2,2],'default':2}               | x p: [1:1 2:2 2:2] at 1; !2
enum of texts        | {'enum':['a','7'],'default':'A'}           | x p: [0:a 7:7] at -1; !0
float enum           | {'type':'float','enum':[1,2.75],'prec':1,'default':2.75} | x p: [1.0:1 2.8:2.75] at 1; !2.8
enum map             | {'enum':{'slow':1,'fast':2,'Zero':0},'default':1}       | x p: [Zero:0 fast:2 slow:1] at 2; !slow
equal values in map  | {'type':'float','enum':{'b':0.5,'a':0.5},'default':0.5} | x p: [a:0.5 b:0.5] at 0; !b
default not in map   | {'enum':{'a':'X'},'default':'x'}           | x p: [a:X] at -1; !
empty enum           | {'enum':[],'default':1}                    | x p: [] at -1; !1
neither              | {}                                         | !- p: ![] at -1; !(none)
neither, default     | {'default':2.5,'type':'float'}             | !x p: [] at -1; !2.500
hidden               | {'range':[0,9],'hide':true}                |
wrong: enum number   | {'enum':5,'default':2}                     | x p: [] at -1; !2
wrong: enum null     | {'enum':null}                              | - p: ![] at -1; !(none)
wrong: range text    | {'range':'0,9','enum':[4]}                 | - p: ![4:4] at 0; !(none)
wrong: bounds text   | {'range':['2','x']}                        | - p: !int 2..2 by 1 = 2; !(none)
wrong: default list  | {'range':[-3,3],'default':[1]}             | x p: int -3..3 by 1 = 0; !0
wrong: prec text     | {'type':'float','range':[0,9],'prec':'x','default':1.6} | x p: float.0 0..9 by 1 = 2; !2
wrong: nulls         | {'range':[0,9],'default':1,'enable':null,'label':null}  | - : !int 0..9 by 1 = 1; !1
wrong: maps          | {'range':[0,9],'hide':{},'tooltip':{},'group':[],'type':{}} | - p: !int 0..9 by 1 = 0; !(none)
wrong: hide number   | {'range':[0,9],'hide':1}                   |
)");
}

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

void tst_ParametersPane::order_data()
{
    table({"parameters", "groups", "expected"}, R"(
ord, then name    | {'c':{'ord':1},'b':{'ord':2},'a':{'ord':2},'d':{'ord':-1}}      | {} | d c a b
no ord            | {'a':{'ord':1000000001},'b':{},'c':{'ord':999999999}}           | {} | c b a
names by case     | {'b':{},'B':{},'a':{}}                                          | {} | B a b
ord of 32 bits    | {'a':{},'b':{'ord':0},'c':{'ord':4294967295}}                   | {} | c b a
wrong: ord        | {'a':{'ord':1},'b':{'ord':'x'},'c':{'ord':[]},'d':{'ord':'-1'}} | {} | d b c a
wrong: descriptor | {'a':3,'b':{'ord':2},'c':null}                                  | {} | b a c
ungrouped last    | {'a':{'ord':0},'b':{'ord':9,'group':'g'},'c':{'group':''}}      | {} | g(b) a c
groups            | {'a':{'group':'z'},'b':{'group':'y'},'c':{'group':'x'}}         | {'x':{'ord':5},'y':{'ord':5},'z':{'ord':-5}} | z(a) x(c) y(b)
group without ord | {'a':{'group':'g'},'b':{'group':'h'}}  | {'h':{'ord':999999999}}              | h(b) g(a)
group label       | {'a':{'group':'g'},'b':{'group':'h'}}  | {'g':{'label':'Z'},'h':{'label':''}} | Z(a) (b)
wrong: group      | {'a':{'group':7},'b':{'group':'6'}}    | {'6':[1],'unused':{}}                | 6(b) 7(a)
group of hidden   | {'a':{'group':'g','hide':true},'b':{}} | {'g':{}}                             | b
)");
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

void tst_ParametersPane::values_data()
{
    table({"calls", "expected", "signalCount", "row"}, R"(
defaults       |                                                | {i:4,m:u}       | 0 | x i: int 0..9 by 1 = 4; !4
none           | set {}                                         | {}              | 0 | - i: !int 0..9 by 1 = 4; !4
same value     | set {'i':{'value':4}}                          | {i:4}           | 0 | x i: int 0..9 by 1 = 4; !4
clamped        | set {'i':{'value':77},'f':{'value':-1}}        | {f:0,i:9}       | 1 | x i: int 0..9 by 1 = 9; !4
both changed   | set {'i':{'value':3},'f':{'value':0.25}}       | {f:0.25,i:3}    | 2 | x i: int 0..9 by 1 = 3; !4
choices        | set {'l':{'value':2},'m':{'value':'v'}}        | {l:2,m:v}       | 0 | - i: !int 0..9 by 1 = 4; !4
no such choice | set {'l':{'value':9},'m':{'value':'V'}}        | {l:null,m:null} | 0 | - i: !int 0..9 by 1 = 4; !4
value missing  | set {'i':{},'f':3,'l':{'Value':2}}             | {}              | 0 | - i: !int 0..9 by 1 = 4; !4
value null     | set {'i':{'value':null}}                       | {i:0}           | 1 | x i: int 0..9 by 1 = 0; !4
value text     | set {'i':{'value':'7'}}                        | {i:7}           | 1 | x i: int 0..9 by 1 = 7; !4
no editor      | set {'h':{'value':1},'n':{'value':1},'u':{'value':1}} | {n:null} | 0 | - i: !int 0..9 by 1 = 4; !4
new range      | form {'i':{'range':[0,99]},'z':{'range':[0,9],'default':1}} | {i:4} | 1 | x i: int 0..99 by 1 = 4; !(none)
stays unticked | set {}; form {'i':{'range':[0,9],'default':2}} | {}              | 0 | - i: !int 0..9 by 1 = 2; !2
now default    | set {'i':{'value':9}}; form {'i':{'range':[0,9],'default':9}} | {i:9} | 1 | x i: int 0..9 by 1 = 9; !9
out of range   | form {'i':{'range':[0,3]}}                     | {i:3}           | 1 | x i: int 0..3 by 1 = 3; !(none)
now float      | form {'i':{'range':[0,9],'type':'float'}}      | {i:4}           | 1 | x i: float.3 0..9 by 1 = 4; !(none)
now a choice   | form {'i':{'enum':[1,4]}}                      | {i:4}           | 0 | x i: [1:1 4:4] at 1; !(none)
not offered    | form {'i':{'enum':[1,2]}}                      | {i:null}        | 0 | x i: [1:1 2:2] at -1; !(none)
now grouped    | form {'i':{'range':[0,9],'group':'g'}}         | {i:4}           | 1 | x i: int 0..9 by 1 = 4; !(none)
after hidden   | form {'i':{'hide':true}}; form {'i':{'range':[0,9],'default':4}} | {} | 0 | - i: !int 0..9 by 1 = 4; !4
used           | set {}; used {'i':{'value':7},'h':{'value':7},'u':3} | {}          | 0 | - i: !int 0..9 by 1 = 4; 7
used, ticked   | used {'i':{'value':7}}                         | {i:4,m:u}       | 0 | x i: int 0..9 by 1 = 4; !4
used, reticked | set {}; used {'i':{'value':7}}; set {'i':{'value':4}}; used {'i':{'value':4}} | {i:4} | 0 | x i: int 0..9 by 1 = 4; !4
used is null   | set {}; used {'i':{'value':null}}              | {}              | 0 | - i: !int 0..9 by 1 = 4; (none)
used elsewhere | set {}; used {'f':{'value':7},'i':{'used':7}}  | {}              | 0 | - i: !int 0..9 by 1 = 4; !4
used float     | form {'i':{'range':[0,9],'type':'float','prec':2}}; set {}; used {'i':{'value':0.5}} | {} | 1 | - i: !float.2 0..9 by 1 = 4; 0.50
used, last key | form {'i':{'enum':{'a':1,'b':1,'c':4}}}; set {}; used {'i':{'value':1}} | {} | 0 | - i: ![a:1 b:1 c:4] at 2; b
used, no key   | form {'i':{'enum':{'a':1,'b':4}}}; set {}; used {'i':{'value':3}} | {} | 0 | - i: ![a:1 b:4] at 1; (none)
after none     | form {}; form {'i':{'range':[0,9],'default':4}} | {i:4}          | 0 | x i: int 0..9 by 1 = 4; !4
)");
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

void tst_ParametersPane::userChange_data()
{
    table({"descriptor", "action", "seen"}, R"(
untick              | {'range':[0,99],'default':40}                  | click | {}
tick                | {'range':[0,99]}                               | click | {p:0}
tick choice         | {'enum':[7]}                                   | click | {p:7}
tick inert          | {}                                             | click |
digits              | {'range':[0,99],'default':40}                  | 12    |
digits, Enter       | {'range':[0,99],'default':40}                  | 12E   | {p:12}
digits, Tab         | {'range':[0,99],'default':40}                  | 7T    | {p:7}
Up Up Down          | {'range':[0,99],'default':40}                  | UUD   | {p:41} {p:42} {p:41}
Page Up at the end  | {'range':[0,99],'default':75}                  | PPPP  | {p:85} {p:95} {p:99}
arrow button        | {'range':[0,99],'default':40}                  | arrow | {p:41}
wheel               | {'range':[0,99],'default':40}                  | wheel | {p:41}
float Up            | {'type':'float','range':[0,9,0.5],'default':4} | U     | {p:4.5}
float wheel         | {'type':'float','range':[0,9,0.5],'default':4} | wheel | {p:4.5}
float digits, Enter | {'type':'float','range':[0,9,0.5],'default':4} | 2.5E  | {p:2.5}
choice Down         | {'enum':[1,2,3],'default':2}                   | D     | {p:3}
choice by digit     | {'enum':[1,2,3],'default':2}                   | 1     | {p:1}
choice wheel        | {'enum':[1,2,3],'default':2}                   | wheel | {p:1}
)");
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

void tst_ParametersPane::interruptedSetValues_data()
{
    table({"calls", "expected", "signalCount"}, R"(
newer values | set {'b':{'value':7}}                                               | {b:7}         | 2
same values  | set {'a':{'value':1},'b':{'value':2},'c':{'value':3}}               | {a:1,b:2,c:3} | 1
nothing      | used {}                                                             | {a:1,b:2,c:3} | 3
other form   | form {'a':{'range':[0,9]},'b':{'range':[0,9]},'c':{'range':[0,9]}}  | {a:1,b:2,c:3} | 4
fewer rows   | form {'b':{'range':[0,9]}}                                          | {b:2}         | 2
from nothing | form {}; form {'a':{'range':[0,9],'default':4}}                     | {a:4}         | 1
)");
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
