#include "framering.h"

#include <QtTest>

#include <cstring>
#include <deque>
#include <random>
#include <type_traits>
#include <vector>

// One ring belongs to one curve; a copy would be a second ring with the same frames.
static_assert(!std::is_copy_constructible_v<FrameRing> && !std::is_copy_assignable_v<FrameRing>);

namespace {

TessFrameT makeFrame(uint32_t seq)
{
    TessFrameT f{};
    f.id = seq;
    f.len = 8;
    f.lost = static_cast<uint8_t>(seq * 7);
    for (int i = 0; i < 8; ++i)
        f.data[i] = static_cast<uint8_t>(seq >> (i % 4 * 8)) ^ static_cast<uint8_t>(i);
    f.timestamp = 0x0102030400000000ull + seq;
    return f;
}

bool sameFrame(const TessFrameT& a, const TessFrameT& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Checks the whole content of the ring against a model, oldest first.
void compareWithModel(const FrameRing& ring, const std::deque<TessFrameT>& model)
{
    QCOMPARE(ring.count, static_cast<uint32_t>(model.size()));
    std::vector<TessFrameT> out(ring.capacity + 1);
    QCOMPARE(ring.snapshot(out.data(), ring.capacity + 1), static_cast<unsigned>(model.size()));
    for (size_t i = 0; i < model.size(); ++i)
        QVERIFY2(sameFrame(out[i], model[i]), qPrintable(QStringLiteral("frame %1 differs").arg(i)));
    if (ring.count == ring.capacity && ring.capacity > 0)
        QCOMPARE(static_cast<uint32_t>(ring.head), (static_cast<uint32_t>(ring.tail) + 1) % ring.capacity);
}

} // namespace

class TestFrameRing : public QObject
{
    Q_OBJECT

private slots:
    void overflowDropsOldest_data();
    void overflowDropsOldest();
    void indicesAroundFull_data();
    void indicesAroundFull();
    void emptySnapshotLeavesOutAlone_data();
    void emptySnapshotLeavesOutAlone();
    void snapshotOfFewerThanHeld_data();
    void snapshotOfFewerThanHeld();
    void longSequencesAgainstModel_data();
    void longSequencesAgainstModel();
    void batchEqualsSingleAppends_data();
    void batchEqualsSingleAppends();
    void appendIfKeepsChosenFrames();
};

void TestFrameRing::overflowDropsOldest_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::newRow("1") << 1u;
    QTest::newRow("2") << 2u;
    QTest::newRow("5") << 5u;
    QTest::newRow("5000") << 5000u;
}

void TestFrameRing::overflowDropsOldest()
{
    QFETCH(uint32_t, capacity);
    FrameRing ring(capacity);
    for (uint32_t i = 1; i <= capacity + 1; ++i)
        ring.append(makeFrame(i));
    QCOMPARE(ring.count, capacity);
    std::vector<TessFrameT> out(capacity);
    QCOMPARE(ring.snapshot(out.data(), capacity), static_cast<unsigned>(capacity));
    QVERIFY(sameFrame(out.front(), makeFrame(2)));
    QVERIFY(sameFrame(out.back(), makeFrame(capacity + 1)));
}

void TestFrameRing::indicesAroundFull_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::addColumn<int>("headAfterOneMore");
    QTest::newRow("1: head falls back at once") << 1u << 0;
    QTest::newRow("2") << 2u << 1;
    QTest::newRow("3") << 3u << 1;
    QTest::newRow("100") << 100u << 1;
}

void TestFrameRing::indicesAroundFull()
{
    QFETCH(uint32_t, capacity);
    QFETCH(int, headAfterOneMore);
    FrameRing ring(capacity);
    QCOMPARE(ring.head, 0);
    QCOMPARE(ring.tail, -1);
    for (uint32_t i = 0; i < capacity; ++i)
        ring.append(makeFrame(i));
    QCOMPARE(ring.head, 0);
    QCOMPARE(ring.tail, static_cast<int>(capacity) - 1);
    ring.append(makeFrame(capacity));
    QCOMPARE(ring.head, headAfterOneMore);
    QCOMPARE(ring.tail, 0);
    QCOMPARE(ring.count, capacity);
    QVERIFY(sameFrame(ring.frames[0], makeFrame(capacity)));
}

void TestFrameRing::emptySnapshotLeavesOutAlone_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::addColumn<int>("appends");
    QTest::newRow("new ring") << 4u << 0;
    QTest::newRow("capacity 0") << 0u << 0;
    QTest::newRow("capacity 0 after appends and a batch") << 0u << 3;
}

void TestFrameRing::emptySnapshotLeavesOutAlone()
{
    QFETCH(uint32_t, capacity);
    QFETCH(int, appends);
    FrameRing ring(capacity);
    if (appends > 0) {
        const TessFrameT batch[2] = {makeFrame(10), makeFrame(11)};
        for (int i = 0; i < appends; ++i)
            ring.append(makeFrame(static_cast<uint32_t>(i)));
        ring.appendBatch(batch, 2);
    }
    QCOMPARE(ring.count, 0u);
    QCOMPARE(ring.tail, -1);

    TessFrameT out[3];
    std::memset(out, 0xA5, sizeof out);
    TessFrameT untouched[3];
    std::memset(untouched, 0xA5, sizeof untouched);
    QCOMPARE(ring.snapshot(out, 3), 0u);
    QCOMPARE(std::memcmp(out, untouched, sizeof out), 0);
}

void TestFrameRing::snapshotOfFewerThanHeld_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::addColumn<uint32_t>("appends");
    QTest::addColumn<unsigned>("wanted");
    QTest::addColumn<uint32_t>("firstSeq");
    QTest::newRow("none wanted") << 8u << 5u << 0u << 0u;
    QTest::newRow("not full") << 8u << 5u << 3u << 0u;
    QTest::newRow("full, no wrap in copy") << 8u << 10u << 4u << 2u;
    QTest::newRow("full, copy wraps") << 8u << 13u << 6u << 5u;
    QTest::newRow("more wanted than held") << 8u << 13u << 100u << 5u;
}

void TestFrameRing::snapshotOfFewerThanHeld()
{
    QFETCH(uint32_t, capacity);
    QFETCH(uint32_t, appends);
    QFETCH(unsigned, wanted);
    QFETCH(uint32_t, firstSeq);
    FrameRing ring(capacity);
    for (uint32_t i = 0; i < appends; ++i)
        ring.append(makeFrame(i));
    const unsigned expected = std::min<unsigned>(wanted, ring.count);

    std::vector<TessFrameT> out(expected + 1);
    std::memset(out.data(), 0x5A, out.size() * sizeof(TessFrameT));
    QCOMPARE(ring.snapshot(out.data(), wanted), expected);
    for (unsigned i = 0; i < expected; ++i)
        QVERIFY(sameFrame(out[i], makeFrame(firstSeq + i)));
    // Nothing beyond the returned frames is written.
    const std::vector<unsigned char> pattern(sizeof(TessFrameT), 0x5A);
    QCOMPARE(std::memcmp(&out[expected], pattern.data(), sizeof(TessFrameT)), 0);
}

void TestFrameRing::longSequencesAgainstModel_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::addColumn<bool>("batches");
    for (uint32_t capacity : {1u, 2u, 3u, 7u, 64u, 2047u}) {
        QTest::addRow("capacity %u, single appends", capacity) << capacity << false;
        QTest::addRow("capacity %u, batches", capacity) << capacity << true;
    }
}

void TestFrameRing::longSequencesAgainstModel()
{
    QFETCH(uint32_t, capacity);
    QFETCH(bool, batches);
    std::mt19937 rng(capacity * 2 + batches);
    FrameRing ring(capacity);
    std::deque<TessFrameT> model;
    std::vector<TessFrameT> batch(3 * capacity + 5);
    std::vector<TessFrameT> out(capacity + 1);
    uint32_t seq = 0;

    for (int step = 0; step < 300; ++step) {
        const unsigned n = std::uniform_int_distribution<unsigned>(0, 3 * capacity + 4)(rng);
        for (unsigned i = 0; i < n; ++i) {
            batch[i] = makeFrame(seq++);
            model.push_back(batch[i]);
            if (model.size() > capacity)
                model.pop_front();
        }
        if (batches) {
            ring.appendBatch(batch.data(), n);
        } else {
            for (unsigned i = 0; i < n; ++i)
                ring.append(batch[i]);
        }
        compareWithModel(ring, model);

        const unsigned wanted = std::uniform_int_distribution<unsigned>(0, capacity + 1)(rng);
        const unsigned got = ring.snapshot(out.data(), wanted);
        QCOMPARE(got, std::min<unsigned>(wanted, static_cast<unsigned>(model.size())));
        for (unsigned i = 0; i < got; ++i)
            QVERIFY(sameFrame(out[i], model[i]));
    }
}

void TestFrameRing::batchEqualsSingleAppends_data()
{
    QTest::addColumn<uint32_t>("capacity");
    QTest::addColumn<QVector<unsigned>>("batchSizes");
    QTest::newRow("fills exactly") << 5u << QVector<unsigned>{5, 1};
    QTest::newRow("fill crosses full") << 5u << QVector<unsigned>{3, 4, 2};
    QTest::newRow("batch of many capacities") << 5u << QVector<unsigned>{2, 23, 1};
    QTest::newRow("batch of exactly capacity when full") << 5u << QVector<unsigned>{7, 5, 5};
    QTest::newRow("empty batches") << 5u << QVector<unsigned>{0, 6, 0};
    QTest::newRow("capacity 1") << 1u << QVector<unsigned>{1, 3, 1, 2};
    QTest::newRow("2047 read batches into 5000")
        << 5000u << QVector<unsigned>{2047, 2047, 2047, 2047, 2047, 11};
}

void TestFrameRing::batchEqualsSingleAppends()
{
    QFETCH(uint32_t, capacity);
    QFETCH(QVector<unsigned>, batchSizes);
    FrameRing single(capacity);
    FrameRing batched(capacity);
    uint32_t seq = 0;
    for (unsigned n : batchSizes) {
        std::vector<TessFrameT> batch(n + 1);
        for (unsigned i = 0; i < n; ++i) {
            batch[i] = makeFrame(seq++);
            single.append(batch[i]);
        }
        batched.appendBatch(batch.data(), n);
        QCOMPARE(batched.count, single.count);
        QCOMPARE(batched.head, single.head);
        QCOMPARE(batched.tail, single.tail);
        for (uint32_t i = 0; i < capacity; ++i)
            QVERIFY(sameFrame(batched.frames[i], single.frames[i]));
    }
}

void TestFrameRing::appendIfKeepsChosenFrames()
{
    FrameRing ring(6);
    std::vector<TessFrameT> batch;
    for (uint32_t i = 0; i < 10; ++i)
        batch.push_back(makeFrame(i));

    std::vector<uint32_t> asked;
    ring.appendIf(batch.data(), static_cast<int>(batch.size()), [&asked](const TessFrameT& f) {
        asked.push_back(f.id);
        return f.id != 0 && f.id != 3 && f.id != 4 && f.id != 9;
    });
    QCOMPARE(asked, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    std::deque<TessFrameT> model;
    for (uint32_t id : {1u, 2u, 5u, 6u, 7u, 8u})
        model.push_back(makeFrame(id));
    compareWithModel(ring, model);

    // A negative or zero count appends nothing and asks nothing.
    asked.clear();
    const auto keepAll = [&asked](const TessFrameT& f) {
        asked.push_back(f.id);
        return true;
    };
    ring.appendIf(batch.data(), 0, keepAll);
    ring.appendIf(batch.data(), -3, keepAll);
    QVERIFY(asked.empty());
    compareWithModel(ring, model);
}

QTEST_GUILESS_MAIN(TestFrameRing)
#include "tst_framering.moc"
