#pragma once

#include "runtime/data/SocketConnection.h"

#include <QFile>

#include <vector>

// Every request that the host's connections send: kept for a script that asks, written to a file that a
// supporter asked for. Costs nothing when neither did.
class TSqlTrace {
public:
    // One JSON object a line: time, kind, text, rows, microseconds, error. Gives the reason when the file
    // cannot be opened, else an empty text.
    QString WriteTo(const QString& fileName);
    void Keep() { keep_ = true; }

    void Watch(TSocketConnectionEx& connection);
    const std::vector<TTraceEntry>& Entries() const noexcept { return entries_; }
    void Clear() { entries_.clear(); }

private:
    void Add(const TTraceEntry& entry);

    QFile file_;
    bool keep_ = false;
    std::vector<TTraceEntry> entries_;
};
