#include "orders/search/TrailQuery.h"

#include "module/data/SqlText.h"

#include <array>
#include <span>

using namespace Qt::Literals::StringLiterals;

namespace {

struct MessageCode {
    const char16_t* code;
    const char16_t* words;
};

constexpr std::array kWarehouseCodes = std::to_array<MessageCode>({
    {u"TMS_ACCEPT", u"已揽收"},
    {u"TMS_DELIVERING", u"派送中"},
    {u"TMS_PAY", u"支付成功"},
    {u"TMS_SIGN", u"签收成功"},
    {u"TMS_FAILED", u"拒签"},
    {u"TMS_ERROR", u"异常"},
    {u"TMS_STATION_IN", u"到件"},
    {u"TMS_STATION_OUT", u"发件"},
});

constexpr std::array kMarketplaceCodes = std::to_array<MessageCode>({
    {u"ACCEPT", u"接单成功"},
    {u"UNACCEPT", u"接单失败"},
    {u"GOT", u"揽收成功"},
    {u"NOT_SEND", u"揽收失败"},
    {u"SIGNED", u"签收成功（派件成功）"},
    {u"FAILED", u"签收失败"},
});

std::span<const MessageCode> CodesOf(const QString& source)
{
    if (source == u"运泊通")
        return kWarehouseCodes;
    if (source == u"泽摩" || source == u"洛维卡特")
        return kMarketplaceCodes;
    return {};
}

} // namespace

QString TrailQuery(const QString& source, const QString& orderNumber, const QString& waybill)
{
    const std::span<const MessageCode> codes = CodesOf(source);
    if (codes.empty())
        return {};
    QString sql = u"select /*+index(a,TAB_ZELMOR_INSTRUCTION_I2)*/  (case "_s;
    for (const MessageCode& message : codes) {
        sql += u" when a.info_content = '"_s + QString::fromUtf16(message.code) + u"' then  '"_s
            + QString::fromUtf16(message.words) + u"' "_s;
    }
    sql += u" else a.info_content end) as infos,a.create_date,a.POST_FLAG,a.post_time "
           "from TAB_ZELMOR_INSTRUCTION a  where a.tx_logistic_id = "_s;
    return sql + QuotedStr(orderNumber) + u" and a.bill_code = "_s + QuotedStr(waybill)
        + u" order by a.create_date "_s;
}
