#include "FakeTarget.h"

#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/ui/fields/CompletionPopup.h>
#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/fields/SimpleFields.h>
#include <corvane/ui/fields/VectorField.h>
#include <corvane/ui/look/Theme.h>
#include <support/Person.h>

#include <QAccessible>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using namespace support;

namespace {

/// A window with a number field under a label, and another field to go to.
struct Form
{
    explicit Form(const ExpressionScope *scope,
                  const NumberSpec &spec = {.name = u"Radius"_s, .unit = u"mm"_s})
        : label(new QLabel(spec.name, &window))
        , field(new NumberField(spec, &target, scope, &window))
        , other(new QLineEdit(&window))
    {
        auto *const column = new QVBoxLayout(&window);
        column->addWidget(label);
        column->addWidget(field);
        column->addWidget(other);
        field->setLabel(label);
        window.resize(300, 200);
        other->setFocus();
    }
    ~Form() { delete field; }

    QWidget window;
    FakeTarget target{10.0};
    QLabel *label;
    NumberField *field;
    QLineEdit *other;
};

QAction *actionOf(const QMenu &menu, const QString &text)
{
    const auto actions = menu.actions();
    for (QAction *action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QMenu *openMenu(const QWidget &field)
{
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {5, 5}, field.mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(const_cast<QWidget *>(&field), &event);
    return qobject_cast<QMenu *>(QApplication::activePopupWidget());
}

} // namespace

class TstFields : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { failOnWarnings(); }
    void aNumberIsTyped();
    void aRefusedTextStaysToBePutRight();
    void escapeTakesBackWhatIsTyped();
    void keysAndWheelStep();
    void theLabelScrubs();
    void escapeTakesBackADrag();
    void aNameIsCompleted();
    void anExpressionShowsItsValueAndItsFailure();
    void theMenuResetsCopiesAndBinds();
    void aVariableIsMadeOfAField();
    void theOtherFieldsWrite();
    void aScreenReaderKnowsTheField();

private:
    corvane::model::Corvane m_scene;
    std::unique_ptr<corvane::expr::ExpressionManager> m_manager;
    ExpressionScope m_scope;
};

void TstFields::initTestCase()
{
    applyAppearance(Appearance::Light);
    m_scene.setVariableEntry(u"width"_s, {.value = 40.0});
    m_manager = std::make_unique<corvane::expr::ExpressionManager>(&m_scene);
    m_manager->evaluateAll();
    m_scope.setManager(m_manager.get());
}

void TstFields::aNumberIsTyped()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    click(*form.field->lineEdit()); // all is selected
    type(u"12/3+1"_s);
    QCOMPARE(form.target.writes, 0);
    press(Qt::Key_Return);
    QCOMPARE(form.target.now.value.toDouble(), 5.0);
    QCOMPARE(form.field->lineEdit()->text(), u"5"_s);
    type(u"7"_s);
    click(*form.other); // leaving takes it, too
    QCOMPARE(form.target.now.value.toDouble(), 7.0);
    QCOMPARE(form.target.writes, 2);
}

void TstFields::aRefusedTextStaysToBePutRight()
{
    Form form(&m_scope, {.name = u"Teeth"_s, .minimum = 4.0, .maximum = 200.0});
    QVERIFY(show(form.window));
    click(*form.field->lineEdit());
    type(u"3"_s);
    press(Qt::Key_Return);
    QCOMPARE(form.field->errorText(), u"Teeth must be between 4 and 200."_s);
    QCOMPARE(form.field->lineEdit()->text(), u"3"_s);
    QCOMPARE(form.target.writes, 0);
    press(Qt::Key_0); // Enter selected it
    QVERIFY(form.field->errorText().isEmpty());
    type(u"24"_s);
    press(Qt::Key_Return);
    QCOMPARE(form.target.now.value.toDouble(), 24.0);
}

void TstFields::escapeTakesBackWhatIsTyped()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    click(*form.field->lineEdit());
    type(u"99"_s);
    form.target.now.value = 11.0; // the scene goes on meanwhile
    emit form.target.changed();
    QCOMPARE(form.field->lineEdit()->text(), u"99"_s);
    press(Qt::Key_Escape);
    QCOMPARE(form.field->lineEdit()->text(), u"11"_s);
    QCOMPARE(form.target.writes, 0);
}

void TstFields::keysAndWheelStep()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    const auto wheel = [&form](int angle) {
        const QPointF at = form.field->lineEdit()->rect().center();
        QWheelEvent event(at, form.field->lineEdit()->mapToGlobal(at), {}, {0, angle}, Qt::NoButton,
                          {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(form.field->lineEdit(), &event);
    };
    form.other->setFocus();
    wheel(120);
    QCOMPARE(form.target.writes, 0); // it scrolls the panel
    click(*form.field->lineEdit());
    press(Qt::Key_Up);
    press(Qt::Key_Up, Qt::ShiftModifier);
    press(Qt::Key_Down, Qt::AltModifier);
    QCOMPARE(form.target.now.value.toDouble(), 20.9);
    wheel(60);
    wheel(60); // two halves are one step
    QCOMPARE(form.target.now.value.toDouble(), 21.9);
}

void TstFields::theLabelScrubs()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    drag(*form.label, {5, 5}, {100, 0});
    QCOMPARE(form.target.now.value.toDouble(), 12.5);
    QCOMPARE(form.target.dragLabels, QStringList{u"Drag Radius"_s});
    QCOMPARE(form.field->lineEdit()->text(), u"12.5"_s);
    release(*form.label, {105, 5});
    QCOMPARE(form.target.dragsEnded, 1);
    click(*form.label); // without a drag it begins to type
    QVERIFY(form.field->lineEdit()->hasFocus());
    QCOMPARE(form.target.dragLabels.size(), 1);
}

void TstFields::escapeTakesBackADrag()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    drag(*form.label, {5, 5}, {100, 0});
    press(Qt::Key_Escape);
    QCOMPARE(form.target.dragsCancelled, 1);
    QCOMPARE(form.field->lineEdit()->text(), u"10"_s);
    QTest::mouseMove(form.window.windowHandle(), inWindow(*form.label, {150, 5}));
    release(*form.label, {150, 5});
    QCOMPARE(form.target.now.value.toDouble(), 10.0);
    QCOMPARE(form.target.dragsEnded, 0);
}

void TstFields::aNameIsCompleted()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    click(*form.field->lineEdit());
    type(u"=2*wi"_s);
    auto *const list = form.window.findChild<CompletionPopup *>();
    QVERIFY(list && list->isVisible());
    QCOMPARE(list->count(), 1);
    press(Qt::Key_Tab);
    QVERIFY(!list->isVisible());
    QCOMPARE(form.field->lineEdit()->text(), u"=2*width"_s);
    QVERIFY(form.field->lineEdit()->hasFocus());
    press(Qt::Key_Return);
    QCOMPARE(form.target.now.expression, u"2*width"_s);
}

void TstFields::anExpressionShowsItsValueAndItsFailure()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    click(*form.field->lineEdit());
    type(u"=widht"_s); // no name fits: there is no list
    press(Qt::Key_Return);
    QCOMPARE(form.field->errorText(), u"Unknown name: widht"_s);
    QCOMPARE(form.target.writes, 0);
    press(Qt::Key_Escape);
    QVERIFY(form.field->errorText().isEmpty());
    form.target.write(
        QVariant::fromValue(corvane::model::ParameterValue::fromExpression(u"width/2"_s, 20.0)));
    QCOMPARE(form.field->lineEdit()->text(), u"=width/2"_s);
    form.target.now.failure = u"Unknown name: width"_s;
    emit form.target.changed();
    QCOMPARE(form.field->errorText(), u"Unknown name: width"_s);
}

void TstFields::theMenuResetsCopiesAndBinds()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    QMenu *menu = openMenu(*form.field);
    QVERIFY(menu);
    QVERIFY(!actionOf(*menu, u"Reset"_s)->isEnabled());
    actionOf(*menu, u"Copy"_s)->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"10"_s);
    auto *const bind = actionOf(*menu, u"Bind to"_s)->menu();
    QCOMPARE(bind->actions().size(), 1);
    bind->actions().first()->trigger();
    menu->close();
    QCOMPARE(form.target.now.expression, u"width"_s);
    QCOMPARE(form.target.now.value.toDouble(), 40.0);
    QGuiApplication::clipboard()->setText(u"1/8"_s);
    menu = openMenu(*form.field);
    actionOf(*menu, u"Paste"_s)->trigger();
    QCOMPARE(form.target.now.value.toDouble(), 0.125);
    QVERIFY(actionOf(*menu, u"Reset"_s)->isEnabled());
    actionOf(*menu, u"Reset"_s)->trigger();
    menu->close();
    QVERIFY(!form.target.now.isChanged);
}

void TstFields::aVariableIsMadeOfAField()
{
    Form form(&m_scope);
    QVERIFY(show(form.window));
    QMenu *const menu = openMenu(*form.field);
    QVERIFY(menu);
    actionOf(*menu, u"Make a variable of it..."_s)->trigger();
    menu->close();
    QWidget *prompt = nullptr;
    QTRY_VERIFY((prompt = form.field->findChild<QWidget *>(u"namePrompt"_s)));
    auto *const name = prompt->findChild<QLineEdit *>();
    QVERIFY(name);
    QCOMPARE(name->text(), u"radius"_s);
    name->setText(u"taken"_s);
    QTest::keyClick(prompt->windowHandle(), Qt::Key_Return);
    QCOMPARE(prompt->findChild<QLabel *>(u"promptError"_s)->text(),
             u"There is a variable of this name."_s);
    name->setText(u"r"_s);
    QTest::keyClick(prompt->windowHandle(), Qt::Key_Return);
    QCOMPARE(form.target.now.expression, u"r"_s);
    QTRY_VERIFY(!form.field->findChild<QWidget *>(u"namePrompt"_s));
}

void TstFields::theOtherFieldsWrite()
{
    QWidget window;
    auto *const column = new QVBoxLayout(&window);
    FakeTarget flag(false);
    FakeTarget text(u"a"_s);
    FakeTarget choice(u"x"_s);
    FakeTarget color(QVariantList{1.0, 0.0, 0.0, 0.5});
    FakeTarget vector(QVariantList{1.0, 2.0, 3.0});
    auto *const boolField = new BoolField({u"Flag"_s}, &flag, &m_scope, &window);
    auto *const textField = new TextField({u"Text"_s}, &text, &m_scope, &window);
    auto *const choiceField = new ChoiceField({u"Choice"_s}, {{u"X"_s, u"x"_s}, {u"Y"_s, u"y"_s}},
                                              &choice, &m_scope, &window);
    auto *const colorField = new ColorField({u"Colour"_s}, &color, &m_scope, &window);
    auto *const vectorField = new VectorField({.name = u"Offset"_s}, 3, &vector, &m_scope, &window);
    const QList<FieldWidget *> fields{boolField, textField, choiceField, colorField, vectorField};
    for (FieldWidget *field : fields)
        column->addWidget(field);
    QVERIFY(show(window));

    click(*boolField->editor(), {8, 12});
    QCOMPARE(flag.now.value, QVariant(true));
    click(*textField->editor());
    press(Qt::Key_End);
    type(u"b"_s);
    press(Qt::Key_Return);
    QCOMPARE(text.now.value, QVariant(u"ab"_s));
    choiceField->editor()->setFocus();
    press(Qt::Key_Down);
    QCOMPARE(choice.now.value, QVariant(u"y"_s));
    QVERIFY(colorField->paste(u"#0000ff"_s));
    QCOMPARE(color.now.value.toList(), (QVariantList{0.0, 0.0, 1.0, 0.5}));
    click(*vectorField->fields().at(1)->lineEdit());
    type(u"5"_s);
    press(Qt::Key_Return);
    QCOMPARE(vector.now.value.toList(), (QVariantList{1.0, 5.0, 3.0}));
    QVERIFY(vectorField->paste(u"4, 5, 6"_s) && !vectorField->paste(u"4, x, 6"_s));
    QCOMPARE(vectorField->copyText(), u"4, 5, 6"_s);
    qDeleteAll(fields); // before what they edit
}

void TstFields::aScreenReaderKnowsTheField()
{
    Form form(&m_scope, {.name = u"Radius"_s, .description = u"Of the sphere"_s});
    QAccessibleInterface *const field =
        QAccessible::queryAccessibleInterface(form.field->lineEdit());
    QCOMPARE(field->text(QAccessible::Name), u"Radius"_s);
    QCOMPARE(field->text(QAccessible::Description), u"Of the sphere"_s);
    QCOMPARE(field->text(QAccessible::Value), u"10"_s);
}

CORVANE_WIDGETS_MAIN(TstFields)
#include "tst_Fields.moc"
