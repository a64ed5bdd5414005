#pragma once

#include "wire/Messages.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QString>

#include <map>
#include <vector>

namespace chaos {

// Columns with their values before and after, as text; null is empty.
struct FieldChange {
    QString before;
    QString after;
    bool byServer = false; // it stamped the row, whatever stood there
    bool operator==(const FieldChange&) const = default;
};
using Fields = std::map<QString, FieldChange>;

// As audit entries have them: {"STATUS":[0,1],"REC_SITE":[null,"…"],"MODIFIER":"…"}. Raises wire::Error
// (Data).
Fields FieldsFromJson(const QJsonObject& object);

enum class RowFate { Unknown, Accepted, Refused };

struct SentRow {
    QString key;
    Fields fields;
    RowFate fate = RowFate::Unknown;
    QString reason = {}; // refused: why, as the server said
    QString shown = {}; // refused: why, as the desk saw it
};

// What the desk was told in the end of one save.
enum class Told { Nothing, Saved, Rejected, Failed };

struct Save {
    QString name; // the same for every sending of it
    std::vector<SentRow> rows;
    int sendings = 0;
    Told told = Told::Nothing;
};

// Everything that one desk sent and heard.
struct Ledger {
    QString account = {};
    std::vector<Save> saves = {};
    int failures = 0; // errors that the desk was shown
    qint64 longestWait = 0; // milliseconds from wanting something to getting it
    bool ended = false; // it worked to the end
    std::vector<QString> contradictions = {}; // found while reading
};

// Writes a ledger while things happen: a line of JSON for each, on the disk before it goes on. What was sent
// under a name is written before it is sent.
class LedgerWriter {
public:
    // Raises wire::Error where the file cannot be written.
    LedgerWriter(const QString& path, const QString& account);

    void Sent(const wire::Request& request);
    void Answered(const wire::Request& request, const wire::ApplyOutcome& outcome);
    // The server would have nothing of it: none of its rows was or will be stored.
    void RefusedWhole(const wire::Request& request, const QString& reason);
    // Of the save that was sent last.
    void ToldOfSave(Told told);
    void Shown(const QString& key, const QString& reason);
    // Whatever the desk was doing.
    void Failed(const QString& what, const QString& message);
    void Ended(qint64 longestWait);

private:
    void Write(QJsonObject line);

    QFile file_;
    QElapsedTimer clock_;
    QString lastName_;
};

// Raises wire::Error (Data) where the file is no ledger; a last line cut short is one.
Ledger ReadLedger(const QString& path);

} // namespace chaos
