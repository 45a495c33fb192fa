#include "projectfile.h"

#include <QBuffer>
#include <QDomDocument>
#include <QTextCodec>
#include <QtTest>
#include <QXmlStreamReader>

using Attributes = QMap<QString, QString>;

Q_DECLARE_METATYPE(ValueAxisSettings)

namespace {

// One child element of the root as an independent reader sees it.
struct ParsedChild
{
    QString name;
    Attributes attributes;
    bool empty = true; // no text, no children
};

struct ParsedDocument
{
    QString rootName;
    Attributes rootAttributes;
    QVector<ParsedChild> children;
    QString error;
};

// Reads bytes with QXmlStreamReader, apart from the codec under test.
ParsedDocument parseIndependently(const QByteArray& bytes)
{
    ParsedDocument parsed;
    QXmlStreamReader reader(bytes);
    const auto attributesOf = [&reader] {
        Attributes attributes;
        for (const QXmlStreamAttribute& attribute : reader.attributes())
            attributes.insert(attribute.name().toString(), attribute.value().toString());
        return attributes;
    };
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            ++depth;
            if (depth == 1) {
                parsed.rootName = reader.name().toString();
                parsed.rootAttributes = attributesOf();
            } else if (depth == 2) {
                parsed.children.append({reader.name().toString(), attributesOf(), true});
            } else if (!parsed.children.isEmpty()) {
                parsed.children.last().empty = false;
            }
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Characters:
            if (depth >= 2 && !reader.isWhitespace())
                parsed.children.last().empty = false;
            break;
        default:
            break;
        }
    }
    if (reader.hasError())
        parsed.error = reader.errorString();
    return parsed;
}

// "key=value" lines, so that a failed comparison names the attribute.
QStringList pairs(const Attributes& attributes)
{
    QStringList lines;
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        lines << it.key() + QLatin1Char('=') + it.value();
    return lines;
}

QByteArray written(const QDomDocument& document)
{
    QBuffer buffer;
    if (!writeProjectDocument(document, &buffer))
        return QByteArray();
    return buffer.data();
}

ProjectReadResult readBytes(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    return readProjectDocument(&buffer);
}

QString graphLine(int position, const Attributes& attributes)
{
    return QStringLiteral("G%1{%2}").arg(position).arg(pairs(attributes).join(QLatin1Char(',')));
}

// A result in a form that compares well: "G<position>{key=value,...}" for a
// curve, "A<entry>@<position>:min,max,step,show,grid" for an axis.
QStringList summary(const ProjectReadResult& result)
{
    QStringList lines;
    for (const ProjectElement& element : result.elements) {
        if (element.kind == ProjectElement::Graph) {
            lines << graphLine(element.position, element.graph.attributes);
        } else {
            const ValueAxisSettings& axis = element.axis;
            lines << QStringLiteral("A%1@%2:%3,%4,%5,%6,%7")
                         .arg(element.axisIndex)
                         .arg(element.position)
                         .arg(axis.min)
                         .arg(axis.max)
                         .arg(axis.step)
                         .arg(int(axis.visible))
                         .arg(int(axis.grid));
        }
    }
    return lines;
}

ProjectGraph graphOf(const Attributes& attributes)
{
    ProjectGraph graph;
    graph.attributes = attributes;
    return graph;
}

// A curve element with all attributes that the window writes.
Attributes fullGraph(const QString& name, const QString& baud, const QString& enable)
{
    Attributes attributes{{"name", name}, {"baud", baud}, {"enable", enable}};
    const QString others =
        QStringLiteral("color=#1a2b3c|net=1|netstr=3: BETA|id=0x123|Id29Bit=1|pos=4|datatype=6|"
                       "mask=0xFF|intmot=1|axis=1|scale=0.25|offset=-40|unit=degC|calc=|"
                       "raw_value_min=-128|raw_value_max=127|value_min=-100|value_max=100|"
                       "name_20=|name_21=1c|style=2");
    for (const QString& pair : others.split(QLatin1Char('|')))
        attributes.insert(pair.section(QLatin1Char('='), 0, 0), pair.section(QLatin1Char('='), 1));
    return attributes;
}

} // namespace

class TestProjectFile : public QObject
{
    Q_OBJECT

private slots:
    void writer();
    void axisForms_data();
    void axisForms();
    void localEncoding();
    void reader_data();
    void reader();
    void extension_data();
    void extension();
};

void TestProjectFile::writer()
{
    const Attributes first = fullGraph("Speed", "2", "1");
    const Attributes second = fullGraph("Rpm \"1\" <&>", "-2147483620", "0");
    const QByteArray bytes = written(buildProjectDocument(
        "/home/user/projects/demo.vtlprj", "Wed May 20 03:40:13 1998", {graphOf(first), graphOf(second)},
        {ValueAxisSettings{-100.0, 100.0, 10.0, true, true},
         ValueAxisSettings{0.0, 2.5, 0.5, false, false}}));

    const ParsedDocument parsed = parseIndependently(bytes);
    QVERIFY2(parsed.error.isEmpty(), qPrintable(parsed.error));
    QCOMPARE(parsed.rootName, QStringLiteral("Vistrel"));
    QCOMPARE(pairs(parsed.rootAttributes), pairs(Attributes{{"file", "/home/user/projects/demo.vtlprj"},
                                                            {"datetime", "Wed May 20 03:40:13 1998"}}));
    QStringList names;
    for (const ParsedChild& child : parsed.children) {
        names << child.name;
        QVERIFY2(child.empty, qPrintable(child.name));
    }
    QCOMPARE(names, (QStringList{"Graph0", "Graph1", "CustomAxis", "CustomAxis1"}));
    QCOMPARE(pairs(parsed.children[0].attributes), pairs(first));
    QCOMPARE(pairs(parsed.children[1].attributes), pairs(second));
    QCOMPARE(
        pairs(parsed.children[2].attributes),
        pairs(Attributes{{"Min", "-100"}, {"Max", "100"}, {"Step", "10"}, {"Show", "1"}, {"Grid", "1"}}));
    QCOMPARE(pairs(parsed.children[3].attributes),
             pairs(Attributes{{"Min", "0"}, {"Max", "2.5"}, {"Step", "0.5"}, {"Show", "0"}, {"Grid", "0"}}));

    // No declaration, no processing instruction: the root comes first. An
    // indent of one space per level, and line feeds alone.
    QVERIFY2(bytes.startsWith("<Vistrel "), bytes.constData());
    QVERIFY(!bytes.contains("<?"));
    QVERIFY(!bytes.contains('\r'));
    const QList<QByteArray> lines = bytes.split('\n');
    QVERIFY(lines.size() >= 6);
    for (int i = 0; i < names.size(); ++i)
        QVERIFY2(lines[i + 1].startsWith(" <" + names[i].toLatin1() + ' '), lines[i + 1].constData());
    QCOMPARE(lines[5], QByteArray("</Vistrel>"));

    // And back: every attribute as written, each element at its position.
    const ProjectReadResult result = readBytes(bytes);
    QCOMPARE(result.status, ProjectReadResult::Ok);
    QCOMPARE(summary(result), (QStringList{graphLine(0, first), graphLine(1, second), "A0@2:-100,100,10,1,1",
                                           "A1@3:0,2.5,0.5,0,0"}));
}

void TestProjectFile::axisForms_data()
{
    QTest::addColumn<ValueAxisSettings>("axis");
    QTest::addColumn<Attributes>("expected");

    // Doubles as QDomElement::setAttribute(QString, double) writes them.
    QTest::newRow("whole numbers")
        << ValueAxisSettings{-100.0, 100.0, 10.0, true, false}
        << Attributes{{"Min", "-100"}, {"Max", "100"}, {"Step", "10"}, {"Show", "1"}, {"Grid", "0"}};
    QTest::newRow("binary fractions")
        << ValueAxisSettings{-1.5, 3.25, 0.125, false, true}
        << Attributes{{"Min", "-1.5"}, {"Max", "3.25"}, {"Step", "0.125"}, {"Show", "0"}, {"Grid", "1"}};
    QTest::newRow("full precision") << ValueAxisSettings{0.1, 1e21, 1e-7, false, false}
                                    << Attributes{{"Min", "0.10000000000000001"},
                                                  {"Max", "1e+21"},
                                                  {"Step", "9.9999999999999995e-08"},
                                                  {"Show", "0"},
                                                  {"Grid", "0"}};
    QTest::newRow("step 0") << ValueAxisSettings{-5.0, 5.0, 0.0, true, true}
                            << Attributes{
                                   {"Min", "-5"}, {"Max", "5"}, {"Step", "0"}, {"Show", "1"}, {"Grid", "1"}};
}

void TestProjectFile::axisForms()
{
    QFETCH(ValueAxisSettings, axis);
    QFETCH(Attributes, expected);

    // No curves: the axes alone.
    const QByteArray bytes =
        written(buildProjectDocument("f", "d", {}, {ValueAxisSettings::leftDefault(), axis}));
    const ParsedDocument parsed = parseIndependently(bytes);
    QCOMPARE(parsed.children.size(), 2);
    QCOMPARE(parsed.children[0].name, QStringLiteral("CustomAxis"));
    QCOMPARE(parsed.children[1].name, QStringLiteral("CustomAxis1"));
    QCOMPARE(pairs(parsed.children[1].attributes), pairs(expected));

    // Read back to the very same doubles.
    const ProjectReadResult result = readBytes(bytes);
    QCOMPARE(summary(result).value(0), QStringLiteral("A0@0:-100,100,10,1,1"));
    QCOMPARE(result.elements.size(), 2);
    const ValueAxisSettings& back = result.elements[1].axis;
    QCOMPARE(result.elements[1].axisIndex, 1);
    QVERIFY(back.min == axis.min && back.max == axis.max && back.step == axis.step);
    QCOMPARE(back.visible, axis.visible);
    QCOMPARE(back.grid, axis.grid);
}

void TestProjectFile::localEncoding()
{
    // The stream keeps the system's codec: the bytes of a name outside
    // ASCII are what that codec makes of it.
    const QString name = QStringLiteral("Temp\u00e9rature \u00b0");
    const QByteArray bytes = written(buildProjectDocument("f", "d", {graphOf({{"name", name}})}, {}));
    const QByteArray local = QTextCodec::codecForLocale()->fromUnicode(name);
    QVERIFY2(bytes.contains("name=\"" + local + "\""), bytes.constData());
}

void TestProjectFile::reader_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("expected"); // a status other than Ok comes first

    QTest::newRow("curves and axes")
        << QByteArray("<Vistrel file=\"x\" datetime=\"y\">\n"
                      " <Graph0 name=\"a\" pos=\"2\"/>\n"
                      " <Graph1 name=\"b\"/>\n"
                      " <CustomAxis Min=\"-5\" Max=\"5\" Step=\"1\" Show=\"1\" Grid=\"0\"/>\n"
                      " <CustomAxis1 Min=\"0\" Max=\"8\" Step=\"2\" Show=\"1\" Grid=\"1\"/>\n"
                      "</Vistrel>\n")
        << QStringList{"G0{name=a,pos=2}", "G1{name=b}", "A0@2:-5,5,1,1,0", "A1@3:0,8,2,1,1"};
    QTest::newRow("GraphXY counts by its position")
        << QByteArray("<Vistrel><Graph0 name=\"a\"/><Graph1 name=\"b\"/><Graph2 name=\"c\"/>"
                      "<GraphXY name=\"x\"/></Vistrel>")
        << QStringList{"G0{name=a}", "G1{name=b}", "G2{name=c}", "G3{name=x}"};
    QTest::newRow("number in the name is not read")
        << QByteArray("<Vistrel><Graph7 name=\"a\"/><Graph name=\"b\"/></Vistrel>")
        << QStringList{"G0{name=a}", "G1{name=b}"};
    QTest::newRow("CustomAxis7 is the right axis")
        << QByteArray(
               "<Vistrel><CustomAxis7 Min=\"1\" Max=\"2\" Step=\"0.5\" Show=\"1\" Grid=\"1\"/></Vistrel>")
        << QStringList{"A1@0:1,2,0.5,1,1"};
    QTest::newRow("CustomAxis0 is the right axis")
        << QByteArray("<Vistrel><CustomAxis0 Min=\"3\"/><CustomAxis Min=\"4\"/></Vistrel>")
        << QStringList{"A1@0:3,0,0,0,0", "A0@1:4,0,0,0,0"};
    QTest::newRow("without attributes skipped, but counted")
        << QByteArray("<Vistrel><Graph0/><CustomAxis/><Graph2 name=\"c\"/></Vistrel>")
        << QStringList{"G2{name=c}"};
    QTest::newRow("unknown elements and comments counted")
        << QByteArray("<Vistrel><Info a=\"1\"/><!-- note --><Graph0 name=\"a\"/>"
                      "<Extra><Graph0 name=\"nested\"/></Extra><Graph1 name=\"b\"/></Vistrel>")
        << QStringList{"G2{name=a}", "G4{name=b}"};
    QTest::newRow("names compared case-sensitively")
        << QByteArray("<Vistrel><graph0 name=\"a\"/><customaxis Min=\"1\"/><GRAPH1 name=\"b\"/></Vistrel>")
        << QStringList{};
    QTest::newRow("root name and attributes ignored")
        << QByteArray("<Other version=\"9\"><Graph0 name=\"a\"/></Other>") << QStringList{"G0{name=a}"};
    QTest::newRow("absent attributes stay absent")
        << QByteArray("<Vistrel><Graph0 color=\"#ff0000\"/></Vistrel>") << QStringList{"G0{color=#ff0000}"};
    QTest::newRow("UTF-8 without declaration")
        << QByteArray("<Vistrel><Graph0 name=\"\xc3\xa9t\xc3\xa9\"/></Vistrel>")
        << QStringList{QString::fromUtf8("G0{name=\xc3\xa9t\xc3\xa9}")};
    QTest::newRow("only the root") << QByteArray("<Vistrel file=\"x\"/>") << QStringList{};

    // Axis values: booleans above 0, numbers in the C locale's forms.
    const auto axis = [](const char* attributes) {
        return "<Vistrel><CustomAxis " + QByteArray(attributes) + "/></Vistrel>";
    };
    QTest::newRow("axis as written") << axis("Min=\"-1.5\" Max=\"3.25\" Step=\"0.25\" Show=\"1\" Grid=\"1\"")
                                     << QStringList{"A0@0:-1.5,3.25,0.25,1,1"};
    QTest::newRow("axis: above 0 is true") << axis("Show=\"7\" Grid=\"2\"") << QStringList{"A0@0:0,0,0,1,1"};
    QTest::newRow("axis: negative is false")
        << axis("Show=\"-1\" Grid=\"-3\"") << QStringList{"A0@0:0,0,0,0,0"};
    QTest::newRow("axis: not a number is 0")
        << axis("Min=\"1,5\" Show=\"yes\" Grid=\"1.0\"") << QStringList{"A0@0:0,0,0,0,0"};
    QTest::newRow("axis: exponents") << axis("Min=\"-1e3\" Max=\"2.5E2\"")
                                     << QStringList{"A0@0:-1000,250,0,0,0"};

    // Nothing of a document that doesn't parse is acted on.
    const QStringList failed{QStringLiteral("status %1").arg(int(ProjectReadResult::ParseFailed))};
    QTest::newRow("empty") << QByteArray() << failed;
    QTest::newRow("not XML") << QByteArray("Vistrel project") << failed;
    QTest::newRow("unclosed root") << QByteArray("<Vistrel><Graph0 name=\"a\"/>") << failed;
    QTest::newRow("mismatched tags") << QByteArray("<Vistrel><Graph0 name=\"a\"></Graph1></Vistrel>")
                                     << failed;
    QTest::newRow("two roots") << QByteArray("<Vistrel/><Vistrel/>") << failed;
}

void TestProjectFile::reader()
{
    QFETCH(QByteArray, xml);
    QFETCH(QStringList, expected);

    QBuffer buffer;
    buffer.setData(xml);
    const ProjectReadResult result = readProjectDocument(&buffer);
    QStringList got = summary(result);
    if (result.status != ProjectReadResult::Ok)
        got.prepend(QStringLiteral("status %1").arg(int(result.status)));
    QCOMPARE(got, expected);
    // Closed again, whether the document parsed or not.
    QVERIFY(!buffer.isOpen());
}

void TestProjectFile::extension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("without") << "/tmp/demo"
                             << "/tmp/demo.vtlprj";
    QTest::newRow("with") << "/tmp/demo.vtlprj"
                          << "/tmp/demo.vtlprj";
    QTest::newRow("capitals") << "/tmp/demo.VTLPRJ"
                              << "/tmp/demo.VTLPRJ.vtlprj";
    QTest::newRow("letters without dot") << "/tmp/demovtlprj"
                                         << "/tmp/demovtlprj.vtlprj";
    QTest::newRow("other extension") << "demo.vtldat"
                                     << "demo.vtldat.vtlprj";
}

void TestProjectFile::extension()
{
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(withProjectExtension(name), expected);
}

QTEST_GUILESS_MAIN(TestProjectFile)
#include "tst_projectfile.moc"
