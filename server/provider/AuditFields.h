#pragma once

#include "wire/Messages.h"

#include <string>
#include <string_view>

namespace server {

// On whose behalf something is done, from where and when.
struct Caller {
    const wire::Identity& identity;
    const QString& peer;
    wire::DateTime now;
};

// The fields of one audit entry as JSON: {"STATUS":[0,1],"REC_SITE":[null,"…"],"MODIFIER":"…"}, old value
// first.
class AuditFields {
public:
    void Clear() { text_.clear(); }
    // The column as Name() gives it.
    void Add(std::string_view column, const wire::Value& original, const wire::Value& current);
    // What has no old value: what the server wrote itself, whatever stood there; a statement's text.
    void Add(QStringView name, const wire::Value& value) { AddField(Field(name, value)); }
    void AddField(std::string_view field);
    static std::string Field(QStringView name, const wire::Value& value);
    // As a field begins: made once, where very many rows have it.
    static std::string Name(QStringView name);
    std::string_view Finish();

private:
    std::string text_;
};

} // namespace server
