#pragma once

#include "server/storage/Sqlite.h"
#include "wire/Messages.h"

namespace server {

// On whose behalf something is done, from where and when.
struct Caller {
    const wire::Identity& identity;
    const QString& peer;
    wire::DateTime now;
};

// The fields of one audit entry as JSON: {"STATUS":[0,1],"REC_SITE":[null,"…"]}, old value first.
class AuditFields {
public:
    void Clear() { text_.clear(); }
    void Add(std::string_view column, const wire::Value& original, const wire::Value& current);
    // A statement's own text, where no rows are at hand.
    void Add(std::string_view name, const wire::Value& value);
    std::string_view Finish();

private:
    void AddName(std::string_view name);

    std::string text_;
};

// Writes who changed what, in the transaction of the change itself.
class AuditTrail {
public:
    AuditTrail(storage::Database& database, const Caller& caller, const QString& table);
    // `action`: insert, update, delete or statement; `key`: the row's primary key, its parts joined by ";".
    void Write(std::string_view action, std::string_view key, std::string_view fields);

private:
    storage::Statement insert_;
};

} // namespace server
