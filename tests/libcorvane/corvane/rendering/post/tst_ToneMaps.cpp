#include <corvane/rendering/post/PostEffectRegistry.h>
#include <support/PictureRig.h>

#include <QRegularExpression>
#include <QTest>

#include <array>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

namespace {

using Color = std::array<double, 3>;
using Matrix = std::array<Color, 3>; // rows
using Curve = std::function<Color(const Color &)>;

// The curves as they are published, in double precision, before the clamp to [0, 1].

Color each(const Color &c, const std::function<double(double)> &f)
{
    return {f(c[0]), f(c[1]), f(c[2])};
}

Color times(const Matrix &m, const Color &c)
{
    Color out{};
    for (std::size_t row = 0; row < 3; ++row)
        out[row] = m[row][0] * c[0] + m[row][1] * c[1] + m[row][2] * c[2];
    return out;
}

double luminance(const Color &c)
{
    return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
}

Color jodie(const Color &c)
{
    const double l = luminance(c);
    return each(c, [l](double v) {
        const double tv = v / (1 + v);
        return v / (1 + l) * (1 - tv) + tv * tv;
    });
}

Color acesHill(const Color &c)
{
    const Matrix in{
        {{0.59719, 0.35458, 0.04823}, {0.07600, 0.90834, 0.01566}, {0.02840, 0.13383, 0.83777}}};
    const Matrix out{{{1.60475, -0.53108, -0.07367},
                      {-0.10208, 1.10813, -0.00605},
                      {-0.00327, -0.07276, 1.07602}}};
    return times(out, each(times(in, c), [](double v) {
                     return (v * (v + 0.0245786) - 0.000090537) /
                            (v * (0.983729 * v + 0.4329510) + 0.238081);
                 }));
}

Color pbrNeutral(const Color &c)
{
    const double x = std::min({c[0], c[1], c[2]});
    const double offset = x < 0.08 ? x - 6.25 * x * x : 0.04;
    const Color color = each(c, [offset](double v) { return v - offset; });
    const double peak = std::max({color[0], color[1], color[2]});
    if (peak < 0.76)
        return color;
    const double newPeak = 1 - 0.24 * 0.24 / (peak + 0.24 - 0.76);
    const double g = 1 - 1 / (0.15 * (peak - newPeak) + 1);
    return each(color, [=](double v) { return v * newPeak / peak * (1 - g) + newPeak * g; });
}

double hableCurve(double x)
{
    return (x * (0.15 * x + 0.05) + 0.004) / (x * (0.15 * x + 0.50) + 0.06) - 0.02 / 0.30;
}

Color lottes(const Color &c)
{
    const double a = 1.6, d = 0.987, hdrMax = 8, midIn = 0.18, midOut = 0.267;
    const double divisor = (std::pow(hdrMax, a * d) - std::pow(midIn, a * d)) * midOut;
    const double b = (-std::pow(midIn, a) + std::pow(hdrMax, a) * midOut) / divisor;
    const double e = (std::pow(hdrMax, a * d) * std::pow(midIn, a) -
                      std::pow(hdrMax, a) * std::pow(midIn, a * d) * midOut) /
                     divisor;
    return each(c, [=](double v) { // at hdrMax it is 1, and beyond it the clamp makes it so
        return v >= hdrMax ? 1.0 : std::pow(v, a) / (std::pow(v, a * d) * b + e);
    });
}

Color agx(const Color &c, const Color &slope, double power, double saturation)
{
    const Matrix in{{{0.842479062253094, 0.0784335999999992, 0.0792237451477643},
                     {0.0423282422610123, 0.878468636469772, 0.0791661274605434},
                     {0.0423756549057051, 0.0784336, 0.879142973793104}}};
    const Matrix out{{{1.19687900512017, -0.0980208811401368, -0.0990297440797205},
                      {-0.0528968517574562, 1.15190312990417, -0.0989611768448433},
                      {-0.0529716355144438, -0.0980434501171241, 1.15107367264116}}};
    Color v = each(times(in, c), [](double light) {
        const double stops = std::clamp(std::log2(std::max(light, 1e-300)), -12.47393, 4.026069);
        const double x = (stops + 12.47393) / (4.026069 + 12.47393);
        return -0.00232 +
               x * (0.1191 + x * (0.4298 + x * (-6.868 + x * (31.96 + x * (-40.14 + x * 15.5)))));
    });
    for (std::size_t i = 0; i < 3; ++i)
        v[i] = power == 1.0 ? v[i] : std::pow(std::max(0.0, v[i] * slope[i]), power);
    const double l = luminance(v);
    v = each(v, [=](double x) { return l + saturation * (x - l); });
    return each(times(out, v), [](double x) { return std::pow(std::max(0.0, x), 2.2); });
}

Curve channels(const std::function<double(double)> &f)
{
    return [f](const Color &c) { return each(c, f); };
}

const QList<std::pair<QString, Curve>> &curves()
{
    static const QList<std::pair<QString, Curve>> all{
        {u"none"_s, channels([](double v) { return v; })},
        {u"reinhard"_s, channels([](double v) { return v / (1 + v); })},
        {u"reinhard_jodie"_s, jodie},
        {u"reinhard_ext"_s, channels([](double v) { return v * (1 + v / 16) / (1 + v); })},
        {u"exponential"_s, channels([](double v) { return 1 - std::exp(-v); })},
        {u"aces_narkowicz"_s,
         channels([](double v) { return v * (2.51 * v + 0.03) / (v * (2.43 * v + 0.59) + 0.14); })},
        {u"aces_hill"_s, acesHill},
        {u"khronos_pbr_neutral"_s, pbrNeutral},
        {u"hable"_s, channels([](double v) { return hableCurve(2 * v) / hableCurve(11.2); })},
        {u"lottes"_s, lottes},
        {u"agx"_s,
         [](const Color &c) {
             return agx(c, {1, 1, 1}, 1, 1);
         }},
        {u"agx_punchy"_s,
         [](const Color &c) {
             return agx(c, {1, 1, 1}, 1.35, 1.4);
         }},
        {u"agx_golden"_s,
         [](const Color &c) {
             return agx(c, {1, 0.9, 0.5}, 0.8, 0.8);
         }},
    };
    return all;
}

constexpr QSize rampSize{32, 8};

/// From black to the brightest in each row, the channels in another mixture.
PictureRig::Pixels ramp()
{
    const QVector3D mixtures[] = {{1, 1, 1}, {1, 0, 0}, {0, 1, 0},        {0, 0, 1},
                                  {1, 1, 0}, {0, 1, 1}, {1, 0.2f, 0.05f}, {0.3f, 0.7f, 1}};
    PictureRig::Pixels pixels;
    for (const QVector3D &mixture : mixtures) {
        for (int x = 0; x < rampSize.width(); ++x)
            pixels.append({mixture * (x == 0 ? 0.0f : std::exp2(float(x) - 15.0f)), 1.0f});
    }
    return pixels;
}

Color colorOf(const QVector4D &pixel)
{
    return {double(pixel.x()), double(pixel.y()), double(pixel.z())};
}

/// A light and what the published table makes of it.
struct TableRow
{
    Color light;
    Color display;
};

} // namespace

class TstToneMaps : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void allAreInTheRegistry()
    {
        QCOMPARE(
            PostEffectRegistry::instance().idsByCategory(u"tonemap"_s),
            QStringList({u"none"_s, u"reinhard"_s, u"agx"_s, u"reinhard_jodie"_s,
                         u"aces_narkowicz"_s, u"aces_hill"_s, u"tony_mcmapface"_s,
                         u"khronos_pbr_neutral"_s, u"exponential"_s, u"reinhard_ext"_s, u"hable"_s,
                         u"lottes"_s, u"agx_punchy"_s, u"agx_golden"_s, u"filmic_blender"_s}));
    }

    void eachIsItsPublishedCurve_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < curves().size(); ++i)
            QTest::newRow(curves()[i].first.toUtf8()) << i;
    }
    void eachIsItsPublishedCurve()
    {
        QFETCH(int, index);
        const auto &[id, curve] = curves()[index];
        PictureRig rig(rampSize);
        QVERIFY(rig.isValid());
        const auto source = rig.texture(rampSize, ramp());
        const auto effect = PostEffectRegistry::instance().create(id);
        const PictureRig::Pixels drawn = rig.drawn(*effect, source.get());
        for (int i = 0; i < drawn.size(); ++i) {
            const Color light = colorOf(ramp()[i]);
            const Color expected = curve(light);
            const Color found = colorOf(drawn[i]);
            for (std::size_t c = 0; c < 3; ++c) {
                if (!(std::abs(found[c] - std::clamp(expected[c], 0.0, 1.0)) < 3e-4))
                    QFAIL(qPrintable(u"light %1 %2 %3, channel %4: %5 instead of %6"_s.arg(
                        QString::number(light[0]), QString::number(light[1]),
                        QString::number(light[2]), QString::number(c), QString::number(found[c]),
                        QString::number(expected[c]))));
            }
        }
        effect->release();
    }

    void thoseThatArePublishedAsTablesAreNearThem_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<double>("tolerance");
        QTest::addColumn<Color>("light");
        QTest::addColumn<Color>("display");
        const auto grey = [](double v) { return Color{v, v, v}; };
        // Rows of the base contrast of Filmic: encoded light from 0 to 1, encoded display.
        for (const auto &[row, encoded] : std::initializer_list<std::pair<int, double>>{
                 {1206, 0.062847921}, {2412, 0.462157217}, {3334, 0.889401400}, {4095, 1.0}})
            QTest::addRow("filmic_blender, row %d", row)
                << u"filmic_blender"_s << 1.5e-3 << grey(0.18 * std::exp2(row / 4095.0 * 16.5 - 10))
                << grey(std::pow(encoded, 2.2));
        const TableRow tony[] = {{grey(0.60525), {0.41819, 0.41754, 0.41803}},
                                 {grey(2.06418), {0.73475, 0.73339, 0.73430}}};
        for (const TableRow &row : tony)
            QTest::addRow("tony_mcmapface, grey %g", row.light[0])
                << u"tony_mcmapface"_s << 2e-3 << row.light << row.display;
        QTest::newRow("tony_mcmapface, red")
            << u"tony_mcmapface"_s << 0.12 << Color{6.99, 0, 0} << Color{1, 0.32932, 0.23331};
        QTest::newRow("tony_mcmapface, blue")
            << u"tony_mcmapface"_s << 0.12 << Color{0, 0, 6.99} << Color{0.15703, 0.4238, 0.99592};
    }
    void thoseThatArePublishedAsTablesAreNearThem()
    {
        QFETCH(QString, id);
        QFETCH(double, tolerance);
        QFETCH(Color, light);
        QFETCH(Color, display);
        PictureRig rig({1, 1});
        const auto source =
            rig.texture({1, 1}, {{float(light[0]), float(light[1]), float(light[2]), 1.0f}});
        const auto effect = PostEffectRegistry::instance().create(id);
        const Color found = colorOf(rig.drawn(*effect, source.get()).constFirst());
        for (std::size_t c = 0; c < 3; ++c)
            QVERIFY2(
                std::abs(found[c] - display[c]) < tolerance,
                qPrintable(QString::number(found[c]) + u" for "_s + QString::number(display[c])));
        effect->release();
    }

    void whatIsNoLightBecomesSomethingFromBlackToWhite()
    {
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        constexpr float inf = std::numeric_limits<float>::infinity();
        const PictureRig::Pixels hostile{{nan, nan, nan, nan},     {inf, inf, inf, inf},
                                         {-inf, 0, inf, -1},       {-1, -1e30f, -1e-30f, 1},
                                         {3e38f, 3e38f, 3e38f, 1}, {nan, 1, -1, 1},
                                         {1e-40f, 1e-30f, 0, 0},   {inf, nan, 0, 1}};
        PictureRig rig({8, 1});
        const auto source = rig.texture({8, 1}, hostile);
        const PostEffectRegistry &registry = PostEffectRegistry::instance();
        const QStringList ids = registry.idsByCategory(u"tonemap"_s);
        for (const QString &id : ids) {
            const auto effect = registry.create(id);
            const PictureRig::Pixels drawn = rig.drawn(*effect, source.get());
            for (int i = 0; i < drawn.size(); ++i) {
                for (int c = 0; c < 4; ++c)
                    QVERIFY2(drawn[i][c] >= 0.0f && drawn[i][c] <= 1.0f,
                             qPrintable(id + u" pixel "_s + QString::number(i)));
            }
            QVERIFY2(drawn[0].toVector3D().length() < 0.02f, qPrintable(id));
            QVERIFY2(drawn[1].x() > 0.9f, qPrintable(id));
            effect->release();
        }
    }

    void parametersChangeTheCurveWithinTheirRange()
    {
        PictureRig rig({1, 1});
        const auto source = rig.texture({1, 1}, {{2.0f, 2.0f, 2.0f, 1.0f}});
        const auto effect = PostEffectRegistry::instance().create(u"reinhard_ext"_s);
        QVERIFY(effect->setParameter(u"whitePoint"_s, 2.0));
        QCOMPARE(rig.drawn(*effect, source.get()).constFirst().x(), 1.0f);
        QVERIFY(effect->setParameter(u"whitePoint"_s, 1e9)); // 8 is the most
        QVERIFY(std::abs(rig.drawn(*effect, source.get()).constFirst().x() - 2.0f / 3 * 1.03125f) <
                1e-4f);
        QVERIFY(!effect->setParameter(u"whitePoint"_s, u"white"_s));
        QVERIFY(!effect->setParameter(u"whitePoint"_s, qQNaN()));
        QVERIFY(!effect->setParameter(u"whitepoint"_s, 2.0));
        effect->release();
    }
};

QTEST_GUILESS_MAIN(TstToneMaps)
#include "tst_ToneMaps.moc"
