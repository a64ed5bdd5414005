#pragma once

#include "company/RowSink.h"

#include <functional>

namespace demo {

struct GeneratorOptions {
    qint64 orders = 100'000;
    wire::DateTime now; // the latest moment in the data
    quint64 seed = 20'240'131; // the same seed, size and now give the same rows
    std::function<void(const QString& stage, int percent)> onProgress;
};

// "small" 5,000, "medium" 100,000, "large" 1,000,000, or a number; raises wire::Error (Usage) otherwise.
qint64 OrdersOf(const QString& size);

void Generate(const GeneratorOptions& options, company::RowSink& sink);

// Who may log in to a demo database. The password is the same for all; it is shown by the login window.
struct Login {
    QString account;
    QString employeeCode; // of tab_employee
    QString description; // site and role, in the clerks' language
    QString userType;
    QString rights;
};
const std::vector<Login>& Logins();
QString DemoPassword();

} // namespace demo
