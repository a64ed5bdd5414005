#include "tests/orders/OrderDesk.h"

#include "company/Tables.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"

using namespace Qt::Literals::StringLiterals;

OrderFields Order(const QString& text)
{
    OrderFields fields;
    for (const QString& field : text.split(u", "_s)) {
        const QString name = field.section(u'=', 0, 0);
        const auto& columns = company::OrderTable().columns;
        const auto column = std::ranges::find(columns, name, &company::Column::name);
        if (column == columns.end())
            throw wire::Error(wire::ErrorKind::Usage, name);
        fields[name] = wire::FromText(column->type, field.section(u'=', 1));
    }
    return fields;
}

QString FieldsOf(const TClientDataSetEx& row, const QString& names)
{
    QStringList texts;
    for (const QString& name : names.split(u' '))
        texts += row.FieldByName(name).AsString();
    return texts.join(u'|');
}

wire::RowSet OrderRows(const std::vector<OrderFields>& orders)
{
    const company::Table* table = company::FindTable(u"tab_zelmor_bill");
    std::vector<wire::ColumnInfo> infos;
    for (const company::Column& column : table->columns) {
        infos.push_back({.name = column.name,
            .type = column.type,
            .width = column.width,
            .key = table->primaryKey.front() == column.name,
            .guard = column.guarded,
            .stored = true});
    }
    std::vector<std::vector<wire::Value>> rows;
    for (const OrderFields& order : orders) {
        std::vector<wire::Value>& row = rows.emplace_back(infos.size());
        for (size_t i = 0; i < infos.size(); ++i) {
            if (const auto found = order.find(infos[i].name); found != order.end())
                row[i] = found->second;
        }
    }
    return MakeRows(infos, rows);
}

OrderDesk::OrderDesk()
{
    host.Server.OnQuery = [this](const QString& sqlText) {
        if (sqlText.contains(u"from tab_zelmor_bill"_s))
            return OrderRows(orders);
        if (sqlText.contains(u"from tab_site"_s)) {
            return MakeTextRows({u"SITE_NAME"_s, u"SITE_CODE"_s, u"SUPERIOR_SITE"_s},
                {{u"浦东二部"_s, u"2102"_s, u"上海中心"_s}});
        }
        return MakeTextRows({u"TX_LOGISTIC_ID"_s, u"ITEM_NAME"_s, u"PIECE"_s, u"REMARK"_s}, {});
    };
    host.Server.OnApply = [this](const wire::ChangeLog& changes) {
        saves.push_back(changes);
        return onSave ? onSave(changes) : AcceptAll(changes);
    };
    dm_BasicData = new Tdm_BasicData;
    dm_BasicData->HostConnection = &host.Connection;
    for (TClientDataSetEx* dataSet : {dm_BasicData->comm, dm_BasicData->comm1, dm_BasicData->comm2})
        dataSet->SetRemoteServer(&host.Connection);
    dm_GlobalData = new Tdm_GlobalData;
    dm_GlobalData->DataModuleCreate();
}

OrderDesk::~OrderDesk()
{
    const std::vector<TForm*> forms = host.Scr.Forms();
    for (TForm* form : forms)
        delete form;
    delete std::exchange(dm_BasicData, nullptr);
    delete std::exchange(dm_GlobalData, nullptr);
}

void OrderDesk::RefuseSaves(const QString& reason, size_t row)
{
    onSave = [=](const wire::ChangeLog& changes) {
        wire::ApplyOutcome outcome = RejectAll(changes, {});
        outcome.rows.at(row).reason = reason;
        outcome.rolledBack = true;
        return outcome;
    };
}

wire::Value SavedValue(const wire::ChangeLog& save, size_t row, const QString& field)
{
    for (const wire::CellChange& cell : save.rows.at(row).cells) {
        if (save.columns[cell.column].name == field)
            return cell.current;
    }
    return {};
}

QString SavedFields(const wire::ChangeLog& save, size_t row, const QString& names)
{
    QStringList texts;
    for (const QString& name : names.split(u' '))
        texts += wire::ToText(SavedValue(save, row, name));
    return texts.join(u'|');
}
