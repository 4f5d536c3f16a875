#include <corvane/ui/look/Contrast.h>
#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Theme.h>

#include <support/Person.h>

#include <QApplication>
#include <QDirIterator>
#include <QFontInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::ui;

class TstLook : public QObject
{
    Q_OBJECT

private slots:
    void init() { support::failOnWarnings(); }
    void contrastIsAsTheGuidelineSays();
    void aColourIsMovedNoFurtherThanNeeded_data();
    void aColourIsMovedNoFurtherThanNeeded();
    void everythingStandsOut_data();
    void everythingStandsOut();
    void controlsHaveOneHeight();
    void theTextFaceIsThere();
    void iconsFollowThePalette();
    void everyIconCanBeDrawn();
};

void TstLook::contrastIsAsTheGuidelineSays()
{
    // Figures of common contrast checkers.
    QVERIFY(qAbs(contrastRatio(Qt::white, Qt::black) - 21.0) < 1e-9);
    QVERIFY(qAbs(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) - 4.478) < 0.001);
    QVERIFY(qAbs(contrastRatio(Qt::red, Qt::white) - 3.998) < 0.001);
}

void TstLook::aColourIsMovedNoFurtherThanNeeded_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<double>("ratio");
    QTest::newRow("amber on white") << QColor(0xf5, 0xa6, 0x23) << QColor(Qt::white) << 4.5;
    QTest::newRow("red on black") << QColor(0x80, 0, 0) << QColor(Qt::black) << 4.5;
    QTest::newRow("grey on grey") << QColor(0x80, 0x80, 0x80) << QColor(0x82, 0x82, 0x82) << 3.0;
    QTest::newRow("white on white") << QColor(Qt::white) << QColor(Qt::white) << 3.0;
}

void TstLook::aColourIsMovedNoFurtherThanNeeded()
{
    QFETCH(const QColor, color);
    QFETCH(const QColor, background);
    QFETCH(const double, ratio);
    const QColor moved = withContrast(color, background, ratio);
    QVERIFY(contrastRatio(moved, background) >= ratio);
    QVERIFY(contrastRatio(moved, background) < ratio + 0.25);
    if (color.hslHueF() >= 0)
        QVERIFY(qAbs(moved.hslHueF() - color.hslHueF()) < 0.02f);
    QCOMPARE(withContrast(Qt::black, Qt::white, ratio), QColor(Qt::black)); // as it is
}

void TstLook::everythingStandsOut_data()
{
    QTest::addColumn<BaseColors>("base");
    QTest::newRow("light") << BaseColors::light();
    QTest::newRow("dark") << BaseColors::dark();
    BaseColors pale = BaseColors::light();
    pale.accent = QColor(0xff, 0xe0, 0xe8);
    QTest::newRow("a pale accent") << pale;
    BaseColors grey = BaseColors::dark();
    grey.surface = QColor(0x50, 0x50, 0x50);
    QTest::newRow("a grey surface") << grey;
}

void TstLook::everythingStandsOut()
{
    QFETCH(const BaseColors, base);
    const auto [palette, semantic] = Theme::make(base);
    const auto ratio = [&palette = palette](const QColor &color, QPalette::ColorRole on) {
        return contrastRatio(color, palette.color(on));
    };
    for (const auto on : {QPalette::Window, QPalette::Base}) {
        for (const QColor &text :
             {semantic.error, semantic.warning, semantic.success, semantic.muted,
              palette.color(QPalette::Text), palette.color(QPalette::Link),
              palette.color(QPalette::PlaceholderText)})
            QVERIFY2(ratio(text, on) >= textContrast, qPrintable(text.name()));
        for (const QColor &control : {semantic.border, semantic.focus, semantic.accent})
            QVERIFY2(ratio(control, on) >= controlContrast, qPrintable(control.name()));
    }
    QVERIFY(ratio(palette.color(QPalette::HighlightedText), QPalette::Highlight) >= textContrast);
    QVERIFY(ratio(palette.color(QPalette::ButtonText), QPalette::Button) >= textContrast);
    QVERIFY(ratio(palette.color(QPalette::ToolTipText), QPalette::ToolTipBase) >= textContrast);
}

void TstLook::controlsHaveOneHeight()
{
    applyAppearance(Appearance::Light);
    QCOMPARE(QPushButton(u"OK"_s).sizeHint().height(), Metrics::controlHeight);
    QCOMPARE(QLineEdit().sizeHint().height(), Metrics::controlHeight);
}

void TstLook::theTextFaceIsThere()
{
    QCOMPARE(QFontInfo(applicationFont()).family(), u"Ondrel Dosis"_s);
}

void TstLook::iconsFollowThePalette()
{
    const auto hasColor = [](const QIcon &icon, const QColor &color) {
        const QImage image = icon.pixmap(32).toImage();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y).rgb() == color.rgb())
                    return true;
            }
        }
        return false;
    };
    const QIcon plus = icon(u"plus"_s);
    applyAppearance(Appearance::Light);
    QVERIFY(hasColor(plus, QApplication::palette().color(QPalette::ButtonText)));
    applyAppearance(Appearance::Dark);
    QVERIFY(hasColor(plus, QApplication::palette().color(QPalette::ButtonText)));
    QVERIFY(hasColor(icon(u"plus"_s, [] { return SemanticPalette::current().error; }),
                     SemanticPalette::current().error));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No icon of this name:"_s));
    QVERIFY(icon(u"no such thing"_s).isNull());
}

void TstLook::everyIconCanBeDrawn()
{
    int count = 0;
    for (QDirIterator it(u":/icons/lucide"_s); it.hasNext(); ++count) {
        it.next();
        QVERIFY2(!icon(it.fileInfo().baseName()).pixmap(16).isNull(), qPrintable(it.fileName()));
    }
    QVERIFY(count > 20);
}

CORVANE_WIDGETS_MAIN(TstLook)
#include "tst_Look.moc"
