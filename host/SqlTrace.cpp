#include "host/SqlTrace.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

QString TSqlTrace::WriteTo(const QString& fileName)
{
    file_.setFileName(fileName);
    if (file_.open(QIODevice::WriteOnly | QIODevice::Append))
        return {};
    return file_.errorString();
}

void TSqlTrace::Watch(TSocketConnectionEx& connection)
{
    if (keep_ || file_.isOpen())
        connection.OnTrace = [this](const TTraceEntry& entry) { Add(entry); };
}

void TSqlTrace::Add(const TTraceEntry& entry)
{
    if (keep_)
        entries_.push_back(entry);
    if (!file_.isOpen())
        return;
    const QJsonObject line{
        {u"time"_s, QDateTime::currentDateTime().toString(Qt::ISODateWithMs)},
        {u"kind"_s, entry.kind},
        {u"text"_s, entry.text},
        {u"rows"_s, entry.rows},
        {u"microseconds"_s, entry.microseconds},
        {u"error"_s, entry.error},
    };
    file_.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    // A trace is read after something went wrong: nothing may be left in a buffer.
    file_.flush();
}
