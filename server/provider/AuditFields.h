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

// The fields of one audit entry as JSON: {"STATUS":[0,1],"REC_SITE":[null,"…"]}, old value first.
class AuditFields {
public:
    void Clear() { text_.clear(); }
    void Add(QStringView column, const wire::Value& original, const wire::Value& current);
    // A statement's own text, where no rows are at hand.
    void Add(QStringView name, const wire::Value& value);
    std::string_view Finish();

private:
    void AddName(QStringView name);

    std::string text_;
};

} // namespace server
