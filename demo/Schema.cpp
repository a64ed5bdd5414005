#include "demo/Schema.h"

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

ColumnDef Text(const QString& name, int width)
{
    return {name, wire::ColumnType::Text, width};
}

ColumnDef Integer(const QString& name)
{
    return {name, wire::ColumnType::Integer, 0};
}

ColumnDef Number(const QString& name)
{
    return {name, wire::ColumnType::Number, 0};
}

ColumnDef Date(const QString& name)
{
    return {name, wire::ColumnType::DateTime, 0};
}

constexpr int kSiteWidth = 50;
constexpr int kPersonWidth = 30;
constexpr int kCodeWidth = 20;
constexpr int kRegionWidth = 40;
constexpr int kAddressWidth = 200;

// The pickup order. The columns whose names begin with SEND_ are the delivery side, save for the agreed
// pickup times.
TableDef OrderTable()
{
    return {
        .name = u"tab_zelmor_bill"_s,
        .columns =
            {
                Text(u"TX_LOGISTIC_ID"_s, 32),
                Text(u"LOGISTICPROVIDERID"_s, 32),
                Text(u"TRADE_NO"_s, 32),
                Text(u"BILL_CODE"_s, kCodeWidth),
                Date(u"CREATE_DATE"_s),
                Integer(u"STATUS"_s),
                Integer(u"BL_DISPART"_s),
                Text(u"PREPARE_SITE"_s, 200),
                Text(u"REC_SITE"_s, kSiteWidth),
                Text(u"DUTY_SITE"_s, kSiteWidth),
                Text(u"REC_BILL_MAN"_s, kPersonWidth),
                Text(u"REC_BILL_CODE"_s, kCodeWidth),
                Date(u"ACCEPT_DATE"_s),
                Text(u"REC_GOODS_MAN"_s, kPersonWidth),
                Text(u"MESSAGE"_s, 100),
                Text(u"REC_MAN"_s, kPersonWidth),
                Date(u"REC_DATE"_s),
                Text(u"SEND_SITE"_s, kSiteWidth),
                Text(u"SEND_MAN"_s, kPersonWidth),
                Date(u"SEND_DATE"_s),
                Text(u"DESTINATION"_s, kSiteWidth),
                Integer(u"BL_DEPUTE"_s),
                Text(u"NAME"_s, 60),
                Text(u"POST_CODE"_s, 10),
                Text(u"PHONE"_s, 40),
                Text(u"MOBILE"_s, 40),
                Text(u"PROV"_s, kRegionWidth),
                Text(u"CITY"_s, kRegionWidth),
                Text(u"COUNTY"_s, kRegionWidth),
                Text(u"ADDRESS"_s, kAddressWidth),
                Text(u"COMPANYNAME"_s, 100),
                Date(u"SEND_START_TIME"_s),
                Date(u"SEND_END_TIME"_s),
                Text(u"SEND_NAME"_s, 60),
                Text(u"SEND_POST_CODE"_s, 10),
                Text(u"SEND_PHONE"_s, 40),
                Text(u"SEND_MOBILE"_s, 40),
                Text(u"SEND_PROV"_s, kRegionWidth),
                Text(u"SEND_CITY"_s, kRegionWidth),
                Text(u"SEND_COUNTY"_s, kRegionWidth),
                Text(u"SEND_ADDRESS"_s, kAddressWidth),
                Text(u"ITEM_NAME"_s, 100),
                Integer(u"PIECE"_s),
                Text(u"SPECIAL"_s, 20),
                Text(u"REMARK"_s, 200),
                Number(u"TOTAL_WEIGHT"_s),
                Number(u"TOTAL_VOLUME"_s),
                Number(u"ITEMS_VALUE"_s),
                Text(u"PAY_TYPE"_s, 20),
                Text(u"FAVOURABLE_BILL"_s, kCodeWidth),
                Text(u"WMS_CODE"_s, kCodeWidth),
                Text(u"WMSADDRESS"_s, kAddressWidth),
                Integer(u"FLAG"_s),
                Number(u"INSURANCE_VALUE"_s),
                Integer(u"BL_INSURANCE"_s),
                Integer(u"PACKAGE_OR_NOT"_s),
                Text(u"CUSTOMER_ID"_s, 32),
                Text(u"BUSINESS_NETWORK_NO"_s, kCodeWidth),
                Text(u"ORDERSOURCE"_s, 32),
                Text(u"SIGN_STATUS"_s, 20),
                Number(u"WEIGHT_RATE"_s),
                Text(u"CREATER_SITE"_s, kSiteWidth),
                Text(u"CREATER_MAN"_s, kPersonWidth),
                Text(u"CREATER_CODE"_s, kCodeWidth),
                Integer(u"BL_CANCEL"_s),
                Text(u"CANCEL_DESC"_s, 200),
                Text(u"CANCEL_SITE"_s, kSiteWidth),
                Text(u"CANCEL_MAN"_s, kPersonWidth),
                Date(u"CANCEL_DATE"_s),
                Text(u"MODIFIER"_s, kPersonWidth),
                Text(u"MODIFY_CODE"_s, kCodeWidth),
                Text(u"MODIFY_SITE"_s, kSiteWidth),
            },
        .primaryKey = {u"TX_LOGISTIC_ID"_s},
        .primaryKeyName = u"TAB_ZELMOR_BILL_P"_s,
        .indexes =
            {
                {u"TAB_ZELMOR_BILL_I"_s, {u"BILL_CODE"_s}, false},
                {u"TAB_ZELMOR_BILL_I1"_s, {u"REC_DATE"_s, u"REC_SITE"_s}, false},
                {u"TAB_ZELMOR_BILL_I3"_s, {u"CREATE_DATE"_s}, false},
                {u"TAB_ZELMOR_BILL_I5"_s, {u"REC_DATE"_s}, false},
                // The query screens ask for every distinct province when they open.
                {u"TAB_ZELMOR_BILL_I7"_s, {u"PROV"_s}, false},
            },
        .clientsMayWrite = true,
    };
}

TableDef ItemTable()
{
    return {
        .name = u"TAB_ZELMOR_BILL_ITEMS"_s,
        .columns =
            {
                Integer(u"ITEM_ID"_s),
                Text(u"TX_LOGISTIC_ID"_s, 32),
                Text(u"ITEM_NAME"_s, 100),
                Integer(u"PIECE"_s),
                Text(u"REMARK"_s, 200),
            },
        .primaryKey = {u"ITEM_ID"_s},
        .primaryKeyName = u"TAB_ZELMOR_BILL_ITEMS_P"_s,
        .indexes = {{u"TAB_ZELMOR_BILL_ITEMS_I"_s, {u"TX_LOGISTIC_ID"_s}, false}},
    };
}

TableDef InstructionTable()
{
    return {
        .name = u"tab_zelmor_instruction"_s,
        .columns =
            {
                Integer(u"INSTRUCTION_ID"_s),
                Text(u"TX_LOGISTIC_ID"_s, 32),
                Text(u"BILL_CODE"_s, kCodeWidth),
                Text(u"INFO_CONTENT"_s, 30),
                Date(u"CREATE_DATE"_s),
                Integer(u"POST_FLAG"_s),
                Date(u"POST_TIME"_s),
            },
        .primaryKey = {u"INSTRUCTION_ID"_s},
        .primaryKeyName = u"TAB_ZELMOR_INSTRUCTION_P"_s,
        .indexes = {{u"TAB_ZELMOR_INSTRUCTION_I2"_s, {u"TX_LOGISTIC_ID"_s, u"BILL_CODE"_s}, false}},
    };
}

TableDef ServiceTable()
{
    return {
        .name = u"tab_zelmor_site"_s,
        .columns =
            {
                Text(u"SITE_NAME"_s, kSiteWidth),
                Text(u"COUNTY_NAME"_s, kRegionWidth),
                Text(u"PROVINCE"_s, kRegionWidth),
                Text(u"CITY_NAME"_s, kRegionWidth),
                Text(u"MAIL_CODE"_s, 10),
                Text(u"REC_START_TIME"_s, 8),
                Text(u"REC_END_TIME"_s, 8),
                Integer(u"BL_REC"_s),
                Integer(u"BL_SEND"_s),
                Integer(u"BL_OPEN"_s),
                Text(u"SEND_RANGE"_s, 1000),
                Text(u"NOT_SEND_RANGE"_s, 1000),
            },
        // County names repeat between cities.
        .primaryKey = {u"SITE_NAME"_s, u"COUNTY_NAME"_s, u"CITY_NAME"_s},
        .primaryKeyName = u"TAB_ZELMOR_SITE_P"_s,
        .clientsMayWrite = true,
    };
}

TableDef ProvideTable()
{
    return {
        .name = u"TAB_BILL_PROVIDE"_s,
        .columns =
            {
                Integer(u"PROVIDE_ID"_s),
                Text(u"START_NO"_s, kCodeWidth),
                Text(u"END_NO"_s, kCodeWidth),
                Text(u"USE_SITE"_s, kSiteWidth),
                Date(u"PROVIDE_DATE"_s),
            },
        .primaryKey = {u"PROVIDE_ID"_s},
        .primaryKeyName = u"TAB_BILL_PROVIDE_P"_s,
        .indexes = {{u"TAB_BILL_PROVIDE_I"_s, {u"USE_SITE"_s, u"START_NO"_s, u"END_NO"_s}, false}},
    };
}

// The correction screen's hint names an index like the table itself; it has no such index and needs none,
// the primary key serves.
TableDef DisabledTable()
{
    return {
        .name = u"tab_bill_del"_s,
        .columns =
            {
                Text(u"BILL_CODE"_s, kCodeWidth),
                Text(u"DEL_SITE"_s, kSiteWidth),
                Text(u"DEL_MAN"_s, kPersonWidth),
                Date(u"DEL_DATE"_s),
                Text(u"REMARK"_s, 200),
            },
        .primaryKey = {u"BILL_CODE"_s},
        .primaryKeyName = u"TAB_BILL_DEL_P"_s,
    };
}

TableDef CouponTable()
{
    return {
        .name = u"tab_favourable_bill"_s,
        .columns =
            {
                Text(u"FAVOURABLE_BILL"_s, kCodeWidth),
                Date(u"USE_START_DATE"_s),
                Date(u"USE_END_DATE"_s),
                Integer(u"BL_USE"_s),
                Text(u"BILL_VALUE"_s, 20),
            },
        .primaryKey = {u"FAVOURABLE_BILL"_s},
        .primaryKeyName = u"TAB_FAVOURABLE_BILL_U"_s,
    };
}

TableDef KeywordTable()
{
    return {
        .name = u"TAB_QRYKEY"_s,
        .columns =
            {
                Integer(u"QRYKEY_ID"_s),
                Integer(u"LEVELNO"_s),
                Text(u"KEYWORD"_s, 200),
            },
        .primaryKey = {u"QRYKEY_ID"_s},
        .primaryKeyName = u"TAB_QRYKEY_P"_s,
        .indexes = {{u"TAB_QRYKEY_I"_s, {u"LEVELNO"_s}, false}},
    };
}

TableDef DeliveryAreaTable()
{
    return {
        .name = u"TAB_AREA_DETAIL"_s,
        .columns =
            {
                Integer(u"AREA_ID"_s),
                Text(u"SITE_NAME"_s, kSiteWidth),
                Text(u"PROVICE"_s, kRegionWidth),
                Text(u"CITY"_s, kRegionWidth),
                Text(u"COUNTY"_s, kRegionWidth),
                Text(u"TOWN"_s, 60),
                Text(u"ROAD_NAME"_s, 60),
                Integer(u"STARTNO"_s),
                Integer(u"ENDNO"_s),
                Integer(u"BL_NO"_s),
            },
        .primaryKey = {u"AREA_ID"_s},
        .primaryKeyName = u"TAB_AREA_DETAIL_P"_s,
        .indexes = {{u"TAB_AREA_DETAIL_I"_s, {u"COUNTY"_s, u"CITY"_s, u"ROAD_NAME"_s}, false}},
    };
}

TableDef PayModeTable()
{
    return {
        .name = u"TAB_PAY_MODE"_s,
        .columns = {Text(u"MODE_CODE"_s, 10), Text(u"MODE_NAME"_s, 20)},
        .primaryKey = {u"MODE_CODE"_s},
        .primaryKeyName = u"TAB_PAY_MODE_P"_s,
    };
}

TableDef SiteTable()
{
    return {
        .name = u"tab_site"_s,
        .columns =
            {
                Text(u"SITE_CODE"_s, kCodeWidth),
                Text(u"SITE_NAME"_s, kSiteWidth),
                Text(u"SUPERIOR_SITE"_s, kSiteWidth),
                Text(u"TYPE"_s, 20),
                Text(u"TYPE_KIND"_s, 20),
                Integer(u"BL_NOT_INPUT"_s),
                Integer(u"BL_MATERIAL"_s),
                Text(u"SITEMATERIAL"_s, 500),
                Text(u"SUPERIOR_FINANCE_CENTER"_s, kSiteWidth),
                Integer(u"BL_BIG_CUSTOMER"_s),
                Text(u"AREA_NAME"_s, kRegionWidth),
                Text(u"RANGE_NAME"_s, kRegionWidth),
                Text(u"PROVINCE"_s, kRegionWidth),
                Text(u"CITY"_s, kRegionWidth),
                Text(u"COUNTY"_s, kRegionWidth),
                Text(u"ADDRESS"_s, kAddressWidth),
                Text(u"PHONE"_s, 60),
                Text(u"PRINCIPAL"_s, kPersonWidth),
            },
        .primaryKey = {u"SITE_CODE"_s},
        .primaryKeyName = u"TAB_SITE_P"_s,
        .indexes =
            {
                {u"TAB_SITE_U"_s, {u"SITE_NAME"_s}, true},
                {u"TAB_SITE_I3"_s, {u"SUPERIOR_SITE"_s, u"SITE_NAME"_s}, false},
            },
    };
}

TableDef EmployeeTable()
{
    return {
        .name = u"tab_employee"_s,
        .columns =
            {
                Text(u"EMPLOYEE_CODE"_s, kCodeWidth),
                Text(u"EMPLOYEE_NAME"_s, kPersonWidth),
                Text(u"OWNER_SITE"_s, kSiteWidth),
                Text(u"DEPT_NAME"_s, kPersonWidth),
                Text(u"PHONE"_s, 60),
                Integer(u"BL_GOODS_MARKET"_s),
            },
        .primaryKey = {u"EMPLOYEE_CODE"_s},
        .primaryKeyName = u"TAB_EMPLOYEE_P"_s,
        .indexes =
            {
                {u"TAB_EMPLOYEE_I"_s, {u"OWNER_SITE"_s}, false},
                {u"TAB_EMPLOYEE_I1"_s, {u"EMPLOYEE_NAME"_s}, false},
            },
    };
}

TableDef CustomerTable()
{
    return {
        .name = u"tab_customer"_s,
        .columns =
            {
                Text(u"CUSTOMER_CODE"_s, 32),
                Text(u"CUSTOMER_NAME"_s, 60),
                Text(u"CUSTOMER_FULL_NAME"_s, 100),
                Text(u"CUSTOMER_LINKMAN"_s, kPersonWidth),
                Text(u"CUSTOMER_PHONE1"_s, 40),
                Text(u"CUSTOMER_ADDRESS"_s, kAddressWidth),
                Text(u"PROV"_s, kRegionWidth),
                Text(u"CITY"_s, kRegionWidth),
                Text(u"COUNTY"_s, kRegionWidth),
                Text(u"CUSTOMER_BALANCE_MODE"_s, 60),
                Text(u"CUSTOMER_OWNER_SITE"_s, kSiteWidth),
            },
        .primaryKey = {u"CUSTOMER_CODE"_s},
        .primaryKeyName = u"TAB_CUSTOMER_P"_s,
        .indexes =
            {
                {u"TAB_CUSTOMER_I"_s, {u"CUSTOMER_OWNER_SITE"_s}, false},
                {u"TAB_CUSTOMER_I1"_s, {u"CUSTOMER_NAME"_s}, false},
            },
    };
}

TableDef WaybillTable()
{
    return {
        .name = u"tab_bill"_s,
        .columns =
            {
                Text(u"BILL_CODE"_s, kCodeWidth),
                Text(u"TX_LOGISTIC_ID"_s, 32),
                Number(u"OLD_GOODS_PAYMENT"_s),
                Text(u"REGISTER_SITE"_s, kSiteWidth),
                Text(u"REGISTER_MAN"_s, kPersonWidth),
                Date(u"UP_DATE"_s),
            },
        .primaryKey = {u"BILL_CODE"_s},
        .primaryKeyName = u"TAB_BILL_P"_s,
    };
}

TableDef AreaTable()
{
    return {
        .name = u"tab_area"_s,
        .columns = {Text(u"AREA_CODE"_s, 10), Text(u"AREA_NAME"_s, kRegionWidth)},
        .primaryKey = {u"AREA_CODE"_s},
        .primaryKeyName = u"TAB_AREA_P"_s,
    };
}

TableDef ProvinceTable()
{
    return {
        .name = u"tab_province"_s,
        .columns = {Text(u"PROVINCE_CODE"_s, 10), Text(u"PROVINCE"_s, kRegionWidth),
            Text(u"AREA_NAME"_s, kRegionWidth)},
        .primaryKey = {u"PROVINCE_CODE"_s},
        .primaryKeyName = u"TAB_PROVINCE_P"_s,
        .indexes = {{u"TAB_PROVINCE_U"_s, {u"PROVINCE"_s}, true}},
    };
}

TableDef CityTable()
{
    return {
        .name = u"tab_city"_s,
        .columns = {Text(u"CITY_CODE"_s, 10), Text(u"CITY_NAME"_s, kRegionWidth),
            Text(u"PROVINCE"_s, kRegionWidth)},
        .primaryKey = {u"CITY_CODE"_s},
        .primaryKeyName = u"TAB_CITY_P"_s,
    };
}

TableDef CountyTable()
{
    return {
        .name = u"tab_county"_s,
        .columns = {Text(u"COUNTY_CODE"_s, 10), Text(u"COUNTY_NAME"_s, kRegionWidth),
            Text(u"CITY_NAME"_s, kRegionWidth), Text(u"PROVINCE"_s, kRegionWidth), Text(u"MAIL_CODE"_s, 10)},
        .primaryKey = {u"COUNTY_CODE"_s},
        .primaryKeyName = u"TAB_COUNTY_P"_s,
    };
}

} // namespace

const std::vector<TableDef>& Schema()
{
    static const std::vector<TableDef> tables{
        AreaTable(),
        ProvinceTable(),
        CityTable(),
        CountyTable(),
        PayModeTable(),
        SiteTable(),
        EmployeeTable(),
        CustomerTable(),
        ServiceTable(),
        KeywordTable(),
        ProvideTable(),
        DisabledTable(),
        DeliveryAreaTable(),
        CouponTable(),
        OrderTable(),
        ItemTable(),
        WaybillTable(),
        InstructionTable(),
    };
    return tables;
}

const TableDef* FindTable(QStringView name)
{
    for (const TableDef& table : Schema()) {
        if (name.compare(table.name, Qt::CaseInsensitive) == 0)
            return &table;
    }
    return nullptr;
}

} // namespace demo
