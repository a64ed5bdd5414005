#include "server/provider/Policy.h"

#include "demo/Schema.h"
#include "server/Texts.h"
#include "wire/Error.h"

namespace server {
namespace {

[[noreturn]] void Refuse(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Policy, message);
}

} // namespace

void RequireReadable(const std::vector<QString>& tables)
{
    for (const QString& table : tables) {
        if (demo::FindTable(table) == nullptr)
            Refuse(texts::TableClosed(table));
    }
}

void RequireWritable(const QString& table)
{
    const demo::TableDef* definition = demo::FindTable(table);
    if (definition == nullptr)
        Refuse(texts::TableClosed(table));
    if (!definition->clientsMayWrite)
        Refuse(texts::TableReadOnly(table));
}

void RequireQuery(const dialect::Translation& translation)
{
    if (translation.kind != dialect::StatementKind::Select)
        Refuse(texts::QueryExpected());
    RequireReadable(translation.tables);
}

void RequireUpdate(const dialect::Translation& translation)
{
    if (translation.kind != dialect::StatementKind::Update)
        Refuse(texts::UpdateExpected());
    RequireReadable(translation.tables);
    RequireWritable(translation.targetTable);
}

} // namespace server
