#include "dbcfile.h"

#include <QHash>
#include <QIODevice>
#include <QRegularExpression>
#include <QSet>
#include <QTextCodec>

#include <algorithm>
#include <cmath>

namespace {

// Words that begin a statement. A statement other than VERSION, NS_, BS_,
// BU_, BO_ and SG_ runs to a ';', over several lines if need be; one of
// these words at the start of a line ends an unfinished one.
const QSet<QString>& statementKeywords()
{
    static const QSet<QString> words = [] {
        const QStringList list =
            QStringLiteral(
                "VERSION NS_ BS_ BU_ BO_ SG_ CM_ VAL_ VAL_TABLE_ BA_DEF_ BA_DEF_DEF_ BA_ BO_TX_BU_ "
                "SG_MUL_VAL_ EV_ EV_DATA_ ENVVAR_DATA_ SIG_VALTYPE_ SIG_GROUP_ SIG_TYPE_REF_ SGTYPE_ "
                "SGTYPE_VAL_ BA_DEF_SGTYPE_ BA_SGTYPE_ BA_DEF_REL_ BA_REL_ BA_DEF_DEF_REL_ BU_SG_REL_ "
                "BU_EV_REL_ BU_BO_REL_ CAT_DEF_ CAT_ FILTER")
                .split(QLatin1Char(' '));
        return QSet<QString>(list.cbegin(), list.cend());
    }();
    return words;
}

// UTF-8 when the bytes are valid UTF-8, else Latin-1, which every byte is.
QString decodeText(const QByteArray& bytes)
{
    QTextCodec::ConverterState state;
    const QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars == 0 && state.remainingChars == 0)
        return text;
    return QString::fromLatin1(bytes);
}

// The word a line starts with, up to a blank or a colon.
QStringView leadingWord(QStringView line)
{
    int end = 0;
    while (end < line.size() && !line[end].isSpace() && line[end] != QLatin1Char(':'))
        ++end;
    return line.left(end);
}

// The text between the quotes of a DBC string, with \" and \\ undone.
QString unescaped(QStringView s)
{
    QString text;
    text.reserve(s.size());
    for (int i = 0; i < s.size(); ++i) {
        if (s[i] == QLatin1Char('\\') && i + 1 < s.size() &&
            (s[i + 1] == QLatin1Char('"') || s[i + 1] == QLatin1Char('\\')))
            ++i;
        text += s[i];
    }
    return text;
}

struct Token
{
    enum Kind { Word, String, Punct } kind;
    QString text;
};

// Splits a statement into words, strings (with \" and \\ undone) and the
// punctuation of DBC files. Signs and points stay inside words.
QVector<Token> tokenize(QStringView s)
{
    static const QString punct = QStringLiteral(":;,|@()[]");
    QVector<Token> tokens;
    int i = 0;
    while (i < s.size()) {
        const QChar c = s[i];
        if (c.isSpace()) {
            ++i;
        } else if (c == QLatin1Char('"')) {
            const int start = ++i;
            for (; i < s.size() && s[i] != QLatin1Char('"'); ++i) {
                if (s[i] == QLatin1Char('\\'))
                    ++i;
            }
            tokens.append({Token::String, unescaped(s.mid(start, qMin(i, int(s.size())) - start))});
            ++i; // the closing quote
        } else if (punct.contains(c)) {
            tokens.append({Token::Punct, QString(c)});
            ++i;
        } else {
            const int start = i;
            while (i < s.size() && !s[i].isSpace() && s[i] != QLatin1Char('"') && !punct.contains(s[i]))
                ++i;
            tokens.append({Token::Word, s.mid(start, i - start).toString()});
        }
    }
    return tokens;
}

bool isWord(const QVector<Token>& t, int i)
{
    return i < t.size() && t[i].kind == Token::Word;
}

bool isString(const QVector<Token>& t, int i)
{
    return i < t.size() && t[i].kind == Token::String;
}

// Value descriptions: pairs of a whole number and its text, from token i on.
DbcValueTable valuePairs(const QVector<Token>& t, int i)
{
    DbcValueTable table;
    for (; isWord(t, i) && isString(t, i + 1); i += 2) {
        bool ok = false;
        qint64 value = t[i].text.toLongLong(&ok);
        if (!ok) {
            // Some writers put "1.0"; keep whole numbers only.
            const double d = t[i].text.toDouble(&ok);
            ok = ok && d == std::floor(d) && std::abs(d) < 9.0e18;
            value = ok ? qint64(d) : 0;
        }
        if (ok)
            table.insert(value, t[i + 1].text);
    }
    return table;
}

class DbcParser
{
public:
    explicit DbcParser(const QString& text) : lines(text.split(QLatin1Char('\n'))) {}

    DbcReadResult run();

private:
    void readMessage(QStringView line, int lineNo);
    void readSignal(QStringView line, int lineNo);
    // Gathers the statement that starts at line i up to its ';' and returns
    // the index of its last line.
    int readStatement(int i);
    void applyStatement(const QVector<Token>& t);
    DbcSignal* signalOf(const QString& id, const QString& name);

    void error(int lineNo, const QString& text) { result.errors.append({lineNo, text}); }

    QStringList lines;
    DbcReadResult result;
    int current = -1;                       // message whose SG_ lines follow, -1 for none
    bool passingOver = false;               // the SG_ lines of a BO_ that wasn't taken
    QHash<qulonglong, int> messageByFileId; // by the id as files write it
};

DbcReadResult DbcParser::run()
{
    static const QRegularExpression loneWord(QStringLiteral(R"(^[A-Za-z_][A-Za-z0-9_]*$)"));
    for (QString& line : lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
    }
    // A byte order mark is no part of the first word.
    if (!lines.isEmpty() && lines[0].startsWith(QChar(0xFEFF)))
        lines[0].remove(0, 1);

    for (int i = 0; i < lines.size(); ++i) {
        const QStringView line = QStringView(lines[i]).trimmed();
        if (line.isEmpty())
            continue;
        const QStringView keyword = leadingWord(line);
        const int lineNo = i + 1;
        if (keyword == QLatin1String("BO_")) {
            readMessage(line, lineNo);
            continue;
        }
        if (keyword == QLatin1String("SG_")) {
            readSignal(line, lineNo);
            continue;
        }
        // Anything else ends the signals of a message.
        current = -1;
        passingOver = false;
        if (keyword == QLatin1String("VERSION")) {
            const QVector<Token> t = tokenize(line);
            if (isString(t, 1))
                result.database.version = t[1].text;
        } else if (keyword == QLatin1String("NS_")) {
            // The list of new symbols: one word a line.
            while (i + 1 < lines.size() &&
                   (lines[i + 1].trimmed().isEmpty() || loneWord.match(lines[i + 1].trimmed()).hasMatch()))
                ++i;
        } else if (keyword == QLatin1String("BU_")) {
            const int colon = line.indexOf(QLatin1Char(':'));
            if (colon >= 0)
                result.database.nodes = line.mid(colon + 1).toString().split(
                    QRegularExpression(QStringLiteral("[\\s,]+")), Qt::SkipEmptyParts);
        } else if (keyword != QLatin1String("BS_")) {
            i = readStatement(i);
        }
    }
    return std::move(result);
}

void DbcParser::readMessage(QStringView line, int lineNo)
{
    static const QRegularExpression form(
        QStringLiteral(R"(^BO_\s+(\d+)\s+([A-Za-z_][A-Za-z0-9_]*)\s*:\s*(\d+)(?:\s+(\S+))?\s*$)"));
    current = -1;
    passingOver = true;
    const QRegularExpressionMatch m = form.match(line);
    bool ok = false;
    const qulonglong fileId = m.hasMatch() ? m.captured(1).toULongLong(&ok) : 0;
    const int length = m.hasMatch() ? m.captured(3).toInt() : 0;
    if (!ok || fileId > 0xFFFFFFFFull || length > 64) {
        error(lineNo, QStringLiteral("Malformed message: expected BO_ id name: length transmitter"));
        return;
    }
    DbcMessage message;
    message.extended = (fileId & 0x80000000u) != 0;
    message.id = uint32_t(fileId & 0x7FFFFFFFu);
    // Signals without a message gather under a pseudo message whose id is no
    // CAN id (VECTOR__INDEPENDENT_SIG_MSG): passed over with them.
    if (message.id > 0x1FFFFFFFu)
        return;
    // An id that a standard frame can't carry is meant as an extended one.
    if (message.id > 0x7FFu)
        message.extended = true;
    message.name = m.captured(2);
    message.length = length;
    message.transmitter = m.captured(4);
    passingOver = false;
    current = result.database.messages.size();
    if (!messageByFileId.contains(fileId))
        messageByFileId.insert(fileId, current);
    result.database.messages.append(message);
}

void DbcParser::readSignal(QStringView line, int lineNo)
{
    // SG_ name [M|m3|m3M] : start|length@order sign (factor,offset) [min|max] "unit" receivers
    static const QString number =
        QStringLiteral(R"re(\s*([-+]?(?:\d+(?:\.\d*)?|\.\d+)(?:[eE][-+]?\d+)?)\s*)re");
    static const QRegularExpression form(
        QStringLiteral(R"re(^SG_\s+([A-Za-z_][A-Za-z0-9_]*)(?:\s+(M|m\d+M?))?\s*:)re") +
        QStringLiteral(R"re(\s*(\d+)\s*\|\s*(\d+)\s*@\s*([01])\s*([+-])\s*)re") +
        QStringLiteral(R"re(\(%1,%1\)\s*\[%1\|%1\]\s*"((?:[^"\\]|\\.)*)"\s*(.*)$)re").arg(number));
    if (passingOver)
        return;
    const QRegularExpressionMatch m = form.match(line);
    if (current < 0) {
        error(lineNo, QStringLiteral("Signal %1 outside any message")
                          .arg(m.hasMatch() ? m.captured(1) : leadingWord(line.mid(3).trimmed()).toString()));
        return;
    }
    if (!m.hasMatch()) {
        error(lineNo, QStringLiteral("Malformed signal: expected SG_ name : start|length@order sign "
                                     "(factor,offset) [minimum|maximum] \"unit\" receivers"));
        return;
    }
    DbcSignal signal;
    signal.name = m.captured(1);
    bool startOk = false;
    bool lengthOk = false;
    signal.field.startBit = m.captured(3).toInt(&startOk);
    signal.field.length = m.captured(4).toInt(&lengthOk);
    if (!startOk || !lengthOk || signal.field.length < 1 || signal.field.length > 64) {
        error(lineNo, QStringLiteral("Signal %1 has length %2; a signal has 1 to 64 bits")
                          .arg(signal.name, m.captured(4)));
        return;
    }
    signal.field.motorola = m.captured(5) == QLatin1String("0");
    signal.isSigned = m.captured(6) == QLatin1String("-");
    signal.factor = m.captured(7).toDouble();
    signal.offset = m.captured(8).toDouble();
    signal.minimum = m.captured(9).toDouble();
    signal.maximum = m.captured(10).toDouble();
    signal.unit = unescaped(m.capturedRef(11));
    signal.receivers =
        m.captured(12).split(QRegularExpression(QStringLiteral("[\\s,]+")), Qt::SkipEmptyParts);

    const QString mux = m.captured(2);
    if (mux == QLatin1String("M")) {
        signal.multiplex = DbcMultiplex::Switch;
    } else if (!mux.isEmpty()) {
        const bool alsoSwitch = mux.endsWith(QLatin1Char('M'));
        signal.multiplex = alsoSwitch ? DbcMultiplex::SwitchedSwitch : DbcMultiplex::Switched;
        signal.multiplexValue = mux.mid(1, mux.size() - (alsoSwitch ? 2 : 1)).toULongLong();
    }
    result.database.messages[current].signalList.append(signal);
}

int DbcParser::readStatement(int i)
{
    const int first = i;
    QString statement;
    bool inString = false;
    for (;;) {
        const QString& line = lines[i];
        for (int k = 0; k < line.size(); ++k) {
            const QChar c = line[k];
            if (inString && c == QLatin1Char('\\')) {
                ++k;
            } else if (c == QLatin1Char('"')) {
                inString = !inString;
            } else if (!inString && c == QLatin1Char(';')) {
                // What follows on the line is not read.
                statement += line.leftRef(k);
                applyStatement(tokenize(statement));
                return i;
            }
        }
        statement += line;
        const bool nextStartsStatement =
            i + 1 < lines.size() &&
            statementKeywords().contains(leadingWord(QStringView(lines[i + 1]).trimmed()).toString());
        if (i + 1 >= lines.size() || (!inString && nextStartsStatement)) {
            error(first + 1, QStringLiteral("Statement %1 has no closing ';'")
                                 .arg(leadingWord(QStringView(lines[first]).trimmed()).toString()));
            return i;
        }
        statement += QLatin1Char('\n');
        ++i;
    }
}

DbcSignal* DbcParser::signalOf(const QString& id, const QString& name)
{
    bool ok = false;
    const auto it = messageByFileId.constFind(id.toULongLong(&ok));
    if (!ok || it == messageByFileId.cend())
        return nullptr;
    for (DbcSignal& signal : result.database.messages[*it].signalList) {
        if (signal.name == name)
            return &signal;
    }
    return nullptr;
}

void DbcParser::applyStatement(const QVector<Token>& t)
{
    if (t.isEmpty())
        return;
    const QString& keyword = t[0].text;
    if (keyword == QLatin1String("CM_")) {
        if (isString(t, 1)) {
            result.database.comment = t[1].text;
        } else if (isWord(t, 1) && t[1].text == QLatin1String("BO_") && isString(t, 3)) {
            bool ok = false;
            const auto it = messageByFileId.constFind(t[2].text.toULongLong(&ok));
            if (ok && it != messageByFileId.cend())
                result.database.messages[*it].comment = t[3].text;
        } else if (isWord(t, 1) && t[1].text == QLatin1String("SG_") && isWord(t, 3) && isString(t, 4)) {
            if (DbcSignal* signal = signalOf(t[2].text, t[3].text))
                signal->comment = t[4].text;
        }
        // Comments of nodes and environment variables, and those whose
        // message or signal is unknown, are passed over.
    } else if (keyword == QLatin1String("VAL_")) {
        // VAL_ of an environment variable has no message id.
        if (isWord(t, 1) && isWord(t, 2)) {
            if (DbcSignal* signal = signalOf(t[1].text, t[2].text))
                signal->values = valuePairs(t, 3);
        }
    } else if (keyword == QLatin1String("VAL_TABLE_")) {
        if (isWord(t, 1))
            result.database.valueTables.insert(t[1].text, valuePairs(t, 2));
    } else if (keyword == QLatin1String("SIG_VALTYPE_")) {
        const int typeAt = t.size() > 3 && t[3].kind == Token::Punct ? 4 : 3;
        if (isWord(t, 1) && isWord(t, 2) && isWord(t, typeAt)) {
            if (DbcSignal* signal = signalOf(t[1].text, t[2].text)) {
                const QString& type = t[typeAt].text;
                signal->valueType = type == QLatin1String("1")   ? SignalValueType::Float32
                                    : type == QLatin1String("2") ? SignalValueType::Float64
                                                                 : SignalValueType::Integer;
            }
        }
    }
}

} // namespace

const DbcSignal* DbcMessage::findSignal(const QString& signalName) const
{
    for (const DbcSignal& signal : signalList) {
        if (signal.name == signalName)
            return &signal;
    }
    return nullptr;
}

const DbcSignal* DbcMessage::multiplexer() const
{
    for (const DbcSignal& signal : signalList) {
        if (signal.multiplex == DbcMultiplex::Switch)
            return &signal;
    }
    return nullptr;
}

const DbcMessage* DbcDatabase::findMessage(uint32_t id, bool extended) const
{
    for (const DbcMessage& message : messages) {
        if (message.id == id && message.extended == extended)
            return &message;
    }
    return nullptr;
}

DbcReadResult readDbc(const QByteArray& bytes)
{
    return DbcParser(decodeText(bytes)).run();
}

DbcReadResult readDbc(QIODevice* device)
{
    return readDbc(device->readAll());
}

std::optional<BitLayout> dbcSignalLayout(const DbcMessage& message, const DbcSignal& signal)
{
    BitLayout layout;
    layout.field = signal.field;
    layout.isSigned = signal.isSigned;
    layout.valueType = signal.valueType;
    if (signal.multiplex == DbcMultiplex::Switched || signal.multiplex == DbcMultiplex::SwitchedSwitch) {
        // Extended multiplexing (SG_MUL_VAL_) is not followed: the plain
        // switch of the message decides.
        const DbcSignal* const switchSignal = message.multiplexer();
        if (!switchSignal || switchSignal == &signal)
            return std::nullopt;
        layout.multiplexed = true;
        layout.muxField = switchSignal->field;
        layout.muxValue = signal.multiplexValue;
    }
    if (!isDecodable(layout))
        return std::nullopt;
    return layout;
}

QString dbcValueName(double raw, const DbcValueTable& table)
{
    const double whole = std::round(raw);
    if (table.isEmpty() || !(std::abs(raw - whole) <= 1e-6 * std::max(1.0, std::abs(whole))) ||
        std::abs(whole) >= 9.0e18)
        return QString();
    return table.value(qint64(whole));
}

namespace {

const QChar escapeMark = QLatin1Char('\\');
const QChar entryEnd = QLatin1Char(';');
const QChar keyEnd = QLatin1Char(':');

} // namespace

QString valueTableText(const DbcValueTable& table)
{
    QStringList entries;
    for (auto it = table.cbegin(); it != table.cend(); ++it) {
        QString name;
        for (const QChar c : *it) {
            if (c == escapeMark || c == entryEnd || c == keyEnd)
                name += escapeMark;
            name += c;
        }
        entries << QString::number(it.key()) + keyEnd + name;
    }
    return entries.join(entryEnd);
}

DbcValueTable valueTableFromText(const QString& text)
{
    DbcValueTable table;
    QString key;
    QString name;
    bool inName = false;
    const auto takeEntry = [&] {
        bool ok = false;
        const qint64 number = key.trimmed().toLongLong(&ok);
        if (inName && ok)
            table.insert(number, name);
        key.clear();
        name.clear();
        inName = false;
    };
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == escapeMark && i + 1 < text.size()) {
            (inName ? name : key) += text.at(++i);
        } else if (c == entryEnd) {
            takeEntry();
        } else if (c == keyEnd && !inName) {
            inName = true;
        } else {
            (inName ? name : key) += c;
        }
    }
    takeEntry();
    return table;
}
