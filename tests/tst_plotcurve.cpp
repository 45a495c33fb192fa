// The sample store of a curve: its plot item, its ring through appendFrames,
// and the rule that turns a frame into a value.
#include "curvelock.h"
#include "dataplot.h"
#include "plotcurve.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <cstring>
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
    QVERIFY(item->testCurveAttribute(QwtPlotCurve::Inverted));
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

QTEST_MAIN(TestPlotCurve)
#include "tst_plotcurve.moc"
