#include "server/provider/Policy.h"

#include "company/Tables.h"
#include "server/refusal/UserTexts.h"
#include "wire/Error.h"

namespace server {
namespace {

[[noreturn]] void Refuse(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Policy, message);
}

void RequireReadable(const dialect::Translation& translation)
{
    for (const QString& table : translation.tables) {
        if (company::FindTable(table) == nullptr)
            Refuse(texts::TableClosed(table));
    }
}

void RequireWritable(const QString& table)
{
    const company::Table* definition = company::FindTable(table);
    if (definition == nullptr)
        Refuse(texts::TableClosed(table));
    if (!definition->clientsMayWrite)
        Refuse(texts::TableReadOnly(table));
}

} // namespace

Permissions::Permissions(
    Role role, const QString& userType, std::shared_ptr<const SiteTree> tree, const QString& site)
    : role_(role)
    , opensSites_(userType == u"2")
    , tree_(std::move(tree))
    , sites_(*tree_, site)
{
}

void Permissions::RequireQuery(const dialect::Translation& translation)
{
    if (translation.kind != dialect::StatementKind::Select)
        Refuse(texts::QueryExpected());
    RequireReadable(translation);
}

void Permissions::RequireUpdate(const dialect::Translation& translation) const
{
    if (translation.kind != dialect::StatementKind::Update)
        Refuse(texts::UpdateExpected());
    RequireReadable(translation);
    RequireWritable(translation.targetTable);
    if (role_ != Role::Headquarters)
        Refuse(role_ == Role::Reader ? texts::ReaderOnly() : texts::StatementsClosed());
}

void Permissions::RequireChanges(const dialect::Translation& query) const
{
    RequireQuery(query);
    RequireWritable(query.targetTable);
    if (role_ == Role::Reader)
        Refuse(texts::ReaderOnly());
}

} // namespace server
