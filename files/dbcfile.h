#ifndef DBCFILE_H
#define DBCFILE_H

#include "bitlayout.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <optional>

class QIODevice;

// DBC files, the common description of the messages and signals of a CAN
// bus. The reader keeps what the program can use (messages, signals with
// their bits, scaling and ranges, multiplexers, value tables, comments,
// float signals) and passes over the rest (attributes, environment
// variables, signal groups and the like).

// Raw value to its name, as VAL_ and VAL_TABLE_ give them.
using DbcValueTable = QMap<qint64, QString>;

// What a signal does in a multiplexed message: the switch ("M"), a signal
// present for one switch value ("m3"), or both ("m3M", extended
// multiplexing).
enum class DbcMultiplex { None, Switch, Switched, SwitchedSwitch };

struct DbcSignal
{
    QString name;
    BitField field;
    bool isSigned = false;
    SignalValueType valueType = SignalValueType::Integer; // from SIG_VALTYPE_
    double factor = 1.0;
    double offset = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    QString unit;
    QStringList receivers;
    DbcMultiplex multiplex = DbcMultiplex::None;
    uint64_t multiplexValue = 0; // for Switched and SwitchedSwitch
    QString comment;
    DbcValueTable values;
};

struct DbcMessage
{
    uint32_t id = 0; // without the extended flag
    bool extended = false;
    QString name;
    int length = 0; // data bytes, as the file says
    QString transmitter;
    QString comment;
    QVector<DbcSignal> signalList;

    const DbcSignal* findSignal(const QString& signalName) const;
    // The plain switch ("M"), null in a message without one.
    const DbcSignal* multiplexer() const;
};

struct DbcDatabase
{
    QString version;
    QStringList nodes;
    QString comment;
    QVector<DbcMessage> messages;
    QMap<QString, DbcValueTable> valueTables; // VAL_TABLE_ by name

    const DbcMessage* findMessage(uint32_t id, bool extended) const;
};

struct DbcError
{
    int line; // counted from 1
    QString text;
};

// What was read. A file with errors keeps everything else it held: the bad
// line is passed over (a bad BO_ line with the signals under it).
struct DbcReadResult
{
    DbcDatabase database;
    QVector<DbcError> errors;
};

// Reads the whole device (open for reading) or the bytes. The text is taken
// as UTF-8 when it is valid UTF-8, else as Latin-1.
DbcReadResult readDbc(QIODevice* device);
DbcReadResult readDbc(const QByteArray& bytes);

// How a signal of a message is decoded: its bits, and for a multiplexed
// signal the message's switch and the value it needs. None when the signal
// lies outside 8 data bytes, a float has the wrong length, or the message has
// no switch for a multiplexed signal.
std::optional<BitLayout> dbcSignalLayout(const DbcMessage& message, const DbcSignal& signal);

// The name the table gives a raw value, empty when it gives none. A raw value
// within a millionth of a whole number counts as that number, so that one
// found again from a scaled value (raw = (value - offset) / scale) still
// finds its name.
QString dbcValueName(double raw, const DbcValueTable& table);

// A value table as one line of text, as a project keeps it with its row:
// "0:Park;1:Reverse;2:Drive", with "\", ";" and ":" in a name written as
// "\\", "\;" and "\:". The reader passes over entries it can't read.
QString valueTableText(const DbcValueTable& table);
DbcValueTable valueTableFromText(const QString& text);

#endif // DBCFILE_H
