#include "company/Tables.h"

using namespace Qt::Literals::StringLiterals;

namespace company {
namespace {

Column Text(const QString& name, int width, const QString& caption = {})
{
    return {name, wire::ColumnType::Text, width, caption};
}

Column Integer(const QString& name, const QString& caption = {})
{
    return {name, wire::ColumnType::Integer, 0, caption};
}

Column Number(const QString& name, const QString& caption = {})
{
    return {name, wire::ColumnType::Number, 0, caption};
}

Column Date(const QString& name, const QString& caption = {})
{
    return {name, wire::ColumnType::DateTime, 0, caption};
}

Column Guarded(Column column)
{
    column.guarded = true;
    return column;
}

Column In(QStringView group, Column column)
{
    column.group = group.toString();
    return column;
}

constexpr int kSiteWidth = 50;
constexpr int kPersonWidth = 30;
constexpr int kCodeWidth = 20;
constexpr int kRegionWidth = 40;
constexpr int kAddressWidth = 200;

// Titles stand in groups.
constexpr QStringView kShipper = u"发货客户信息";
constexpr QStringView kConsignee = u"收货客户信息";
constexpr QStringView kGoods = u"商品信息";

// The pickup order. The columns whose names begin with SEND_ are the delivery side, save for the agreed
// pickup times.
Table Orders()
{
    return {
        .name = u"tab_zelmor_bill"_s,
        .columns =
            {
                Text(u"TX_LOGISTIC_ID"_s, 32, u"物流号"_s),
                Text(u"LOGISTICPROVIDERID"_s, 32, u"下单合作商"_s),
                Text(u"TRADE_NO"_s, 32, u"业务交易号"_s),
                Text(u"BILL_CODE"_s, kCodeWidth, u"运单编号"_s),
                Date(u"CREATE_DATE"_s, u"订单时间"_s),
                Guarded(Integer(u"STATUS"_s, u"状态"_s)),
                Integer(u"BL_DISPART"_s),
                Guarded(Text(u"PREPARE_SITE"_s, 200, u"可接单网点"_s)),
                Guarded(Text(u"REC_SITE"_s, kSiteWidth, u"接单/揽件网点"_s)),
                Text(u"DUTY_SITE"_s, kSiteWidth, u"责任网点"_s),
                Text(u"REC_BILL_MAN"_s, kPersonWidth, u"接单员工"_s),
                Text(u"REC_BILL_CODE"_s, kCodeWidth),
                Date(u"ACCEPT_DATE"_s, u"接单时间"_s),
                Text(u"REC_GOODS_MAN"_s, kPersonWidth, u"收件业务员"_s),
                Text(u"MESSAGE"_s, 100, u"短信内容"_s),
                Text(u"REC_MAN"_s, kPersonWidth, u"揽件员工"_s),
                Date(u"REC_DATE"_s, u"揽件时间"_s),
                Text(u"SEND_SITE"_s, kSiteWidth, u"派件网点"_s),
                Text(u"SEND_MAN"_s, kPersonWidth, u"派件员工"_s),
                Date(u"SEND_DATE"_s, u"派件日期"_s),
                Text(u"DESTINATION"_s, kSiteWidth, u"目的地"_s),
                Integer(u"BL_DEPUTE"_s, u"委托标识"_s),
                In(kShipper, Text(u"NAME"_s, 60, u"姓名"_s)),
                In(kShipper, Text(u"POST_CODE"_s, 10, u"邮编"_s)),
                In(kShipper, Text(u"PHONE"_s, 40, u"固定电话"_s)),
                In(kShipper, Text(u"MOBILE"_s, 40, u"移动电话"_s)),
                In(kShipper, Text(u"PROV"_s, kRegionWidth, u"省份"_s)),
                In(kShipper, Text(u"CITY"_s, kRegionWidth, u"城市"_s)),
                In(kShipper, Text(u"COUNTY"_s, kRegionWidth, u"区/县"_s)),
                In(kShipper, Text(u"ADDRESS"_s, kAddressWidth, u"地址"_s)),
                In(kShipper, Text(u"COMPANYNAME"_s, 100, u"公司"_s)),
                In(kShipper, Date(u"SEND_START_TIME"_s, u"约定取货时间始"_s)),
                In(kShipper, Date(u"SEND_END_TIME"_s, u"约定取货时间止"_s)),
                In(kConsignee, Text(u"SEND_NAME"_s, 60, u"姓名"_s)),
                In(kConsignee, Text(u"SEND_POST_CODE"_s, 10, u"邮编"_s)),
                In(kConsignee, Text(u"SEND_PHONE"_s, 40, u"固定电话"_s)),
                In(kConsignee, Text(u"SEND_MOBILE"_s, 40, u"移动电话"_s)),
                In(kConsignee, Text(u"SEND_PROV"_s, kRegionWidth, u"省份"_s)),
                In(kConsignee, Text(u"SEND_CITY"_s, kRegionWidth, u"城市"_s)),
                In(kConsignee, Text(u"SEND_COUNTY"_s, kRegionWidth, u"区/县"_s)),
                In(kConsignee, Text(u"SEND_ADDRESS"_s, kAddressWidth, u"地址"_s)),
                In(kGoods, Text(u"ITEM_NAME"_s, 100, u"名称"_s)),
                In(kGoods, Integer(u"PIECE"_s, u"件数"_s)),
                In(kGoods, Text(u"SPECIAL"_s, 20, u"类别"_s)),
                In(kGoods, Text(u"REMARK"_s, 200, u"描述"_s)),
                Number(u"TOTAL_WEIGHT"_s, u"重量"_s),
                Number(u"TOTAL_VOLUME"_s, u"体积"_s),
                Number(u"ITEMS_VALUE"_s, u"代收货款"_s),
                Text(u"PAY_TYPE"_s, 20, u"支付方式"_s),
                Text(u"FAVOURABLE_BILL"_s, kCodeWidth, u"优惠券编号"_s),
                Text(u"WMS_CODE"_s, kCodeWidth, u"仓库编号"_s),
                Text(u"WMSADDRESS"_s, kAddressWidth, u"出货仓库"_s),
                Integer(u"FLAG"_s),
                Number(u"INSURANCE_VALUE"_s),
                Integer(u"BL_INSURANCE"_s),
                Integer(u"PACKAGE_OR_NOT"_s),
                Text(u"CUSTOMER_ID"_s, 32, u"客户标识"_s),
                Text(u"BUSINESS_NETWORK_NO"_s, kCodeWidth),
                Text(u"ORDERSOURCE"_s, 32),
                Text(u"SIGN_STATUS"_s, 20),
                Number(u"WEIGHT_RATE"_s),
                Text(u"CREATER_SITE"_s, kSiteWidth, u"创建网点"_s),
                Text(u"CREATER_MAN"_s, kPersonWidth, u"创建人"_s),
                Text(u"CREATER_CODE"_s, kCodeWidth, u"创建人编号"_s),
                Integer(u"BL_CANCEL"_s, u"撤消"_s),
                Text(u"CANCEL_DESC"_s, 200, u"撤消原因"_s),
                Text(u"CANCEL_SITE"_s, kSiteWidth, u"撤单网点"_s),
                Text(u"CANCEL_MAN"_s, kPersonWidth, u"撤单员工"_s),
                Date(u"CANCEL_DATE"_s, u"撤消时间"_s),
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

Table ItemTable()
{
    return {
        .name = u"TAB_ZELMOR_BILL_ITEMS"_s,
        .columns =
            {
                Integer(u"ITEM_ID"_s),
                Text(u"TX_LOGISTIC_ID"_s, 32),
                Text(u"ITEM_NAME"_s, 100, u"商品名称"_s),
                Integer(u"PIECE"_s, u"件数"_s),
                Text(u"REMARK"_s, 200, u"商品描述"_s),
            },
        .primaryKey = {u"ITEM_ID"_s},
        .primaryKeyName = u"TAB_ZELMOR_BILL_ITEMS_P"_s,
        .indexes = {{u"TAB_ZELMOR_BILL_ITEMS_I"_s, {u"TX_LOGISTIC_ID"_s}, false}},
    };
}

Table InstructionTable()
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
                Integer(u"POST_FLAG"_s, u"推送状态"_s),
                Date(u"POST_TIME"_s, u"推送实际时间"_s),
            },
        .primaryKey = {u"INSTRUCTION_ID"_s},
        .primaryKeyName = u"TAB_ZELMOR_INSTRUCTION_P"_s,
        .indexes = {{u"TAB_ZELMOR_INSTRUCTION_I2"_s, {u"TX_LOGISTIC_ID"_s, u"BILL_CODE"_s}, false}},
    };
}

Table ServiceTable()
{
    return {
        .name = u"tab_zelmor_site"_s,
        .columns =
            {
                Text(u"SITE_NAME"_s, kSiteWidth, u"网点名称"_s),
                Text(u"COUNTY_NAME"_s, kRegionWidth, u"所属区/县"_s),
                Text(u"PROVINCE"_s, kRegionWidth, u"所属省份"_s),
                Text(u"CITY_NAME"_s, kRegionWidth, u"所属城市"_s),
                Text(u"MAIL_CODE"_s, 10, u"邮政编码"_s),
                Text(u"REC_START_TIME"_s, 8, u"揽件时间始"_s),
                Text(u"REC_END_TIME"_s, 8, u"揽件时间止"_s),
                Integer(u"BL_REC"_s, u"揽件"_s),
                Integer(u"BL_SEND"_s, u"派送"_s),
                Integer(u"BL_OPEN"_s, u"开通泽摩"_s),
                Text(u"SEND_RANGE"_s, 1000, u"派送范围"_s),
                Text(u"NOT_SEND_RANGE"_s, 1000, u"不派送范围"_s),
            },
        // County names repeat between cities.
        .primaryKey = {u"SITE_NAME"_s, u"COUNTY_NAME"_s, u"CITY_NAME"_s},
        .primaryKeyName = u"TAB_ZELMOR_SITE_P"_s,
        .clientsMayWrite = true,
    };
}

Table ProvideTable()
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
Table DisabledTable()
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

Table CouponTable()
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

Table KeywordTable()
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

Table DeliveryAreaTable()
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

Table PayModeTable()
{
    return {
        .name = u"TAB_PAY_MODE"_s,
        .columns = {Text(u"MODE_CODE"_s, 10), Text(u"MODE_NAME"_s, 20)},
        .primaryKey = {u"MODE_CODE"_s},
        .primaryKeyName = u"TAB_PAY_MODE_P"_s,
    };
}

Table SiteTable()
{
    return {
        .name = u"tab_site"_s,
        .columns =
            {
                Text(u"SITE_CODE"_s, kCodeWidth, u"网点编号"_s),
                Text(u"SITE_NAME"_s, kSiteWidth, u"网点名称"_s),
                Text(u"SUPERIOR_SITE"_s, kSiteWidth, u"所属网点"_s),
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

Table EmployeeTable()
{
    return {
        .name = u"tab_employee"_s,
        .columns =
            {
                Text(u"EMPLOYEE_CODE"_s, kCodeWidth, u"员工编号"_s),
                Text(u"EMPLOYEE_NAME"_s, kPersonWidth, u"员工姓名"_s),
                Text(u"OWNER_SITE"_s, kSiteWidth, u"所属网点"_s),
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

Table CustomerTable()
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

Table WaybillTable()
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

Table AreaTable()
{
    return {
        .name = u"tab_area"_s,
        .columns = {Text(u"AREA_CODE"_s, 10), Text(u"AREA_NAME"_s, kRegionWidth)},
        .primaryKey = {u"AREA_CODE"_s},
        .primaryKeyName = u"TAB_AREA_P"_s,
    };
}

Table ProvinceTable()
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

Table CityTable()
{
    return {
        .name = u"tab_city"_s,
        .columns = {Text(u"CITY_CODE"_s, 10), Text(u"CITY_NAME"_s, kRegionWidth),
            Text(u"PROVINCE"_s, kRegionWidth)},
        .primaryKey = {u"CITY_CODE"_s},
        .primaryKeyName = u"TAB_CITY_P"_s,
    };
}

Table CountyTable()
{
    return {
        .name = u"tab_county"_s,
        .columns = {Text(u"COUNTY_CODE"_s, 10), Text(u"COUNTY_NAME"_s, kRegionWidth, u"区/县名"_s),
            Text(u"CITY_NAME"_s, kRegionWidth, u"所属城市"_s),
            Text(u"PROVINCE"_s, kRegionWidth, u"所属省份"_s), Text(u"MAIL_CODE"_s, 10, u"邮政编码"_s)},
        .primaryKey = {u"COUNTY_CODE"_s},
        .primaryKeyName = u"TAB_COUNTY_P"_s,
    };
}

} // namespace

const std::vector<Table>& Tables()
{
    static const std::vector<Table> tables{
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
        Orders(),
        ItemTable(),
        WaybillTable(),
        InstructionTable(),
    };
    return tables;
}

QString Column::Title() const
{
    return group.isEmpty() ? caption : group + u'|' + caption;
}

const Column* Table::Find(QStringView column) const
{
    for (const Column& candidate : columns) {
        if (column.compare(candidate.name, Qt::CaseInsensitive) == 0)
            return &candidate;
    }
    return nullptr;
}

const Table* FindTable(QStringView name)
{
    for (const Table& table : Tables()) {
        if (name.compare(table.name, Qt::CaseInsensitive) == 0)
            return &table;
    }
    return nullptr;
}

const Table& OrderTable()
{
    static const Table& table = *FindTable(u"tab_zelmor_bill");
    return table;
}

} // namespace company
