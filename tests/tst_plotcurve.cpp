// The sample store of a curve: its plot item, its ring through appendFrames,
// and the rule that turns a frame into a value.
#include "curvelock.h"
#include "dataplot.h"
#include "framedecode.h"
#include "plotcurve.h"
#include "pointarray.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

using Bytes = QVector<int>;
Q_DECLARE_METATYPE(Bytes)

namespace {

struct CurveParams
{
    int dataType = 2;
    int pos = 1;
    int mask = 0xFF;
    int byteOrder = 0;
    int axis = 0;
    double scale = 1.0;
    double offset = 0.0;
    int style = 0;
    bool visible = true;
    unsigned points = 8;
    bool clearArrays = true;
};

QSharedPointer<PlotCurve> makeCurve(VistrelMainWindow* window, const CurveParams& p,
                                    const QColor& color = QColor(Qt::red), const QString& name = "c")
{
    return QSharedPointer<PlotCurve>::create(window, color, name, 0, 2, 0x123, p.pos, p.dataType, p.mask,
                                             p.byteOrder, p.axis, p.scale, p.offset, QStringLiteral("V"),
                                             p.style, p.visible, p.points, p.clearArrays);
}

TessFrameT frameT(const Bytes& data, uint64_t stamp = 0, uint8_t lenByte = 0xFF)
{
    TessFrameT f{};
    f.id = 0x123;
    f.len = lenByte == 0xFF ? uint8_t(data.size()) : lenByte;
    for (int i = 0; i < data.size() && i < 8; ++i)
        f.data[i] = uint8_t(data[i]);
    f.timestamp = stamp;
    return f;
}

std::vector<TessFrameT> ringContents(PlotCurve& curve)
{
    const CurveLock lock(curve.mutex);
    std::vector<TessFrameT> out(curve.ring.count);
    curve.ring.snapshot(out.data(), curve.ring.count);
    return out;
}

std::vector<uint64_t> stamps(const std::vector<TessFrameT>& frames)
{
    std::vector<uint64_t> out;
    for (const TessFrameT& f : frames)
        out.push_back(f.timestamp);
    return out;
}

int curveItems(const DataPlot* plot)
{
    return plot->itemList(QwtPlotItem::Rtti_PlotCurve).size();
}

} // namespace

class TestPlotCurve : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void construction_data();
    void construction();
    void arraysWithoutClearing();
    void destructionDetachesTheItem();
    void itemOperations();
    void ringKeepsTheNewest_data();
    void ringKeepsTheNewest();
    void appendFramesDropsWhatCannotDecode_data();
    void appendFramesDropsWhatCannotDecode();
    void lostCountIsReportedAndFrameKept();
    void decodeFrame_data();
    void decodeFrame();
    void stepHoldsValueUntilNextSample();
    void updatePointsMatchesAFullDecode_data();
    void updatePointsMatchesAFullDecode();
    void pointArrayMovesSamplesDown_data();
    void pointArrayMovesSamplesDown();

private:
    std::unique_ptr<VistrelMainWindow> window;
};

void TestPlotCurve::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    TestSupport::useDriverConfig(QString());
}

void TestPlotCurve::init()
{
    window = std::make_unique<VistrelMainWindow>();
}

void TestPlotCurve::cleanup()
{
    window.reset();
}

void TestPlotCurve::construction_data()
{
    QTest::addColumn<int>("axis");
    QTest::addColumn<int>("style");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<double>("offset");
    QTest::addColumn<int>("lineWidth");
    QTest::addColumn<int>("yAxis");
    QTest::addColumn<int>("curveStyle");

    QTest::newRow("left, steps") << 0 << 0 << true << 0.0 << 1 << int(QwtPlot::yLeft)
                                 << int(QwtPlotCurve::Steps);
    QTest::newRow("right, lines") << 1 << 1 << true << -40.0 << 2 << int(QwtPlot::yRight)
                                  << int(QwtPlotCurve::Lines);
    QTest::newRow("any other axis is right")
        << 5 << 2 << true << 12.5 << 3 << int(QwtPlot::yRight) << int(QwtPlotCurve::Sticks);
    QTest::newRow("switched off") << 0 << 0 << false << 0.0 << 1 << int(QwtPlot::yLeft)
                                  << int(QwtPlotCurve::NoCurve);
}

void TestPlotCurve::construction()
{
    QFETCH(int, axis);
    QFETCH(int, style);
    QFETCH(bool, visible);
    QFETCH(double, offset);
    QFETCH(int, lineWidth);
    QFETCH(int, yAxis);
    QFETCH(int, curveStyle);

    window->lineWidth = lineWidth;
    CurveParams p;
    p.axis = axis;
    p.style = style;
    p.visible = visible;
    p.offset = offset;
    p.pos = 3;
    p.points = 100;
    // The alpha channel goes: the pen takes the colour by its name.
    const auto curve = makeCurve(window.get(), p, QColor(10, 20, 30, 40), QStringLiteral("Speed"));

    const QwtPlotCurve* item = curve->plotItem;
    QVERIFY(item);
    QCOMPARE(item->title().text(), QStringLiteral("Speed"));
    QCOMPARE(item->pen().color(), QColor(10, 20, 30));
    QCOMPARE(item->pen().width(), lineWidth);
    QCOMPARE(item->yAxis(), yAxis);
    QCOMPARE(item->baseline(), offset);
    QCOMPARE(int(item->style()), curveStyle);
    QVERIFY(!item->testRenderHint(QwtPlotItem::RenderAntialiased));
    QCOMPARE(item->plot(), static_cast<QwtPlot*>(window->plot));
    QCOMPARE(curveItems(window->plot), 1);

    // One point at run time 0 with value 0, read in place from the arrays.
    QCOMPARE(curve->pointCount(), 1);
    QCOMPARE(item->sample(0), QPointF(0.0, 0.0));
    curve->xValues[0] = 2.5;
    curve->yValues[0] = -7.0;
    QCOMPARE(item->sample(0), QPointF(2.5, -7.0));
    for (unsigned i = 0; i <= curve->maxPoints; ++i) {
        QCOMPARE(curve->xValues[i], i == 0 ? 2.5 : 0.0);
        QCOMPARE(curve->yValues[i], i == 0 ? -7.0 : 0.0);
    }

    QCOMPARE(curve->maxPoints, 100u);
    QCOMPARE(curve->ring.capacity, 100u);
    QCOMPARE(curve->ring.count, 0u);
    QCOMPARE(curve->bytePos, 2);
    QCOMPARE(curve->driverHandle(), -1);
    QCOMPARE(curve->timestampFrequency, int64_t(0));
}

void TestPlotCurve::arraysWithoutClearing()
{
    // A reader of a file fills the arrays itself and hands them over.
    CurveParams p;
    p.points = 3;
    p.clearArrays = false;
    const auto curve = makeCurve(window.get(), p);
    const double x[] = {9.0, 8.0, 7.0, 6.0};
    const double y[] = {1.0, 1.0, 2.0, 3.0};
    std::copy(x, x + 4, curve->xValues.get());
    std::copy(y, y + 4, curve->yValues.get());
    curve->plotItem->setRawSamples(curve->xValues.get(), curve->yValues.get(), 4);
    QCOMPARE(curve->pointCount(), 4);
    QCOMPARE(curve->plotItem->sample(3), QPointF(6.0, 3.0));
}

void TestPlotCurve::destructionDetachesTheItem()
{
    auto first = makeCurve(window.get(), CurveParams());
    auto second = makeCurve(window.get(), CurveParams());
    QCOMPARE(curveItems(window->plot), 2);
    first.reset();
    QCOMPARE(curveItems(window->plot), 1);
    QCOMPARE(window->plot->itemList(QwtPlotItem::Rtti_PlotCurve).value(0), second->plotItem);
    second.reset();
    QCOMPARE(curveItems(window->plot), 0);
    // The plot still draws without them.
    window->plot->replot();
}

void TestPlotCurve::itemOperations()
{
    window->lineWidth = 4;
    const auto curve = makeCurve(window.get(), CurveParams());
    QwtPlotCurve* item = curve->plotItem;

    curve->setColor(QColor(Qt::darkGreen));
    QCOMPARE(item->pen().color(), QColor(Qt::darkGreen));
    QCOMPARE(item->pen().width(), 4);

    curve->setCurveAxis(1);
    QCOMPARE(item->yAxis(), int(QwtPlot::yRight));
    curve->setCurveAxis(0);
    QCOMPARE(item->yAxis(), int(QwtPlot::yLeft));
    curve->setCurveAxis(3);
    QCOMPARE(item->yAxis(), int(QwtPlot::yRight));

    curve->setCurveTitle(QStringLiteral("Renamed"));
    QCOMPARE(item->title().text(), QStringLiteral("Renamed"));

    for (const bool on : {true, false, true}) {
        curve->setAntialiased(on);
        QCOMPARE(item->testRenderHint(QwtPlotItem::RenderAntialiased), on);
        QCOMPARE(item->testPaintAttribute(QwtPlotCurve::ClipPolygons), on);
    }

    item->setRawSamples(curve->xValues.get(), curve->yValues.get(), 6);
    QCOMPARE(curve->pointCount(), 6);
}

void TestPlotCurve::ringKeepsTheNewest_data()
{
    QTest::addColumn<bool>("oneBatch");
    QTest::newRow("one batch") << true;
    QTest::newRow("frame by frame") << false;
}

void TestPlotCurve::ringKeepsTheNewest()
{
    QFETCH(bool, oneBatch);
    CurveParams p;
    p.points = 4;
    const auto curve = makeCurve(window.get(), p);

    std::vector<TessFrameT> frames;
    for (int i = 0; i < 5; ++i)
        frames.push_back(frameT({i, 0}, 100 + i));
    {
        const CurveLock lock(curve->mutex);
        if (oneBatch) {
            curve->appendFrames(frames.data(), 5);
        } else {
            for (const TessFrameT& f : frames)
                curve->appendFrames(&f, 1);
        }
    }
    // capacity + 1 frames: the first is gone, the second comes first.
    QCOMPARE(curve->ring.count, 4u);
    QCOMPARE(stamps(ringContents(*curve)), (std::vector<uint64_t>{101, 102, 103, 104}));
    QCOMPARE(int(ringContents(*curve).front().data[0]), 1);
}

void TestPlotCurve::appendFramesDropsWhatCannotDecode_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("pos");
    QTest::addColumn<int>("lenByte");
    QTest::addColumn<bool>("stored");
    QTest::addColumn<bool>("fullFits"); // does a frame of 8 bytes hold the value?

    QTest::newRow("Integer16 at Pos 8 never fits") << 2 << 8 << 8 << false << false;
    QTest::newRow("Integer16 at Pos 7 fits") << 2 << 7 << 8 << true << true;
    QTest::newRow("Real64 at Pos 1, 7 bytes") << 7 << 1 << 7 << false << true;
    QTest::newRow("Real64 at Pos 1, 8 bytes") << 7 << 1 << 8 << true << true;
    QTest::newRow("Integer8, empty frame") << 0 << 1 << 0 << false << true;
    QTest::newRow("Unsigned32 at Pos 2, 5 bytes") << 5 << 2 << 5 << true << true;
    QTest::newRow("Unsigned32 at Pos 2, 4 bytes") << 5 << 2 << 4 << false << true;
    QTest::newRow("remote frame") << 1 << 1 << (TESS_FRAME_RTR | 8) << false << true;
    QTest::newRow("data type 8") << 8 << 1 << 8 << false << false;
    QTest::newRow("data type -1") << -1 << 1 << 8 << false << false;
}

void TestPlotCurve::appendFramesDropsWhatCannotDecode()
{
    QFETCH(int, dataType);
    QFETCH(int, pos);
    QFETCH(int, lenByte);
    QFETCH(bool, stored);
    QFETCH(bool, fullFits);

    CurveParams p;
    p.dataType = dataType;
    p.pos = pos;
    const auto curve = makeCurve(window.get(), p);
    // The frame in question between two full ones.
    const TessFrameT frames[] = {frameT({1, 2, 3, 4, 5, 6, 7, 8}, 1),
                                 frameT({9, 9, 9, 9, 9, 9, 9, 9}, 2, lenByte),
                                 frameT({1, 2, 3, 4, 5, 6, 7, 8}, 3)};
    {
        const CurveLock lock(curve->mutex);
        curve->appendFrames(frames, 3);
    }
    std::vector<uint64_t> expected;
    if (fullFits)
        expected = stored ? std::vector<uint64_t>{1, 2, 3} : std::vector<uint64_t>{1, 3};
    QCOMPARE(stamps(ringContents(*curve)), expected);
}

void TestPlotCurve::lostCountIsReportedAndFrameKept()
{
    CurveParams p;
    p.dataType = 3; // Unsigned16 at Pos 1
    const auto curve = makeCurve(window.get(), p);
    TessFrameT frames[] = {frameT({1, 0}, 1), frameT({2, 0}, 2), frameT({3}, 3), frameT({4, 0}, 4)};
    frames[1].lost = 3;
    frames[2].lost = 200; // reported, then dropped: one byte is too short
    frames[3].lost = 255; // the count is unsigned
    QTest::ignoreMessage(QtDebugMsg, "LOST: 3\n");
    QTest::ignoreMessage(QtDebugMsg, "LOST: 200\n");
    QTest::ignoreMessage(QtDebugMsg, "LOST: 255\n");
    {
        const CurveLock lock(curve->mutex);
        curve->appendFrames(frames, 4);
    }
    QCOMPARE(stamps(ringContents(*curve)), (std::vector<uint64_t>{1, 2, 4}));
}

void TestPlotCurve::decodeFrame_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("pos");
    QTest::addColumn<int>("mask");
    QTest::addColumn<int>("byteOrder");
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<Bytes>("data");
    QTest::addColumn<int>("lenByte"); // -1: the data's length
    QTest::addColumn<bool>("checkOnly");
    QTest::addColumn<bool>("result");
    QTest::addColumn<double>("raw");
    QTest::addColumn<double>("value");

    const double untouched = 99.0;
    QTest::newRow("Integer16 Motorola")
        << 2 << 1 << 0xFF << 1 << 1.0 << 0.0 << Bytes{0x12, 0x34} << -1 << false << true << 4660.0 << 4660.0;
    QTest::newRow("Integer16 Intel") << 2 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0x12, 0x34} << -1 << false
                                     << true << 13330.0 << 13330.0;
    QTest::newRow("Integer16 negative") << 2 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0x00, 0x80} << -1
                                        << false << true << -32768.0 << -32768.0;
    QTest::newRow("Unsigned16 at Pos 3, any other order is Motorola")
        << 3 << 3 << 0xFF << 7 << 1.0 << 0.0 << Bytes{0, 0, 0xAB, 0xCD} << -1 << false << true << 43981.0
        << 43981.0;
    QTest::newRow("Integer8 mask 0x7F")
        << 0 << 1 << 0x7F << 0 << 1.0 << 0.0 << Bytes{0xFF} << -1 << false << true << 127.0 << 127.0;
    QTest::newRow("Integer8 mask 0xFF")
        << 0 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0xFF} << -1 << false << true << -1.0 << -1.0;
    QTest::newRow("Integer8 mask 0xF0")
        << 0 << 1 << 0xF0 << 0 << 1.0 << 0.0 << Bytes{0xFF} << -1 << false << true << -16.0 << -16.0;
    QTest::newRow("Integer8 mask high bits ignored")
        << 0 << 2 << 0x10F << 1 << 1.0 << 0.0 << Bytes{0, 0xFE} << -1 << false << true << 14.0 << 14.0;
    QTest::newRow("Unsigned8 mask 0xF0")
        << 1 << 1 << 0xF0 << 0 << 1.0 << 0.0 << Bytes{0xFF} << -1 << false << true << 240.0 << 240.0;
    QTest::newRow("Unsigned32 all ones") << 5 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0xFF, 0xFF, 0xFF, 0xFF}
                                         << -1 << false << true << 4294967295.0 << 4294967295.0;
    QTest::newRow("Integer32 all ones") << 4 << 1 << 0xFF << 1 << 1.0 << 0.0 << Bytes{0xFF, 0xFF, 0xFF, 0xFF}
                                        << -1 << false << true << -1.0 << -1.0;
    QTest::newRow("Integer32 Motorola")
        << 4 << 2 << 0xFF << 1 << 1.0 << 0.0 << Bytes{0, 0x01, 0x02, 0x03, 0x04} << -1 << false << true
        << 16909060.0 << 16909060.0;
    QTest::newRow("Real32 Intel") << 6 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0x00, 0x00, 0xC0, 0x3F} << -1
                                  << false << true << 1.5 << 1.5;
    QTest::newRow("Real32 Motorola") << 6 << 1 << 0xFF << 1 << 1.0 << 0.0 << Bytes{0xC0, 0x10, 0x00, 0x00}
                                     << -1 << false << true << -2.25 << -2.25;
    QTest::newRow("Real64 Intel") << 7 << 1 << 0xFF << 0 << 1.0 << 0.0
                                  << Bytes{0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x40} << -1 << false
                                  << true << 2.5 << 2.5;
    QTest::newRow("Real64 Motorola") << 7 << 1 << 0xFF << 1 << 1.0 << 0.0
                                     << Bytes{0xBF, 0x50, 0x62, 0x4D, 0xD2, 0xF1, 0xA9, 0xFC} << -1 << false
                                     << true << -0.001 << -0.001;
    QTest::newRow("scaled") << 3 << 1 << 0xFF << 0 << 0.5 << -10.0 << Bytes{100, 0} << -1 << false << true
                            << 100.0 << 40.0;
    QTest::newRow("scale 0 gives the offset")
        << 3 << 1 << 0xFF << 0 << 0.0 << 7.25 << Bytes{100, 0} << -1 << false << true << 100.0 << 7.25;
    QTest::newRow("check only reads nothing")
        << 3 << 1 << 0xFF << 0 << 1.0 << 5.0 << Bytes{100, 0} << -1 << true << true << 0.0 << 0.0;
    QTest::newRow("too short") << 3 << 2 << 0xFF << 0 << 1.0 << 5.0 << Bytes{100, 0} << -1 << false << false
                               << 0.0 << 0.0;
    QTest::newRow("length beyond 8 counts as 8")
        << 7 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x40} << 0x0F
        << false << true << 2.5 << 2.5;
    QTest::newRow("remote frame leaves both alone")
        << 3 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{100, 0} << (TESS_FRAME_RTR | 2) << false << false
        << untouched << untouched;
    QTest::newRow("data type 8") << 8 << 1 << 0xFF << 0 << 1.0 << 0.0 << Bytes{1, 2, 3, 4, 5, 6, 7, 8} << -1
                                 << false << false << 0.0 << 0.0;
}

void TestPlotCurve::decodeFrame()
{
    QFETCH(int, dataType);
    QFETCH(int, pos);
    QFETCH(int, mask);
    QFETCH(int, byteOrder);
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(Bytes, data);
    QFETCH(int, lenByte);
    QFETCH(bool, checkOnly);
    QFETCH(bool, result);
    QFETCH(double, raw);
    QFETCH(double, value);

    CurveParams p;
    p.dataType = dataType;
    p.pos = pos;
    p.mask = mask;
    p.byteOrder = byteOrder;
    p.scale = scale;
    p.offset = offset;
    const auto curve = makeCurve(window.get(), p);

    const TessFrameT withStamp = frameT(data, 12345, lenByte < 0 ? 0xFF : uint8_t(lenByte));
    TessFrame plain{};
    std::memcpy(&plain, &withStamp, sizeof plain);

    double gotValue = 99.0;
    double gotRaw = 99.0;
    QCOMPARE(curve->decodeFrame(plain, checkOnly, &gotValue, &gotRaw), result);
    QCOMPARE(gotRaw, raw);
    QCOMPARE(gotValue, value);

    gotValue = 99.0;
    gotRaw = 99.0;
    QCOMPARE(curve->decodeFrame(withStamp, checkOnly, &gotValue, &gotRaw), result);
    QCOMPARE(gotRaw, raw);
    QCOMPARE(gotValue, value);
}

// In "Steps", a sample's value holds from its own time until the next,
// newer sample: with samples newest first, the curve at t = 1.5 shows the
// value of the sample at 1.0, not that of the sample at 2.0.
void TestPlotCurve::stepHoldsValueUntilNextSample()
{
    CurveParams p;
    p.style = 0;
    p.points = 4;
    const auto curve = makeCurve(window.get(), p, QColor(Qt::red));
    const double x[] = {3.0, 3.0, 2.0, 1.0};
    const double y[] = {60.0, 60.0, 20.0, -40.0};
    std::copy(std::begin(x), std::end(x), curve->xValues.get());
    std::copy(std::begin(y), std::end(y), curve->yValues.get());
    curve->plotItem->setRawSamples(curve->xValues.get(), curve->yValues.get(), 4);

    DataPlot* plot = window->plot;
    plot->resize(800, 500);
    plot->setTimeScale(4.0, 4.0);
    plot->replot();
    const QImage image = plot->canvas()->grab().toImage();

    const auto redNear = [&](double t, double value) {
        const int px = qRound(plot->transform(QwtPlot::xBottom, t));
        const int py = qRound(plot->transform(QwtPlot::yLeft, value));
        for (int dy = -1; dy <= 1; ++dy) {
            if (image.pixelColor(px, py + dy) == QColor(Qt::red))
                return true;
        }
        return false;
    };
    QVERIFY(redNear(1.5, -40.0));
    QVERIFY(!redNear(1.5, 20.0));
    QVERIFY(redNear(2.5, 20.0));
    QVERIFY(!redNear(2.5, 60.0));
}

void TestPlotCurve::updatePointsMatchesAFullDecode_data()
{
    QTest::addColumn<unsigned>("capacity");
    QTest::addColumn<QList<int>>("batches"); // frames appended between two updates
    QTest::addColumn<QList<int>>("spikes");  // frames with a far value: high, low, high, ...
    QTest::addColumn<bool>("withNaN");
    QTest::addColumn<QList<int>>("clockBack"); // frames stamped before the one ahead of them

    QTest::newRow("filling") << 50u << QList<int>{1, 3, 0, 10, 2} << QList<int>{} << false << QList<int>{};
    QTest::newRow("wrapping") << 7u << QList<int>{3, 3, 3, 1, 0, 6, 2} << QList<int>{} << false
                              << QList<int>{};
    QTest::newRow("more than the ring between updates")
        << 7u << QList<int>{5, 20, 1, 8, 3} << QList<int>{6, 30} << false << QList<int>{};
    QTest::newRow("extremes leave the ring")
        << 10u << QList<int>{4, 4, 4, 4, 4, 4, 4} << QList<int>{2, 5, 13} << false << QList<int>{};
    QTest::newRow("a tie with a leaving extreme")
        << 6u << QList<int>{3, 3, 3, 3, 3} << QList<int>{1, 2, 4, 7} << false << QList<int>{};
    QTest::newRow("NaN values") << 9u << QList<int>{2, 5, 7, 1, 1, 9} << QList<int>{3, 4} << true
                                << QList<int>{};
    QTest::newRow("ring of one") << 1u << QList<int>{1, 0, 2, 1, 5} << QList<int>{0, 3} << false
                                 << QList<int>{2};
    // Where the clock went back, the times are out of order until that
    // frame has left the ring; a break can also sit between two batches.
    QTest::newRow("clock set back, then gone")
        << 8u << QList<int>{3, 2, 4, 4, 4, 4} << QList<int>{} << false << QList<int>{1, 5, 7};
    QTest::newRow("clock set back at batch starts")
        << 12u << QList<int>{4, 4, 4, 4, 4, 4, 4, 4} << QList<int>{} << false << QList<int>{4, 8, 16};
    QTest::newRow("clock set back, values not finite")
        << 10u << QList<int>{3, 7, 1, 9, 2, 5, 11} << QList<int>{} << true << QList<int>{3, 9, 22};
}

void TestPlotCurve::updatePointsMatchesAFullDecode()
{
    QFETCH(unsigned, capacity);
    QFETCH(QList<int>, batches);
    QFETCH(QList<int>, spikes);
    QFETCH(bool, withNaN);
    QFETCH(QList<int>, clockBack);

    CurveParams p;
    p.dataType = 6; // Real32
    p.scale = 0.5;
    p.offset = 1.0;
    p.points = capacity;
    const auto curve = makeCurve(window.get(), p);
    {
        CurveLock lock(curve->mutex);
        curve->timestampFrequency = 1000;
        curve->timestampStart = 500;
    }

    int serial = 0;
    std::vector<TessFrameT> all(capacity);
    std::vector<double> x(capacity), y(capacity);
    for (const int batch : batches) {
        {
            CurveLock lock(curve->mutex);
            for (int i = 0; i < batch; ++i, ++serial) {
                float value = float(std::sin(serial * 0.7) * 10.0);
                if (const int spike = spikes.indexOf(serial); spike >= 0)
                    value = spike % 2 ? -1e6f : 1e6f;
                if (withNaN && serial % 3 == 1)
                    value = std::numeric_limits<float>::quiet_NaN();
                uint32_t bits = 0;
                std::memcpy(&bits, &value, 4);
                const Bytes bytes{int(bits & 0xFF), int(bits >> 8 & 0xFF), int(bits >> 16 & 0xFF),
                                  int(bits >> 24)};
                const uint64_t stamp = 1000 + uint64_t(serial) * 7 - (clockBack.contains(serial) ? 20 : 0);
                const TessFrameT frame = frameT(bytes, stamp);
                curve->appendFrames(&frame, 1);
            }
        }
        const PlotCurve::Points points = curve->updatePoints();

        // The reference: the whole ring decoded afresh, as a plain refresh would.
        unsigned n;
        {
            CurveLock lock(curve->mutex);
            n = curve->ring.snapshot(all.data(), capacity);
        }
        const DecodeSummary full =
            decodeFramesNewestFirst(curve->valueLayout(), all.data(), n, 500, 1000, x.data(), y.data());
        QCOMPARE(points.count, n);
        for (unsigned i = 0; i < n; ++i) {
            QCOMPARE(curve->xValues[i + 1], x[i]);
            if (std::isnan(y[i]))
                QVERIFY(std::isnan(curve->yValues[i + 1]));
            else
                QCOMPARE(curve->yValues[i + 1], y[i]);
        }
        QCOMPARE(points.lowest, full.lowest);
        QCOMPARE(points.highest, full.highest);
        if (n > 0 && !std::isnan(full.rawNewest))
            QCOMPARE(points.rawNewest, full.rawNewest);

        // What the item is told of the arrays, against a look at all of
        // them, with the live point set as a tick sets it.
        curve->xValues[0] = n > 0 ? curve->xValues[1] + 0.5 : 1.0;
        curve->yValues[0] = n > 0 ? curve->yValues[1] : 0.0;
        bool timesFall = true;
        bool valuesFinite = std::isfinite(curve->yValues[0]);
        for (unsigned i = 0; i < n; ++i) {
            timesFall = timesFall && curve->xValues[i] >= curve->xValues[i + 1];
            valuesFinite = valuesFinite && std::isfinite(curve->yValues[i + 1]);
        }
        const PlotCurve::PointShape shape = curve->pointShape();
        QCOMPARE(shape.timesFall, timesFall);
        QCOMPARE(shape.valuesFinite, valuesFinite);
    }
}

void TestPlotCurve::pointArrayMovesSamplesDown_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QList<int>>("pushes");

    QTest::newRow("one at a time") << 5 << QList<int>{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    QTest::newRow("batches across the top") << 9 << QList<int>{3, 4, 2, 5, 1, 8, 0, 6, 7, 3};
    QTest::newRow("whole arrays") << 6 << QList<int>{5, 5, 5, 2, 5};
    QTest::newRow("more than the array holds") << 4 << QList<int>{9, 1, 12};
    QTest::newRow("live point only") << 1 << QList<int>{0, 1, 3};
}

void TestPlotCurve::pointArrayMovesSamplesDown()
{
    QFETCH(int, length);
    QFETCH(QList<int>, pushes);

    // The same pushes on a plain vector, moved element by element.
    PointArray array{size_t(length)};
    std::fill_n(array.get(), length, 0.0);
    std::vector<double> expected(size_t(length), 0.0);
    double next = 1.0;
    for (const int push : pushes) {
        array.pushFront(size_t(push));
        const int fresh = std::min(push, length - 1);
        for (int i = length - 1; i > fresh; --i)
            expected[size_t(i)] = expected[size_t(i - fresh)];
        for (int i = 1; i <= fresh; ++i, next += 1.0) {
            array[size_t(i)] = next;
            expected[size_t(i)] = next;
        }
        array[0] = -next;
        expected[0] = -next;
        QCOMPARE(array.size(), size_t(length));
        for (int i = 0; i < length; ++i)
            QCOMPARE(array.get()[i], expected[size_t(i)]);
    }
}

QTEST_MAIN(TestPlotCurve)
#include "tst_plotcurve.moc"
