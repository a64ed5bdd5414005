#include "server/provider/DemoData.h"

#include "demo/Generator.h"
#include "server/accounts/PasswordHash.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <QHash>

#include <array>

namespace server {
namespace {

// Slow: each password is hashed.
std::vector<storage::Row> AccountRows(wire::DateTime now)
{
    std::vector<storage::Row> rows;
    for (const demo::Login& login : demo::Logins()) {
        rows.push_back({login.account, HashPassword(demo::DemoPassword()), login.employeeCode,
            wire::TextValue(login.userType), login.rights, {}, wire::TextValue(login.description), now});
    }
    return rows;
}

} // namespace

storage::OpenOptions OpenOptionsFrom(const Options& options, wire::DateTime now)
{
    const auto fill = [&options, now](company::RowSink& rows) {
        demo::GeneratorOptions generator;
        generator.orders = demo::OrdersOf(options.demo);
        generator.now = now;
        generator.onProgress = options.onProgress;
        demo::Generate(generator, rows);
        storage::LoadTable(rows, storage::AccountTable(), AccountRows(now));
        if (options.onProgress)
            options.onProgress(texts::MakingIndexes(), 100);
    };
    return {options.maxSeconds, options.diskReserve, options.demo, fill};
}

std::vector<DemoAccount> DemoAccountsIn(storage::ConnectionPool& pool)
{
    constexpr std::array types{wire::ColumnType::Text, wire::ColumnType::Text};
    QHash<QString, DemoAccount> found;
    for (const storage::Row& row : pool.Lend()->Select(
             "select a.ACCOUNT, a.DESCRIPTION from zelmor_account a where a.DESCRIPTION is not "
             "null and exists(select 1 from zelmor_meta where NAME = 'demo')",
             {}, types)) {
        const QString account = wire::ToText(row[0]);
        found.insert(account, {account, demo::DemoPassword(), wire::ToText(row[1])});
    }
    std::vector<DemoAccount> accounts;
    for (const demo::Login& login : demo::Logins()) {
        if (const auto account = found.constFind(login.account); account != found.constEnd())
            accounts.push_back(*account);
    }
    return accounts;
}

} // namespace server
