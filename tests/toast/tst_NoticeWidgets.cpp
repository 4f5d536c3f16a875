#include <toast/ToastManager.h>
#include <toast_widgets/FieldError.h>
#include <toast_widgets/NoticeBellButton.h>
#include <toast_widgets/NoticeHistoryPanel.h>
#include <toast_widgets/NoticeStack.h>
#include <toast_widgets/NoticeWidget.h>
#include <toast_widgets/ToastHostOverlay.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLoggingCategory>
#include <QMouseEvent>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace toast;

namespace {

quint64 notify(ToastManager &manager, Severity severity, const QString &title,
               const QList<ToastAction> &actions = {})
{
    manager.notify({.severity = severity, .title = title, .actions = actions});
    return manager.records().first().id;
}

template<typename Widget>
Widget *child(const QWidget &parent, const QString &name)
{
    return parent.findChild<Widget *>(name);
}

QPushButton *buttonOf(const QWidget &parent, const QString &text)
{
    const auto buttons = parent.findChildren<QPushButton *>();
    const auto found = std::find_if(buttons.begin(), buttons.end(), [&](const QPushButton *button) {
        return button->text() == text;
    });
    return found == buttons.end() ? nullptr : *found;
}

} // namespace

class TstNoticeWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(u"ondrel.toast.*=false"_s); }
    void init()
    {
        // What the screenless platform says of each window is not about us.
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_s));
    }

    void aCardStaysAsLongAsItMatters_data()
    {
        QTest::addColumn<Severity>("severity");
        QTest::addColumn<int>("dwellMs");
        QTest::newRow("info") << Severity::Info << 5000;
        QTest::newRow("success") << Severity::Success << 5000;
        QTest::newRow("warning") << Severity::Warning << 9000;
        QTest::newRow("error") << Severity::Error << -1;
    }
    void aCardStaysAsLongAsItMatters()
    {
        QFETCH(Severity, severity);
        QFETCH(int, dwellMs);
        ToastManager manager;
        QWidget viewport;
        const ToastHostOverlay overlay(&viewport, &manager);
        const quint64 id = notify(manager, severity, u"<b>T</b>"_s);
        const NoticeWidget *const card = overlay.card(id);
        QVERIFY(card);
        QCOMPARE(child<QLabel>(*card, u"noticeTitle"_s)->textFormat(), Qt::PlainText);
        QVERIFY(card->styleSheet().contains(borderColor(severity)));
        QCOMPARE(borderColor(Severity::Error), "#e5484d"_L1);
        QCOMPARE(overlay.dwellMs(id), dwellMs);
        // The mouse holds it, also when it comes again.
        QEnterEvent enter({}, {}, {});
        QCoreApplication::sendEvent(overlay.card(id), &enter);
        QCOMPARE(overlay.dwellMs(id), -1);
        notify(manager, severity, u"<b>T</b>"_s);
        QCOMPARE(overlay.dwellMs(id), -1);
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(overlay.card(id), &leave);
        QCOMPARE(overlay.dwellMs(id), dwellMs);
    }

    void theSameAgainIsOneCardWithACount()
    {
        ToastManager manager;
        QWidget viewport;
        viewport.resize(800, 600);
        const ToastHostOverlay overlay(&viewport, &manager);
        const quint64 id = notify(manager, Severity::Warning, u"T"_s);
        notify(manager, Severity::Info, u"other"_s);
        for (int i = 0; i < 9; ++i)
            notify(manager, Severity::Warning, u"T"_s);
        QCOMPARE(overlay.findChildren<NoticeWidget *>().size(), 2);
        QCOMPARE(child<QLabel>(*overlay.card(id), u"noticeCount"_s)->text(), u"×10"_s);
        QCOMPARE(overlay.layout()->itemAt(0)->widget(), overlay.card(id));

        manager.dismiss(id);
        QVERIFY(!overlay.card(id));
        const quint64 again = notify(manager, Severity::Warning, u"T"_s);
        QVERIFY(again != id && overlay.card(again));
        QTRY_COMPARE(overlay.findChildren<NoticeWidget *>().size(), 2); // the old one has faded
    }

    void cardsStandInTheCorner()
    {
        ToastManager manager;
        QWidget viewport;
        viewport.resize(800, 600);
        ToastHostOverlay overlay(&viewport, &manager);
        QVERIFY(overlay.isHidden());
        for (int i = 0; i < 10; ++i)
            notify(manager, Severity::Error, QString::number(i));
        overlay.setInset({10, 20, 30, 40});
        QCOMPARE(overlay.geometry().topRight(), QPoint(769, 20));
        QCOMPARE(overlay.width(), ToastHostOverlay::cardWidth);
        QVERIFY(overlay.height() > 0 && overlay.height() <= 540);
        int visible = 0;
        for (const auto *card : overlay.findChildren<NoticeWidget *>())
            visible += card->isHidden() ? 0 : 1;
        QCOMPARE(visible, ToastHostOverlay::mostShown);
        QResizeEvent resize({200, 300}, {800, 600});
        viewport.resize(200, 300);
        QCoreApplication::sendEvent(&viewport, &resize);
        QCOMPARE(overlay.geometry().right(), 169);
        QCOMPARE(overlay.width(), 160);
    }

    void aCardHasActions()
    {
        ToastManager manager;
        QWidget viewport;
        const ToastHostOverlay overlay(&viewport, &manager);
        int ran = 0;
        const quint64 id =
            notify(manager, Severity::Error, u"T"_s, {{u"Again"_s, [&ran] { ++ran; }}});
        QMouseEvent release(QEvent::MouseButtonRelease, {2, 2}, {2, 2}, Qt::LeftButton, {}, {});
        overlay.card(id)->resize(100, 40);
        QCoreApplication::sendEvent(overlay.card(id), &release);
        QVERIFY(manager.isHistoryOpen());
        buttonOf(*overlay.card(id), u"Again"_s)->click();
        QCOMPARE(ran, 1);
        QVERIFY(manager.records().first().dismissed);

        const quint64 other = notify(manager, Severity::Error, u"U"_s);
        child<QToolButton>(*overlay.card(other), u"noticeDismiss"_s)->click();
        QCOMPARE(manager.undismissedCount(), 0);
    }

    void theBellCountsAndOpens()
    {
        ToastManager manager;
        NoticeBellButton bell(&manager);
        QCOMPARE(bell.objectName(), u"noticeBell"_s);
        QCOMPARE(bell.toolTip(), u"Notifications"_s);
        QVERIFY(bell.isCheckable() && bell.badge().isEmpty());
        QVERIFY(QFile::exists(u":/icons/general/notification.svg"_s));
        for (int i = 0; i < 100; ++i)
            notify(manager, Severity::Info, QString::number(i));
        QCOMPARE(bell.badge(), u"99+"_s);
        manager.dismiss(1);
        QCOMPARE(bell.badge(), u"99"_s);
        bell.click();
        QVERIFY(manager.isHistoryOpen());
        manager.setHistoryOpen(false);
        QVERIFY(!bell.isChecked());
        QVERIFY(!bell.grab().isNull());
    }

    void theHistoryIsFilteredCopiedAndSaved()
    {
        const QTemporaryDir home;
        qputenv("HOME", QFile::encodeName(home.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
        ToastManager manager;
        NoticeHistoryPanel panel(&manager);
        notify(manager, Severity::Info, u"one"_s);
        notify(manager, Severity::Error, u"two"_s);
        auto *const filter = panel.findChild<QComboBox *>();
        auto *const list = panel.findChild<QListWidget *>();
        QCOMPARE(filter->itemText(0), u"All (2)"_s);
        QCOMPARE(filter->itemText(1), u"Errors (1)"_s);
        QCOMPARE(list->count(), 2);
        QVERIFY(list->item(0)->text().contains(u"[ERROR] two"_s));
        QClipboard *const clipboard = QGuiApplication::clipboard();
        list->item(1)->setSelected(true);
        buttonOf(panel, u"Copy"_s)->click();
        QVERIFY(clipboard->text().contains(u"one"_s) && !clipboard->text().contains(u"two"_s));
        filter->setCurrentIndex(1);
        buttonOf(panel, u"Copy all"_s)->click();
        QVERIFY(clipboard->text().contains(u"two"_s) && !clipboard->text().contains(u"one"_s));

        buttonOf(panel, u"Save && copy"_s)->click();
        const QString path = clipboard->text();
        QVERIFY(path.startsWith(home.path()) && path.contains(u"/ondrel-notifications/"_s));
        QVERIFY(QFile::exists(path));
        QCOMPARE(manager.records().first().title, u"Notifications saved"_s);
        QCOMPARE(manager.records().first().body, u"Path copied to clipboard:\n"_s + path);
        QVERIFY(QDir(QFileInfo(path).path()).removeRecursively());
        QFile inTheWay(QFileInfo(path).path());
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        buttonOf(panel, u"Save && copy"_s)->click();
        QCOMPARE(manager.records().first().severity, Severity::Error);
        QVERIFY(manager.records().first().body.startsWith(u"Could not create folder: "_s));
    }

    void aDialogHasOneNotice()
    {
        QWidget dialog;
        NoticeStack stack(&dialog);
        stack.setNotice(Severity::Warning, u"first"_s);
        stack.setNotice(Severity::Error, u"second"_s, u"why"_s);
        QVERIFY(stack.hasNotice() && !stack.isHidden());
        const auto cards = stack.findChildren<NoticeWidget *>();
        QCOMPARE(cards.size(), 1);
        QCOMPARE(child<QLabel>(stack, u"noticeTitle"_s)->text(), u"second"_s);
        child<QToolButton>(stack, u"noticeDismiss"_s)->click();
        QVERIFY(!stack.hasNotice() && stack.isHidden());
        stack.clear();
    }

    void aFieldErrorStandsUnderItsField_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::newRow("form") << u"form"_s;
        QTest::newRow("column") << u"column"_s;
        QTest::newRow("no layout") << QString();
    }
    void aFieldErrorStandsUnderItsField()
    {
        QFETCH(QString, layout);
        QWidget dialog;
        auto *const field = new QLineEdit(&dialog);
        auto *const next = new QLineEdit(&dialog);
        if (layout == u"form"_s) {
            auto *const form = new QFormLayout(&dialog);
            form->addRow(u"a"_s, field);
            form->addRow(u"b"_s, next);
        } else if (layout == u"column"_s) {
            auto *const column = new QVBoxLayout(&dialog);
            column->addWidget(field);
            column->addWidget(next);
        }
        dialog.resize(300, 200);
        dialog.show();
        setFieldError(field, u"bad"_s);
        setFieldError(field, u"<i>worse</i>"_s);
        QVERIFY(hasFieldError(field) && !hasFieldError(next));
        const auto labels = dialog.findChildren<QLabel *>(u"fieldError"_s);
        QCOMPARE(labels.size(), 1);
        QCOMPARE(labels.first()->text(), u"<i>worse</i>"_s);
        QTRY_VERIFY(labels.first()->isVisible() &&
                    labels.first()->geometry().top() > field->geometry().bottom());
        clearFieldError(field);
        QVERIFY(!hasFieldError(field));
        QVERIFY(dialog.findChildren<QLabel *>(u"fieldError"_s).isEmpty());
        clearFieldError(field);
        setFieldError(field, u"again"_s);
        delete field;
        QTRY_VERIFY(dialog.findChildren<QLabel *>(u"fieldError"_s).isEmpty());
    }
};

int main(int argc, char **argv)
{
    // The test header that all tests share knows nothing of widgets.
    const QApplication application(argc, argv);
    TstNoticeWidgets test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_NoticeWidgets.moc"
