#include "module/data/DateRange.h"

#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"

using namespace Qt::Literals::StringLiterals;

std::optional<TDateRangeFault> FindDateRangeFault(const QString& from, const QString& to, int maxDays)
{
    const auto start = wire::DateTime::Parse(from.trimmed());
    const auto end = wire::DateTime::Parse(to.trimmed());
    if (!start || !end)
        return TDateRangeFault{u"详细：您所输入的日期时间错误！"_s, u"日期时间格式"_s};
    if (*start > *end)
        return TDateRangeFault{u"详细：结束日期不能比开始日期还早！"_s, u"日期时间错误"_s};
    if (end->seconds - start->seconds > qint64{maxDays} * 86400)
        return TDateRangeFault{u"详细：结束日期不能超过开始日期\"%1\"天！"_s.arg(maxDays), u"日期时间错误"_s};
    return std::nullopt;
}

bool CheckDateRange(const QString& from, const QString& to, int maxDays, bool showMessages)
{
    const auto fault = FindDateRangeFault(from, to, maxDays);
    if (fault && showMessages)
        ShowWarning(fault->text, fault->caption);
    return fault.has_value();
}

QString StartOfToday()
{
    return ServerDateTime().Format(u"yyyy-mm-dd") + u" 00:00:00"_s;
}

QString EndOfToday()
{
    return ServerDateTime().Format(u"yyyy-mm-dd") + u" 23:59:59"_s;
}
