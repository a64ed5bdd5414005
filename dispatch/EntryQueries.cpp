#include "dispatch/EntryQueries.h"

#include "wire/Error.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// Of a number: the prefix with the day, then the serial's first six digits.
constexpr qsizetype kDayLength = 9;
constexpr qsizetype kSerialDigits = 6;

QString WithSerial(const QString& day, qint64 serial)
{
    return day + QString::number(serial).rightJustified(kSerialDigits, u'0');
}

qint64 SerialOf(const QString& number)
{
    const QString digits = number.mid(kDayLength, kSerialDigits);
    bool ok = false;
    const qint64 serial = digits.toLongLong(&ok);
    if (!ok)
        throw wire::Error(wire::ErrorKind::Data, u"'%1' 不是有效的整数"_s.arg(digits));
    return serial;
}

} // namespace

QString NoOrdersQuery()
{
    return u"select * from tab_zelmor_bill a where 1=2"_s;
}

QString PayModesQuery()
{
    return u"select /*+index(a,)*/ a.* from TAB_PAY_MODE a order by MODE_CODE"_s;
}

QString LastNumberQuery()
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_P)*/ max(TX_LOGISTIC_ID) as TX_LOGISTIC_ID from "
           "tab_zelmor_bill a where  TX_LOGISTIC_ID like 'D'||to_char(sysdate,'yyyymmdd')||'%'"_s;
}

QString NumbersInUseQuery(const QStringList& numbers)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_P)*/ 1 from tab_zelmor_bill a where TX_LOGISTIC_ID in ('"_s
        + numbers.join(u"','"_s) + u"')"_s;
}

QString NextNumber(const QString& last, wire::DateTime today)
{
    return WithSerial(u'D' + today.Format(u"yyyymmdd"), last.isEmpty() ? 1 : SerialOf(last) + 1);
}

QString NumberAfter(const QString& posted)
{
    return WithSerial(posted.left(kDayLength), SerialOf(posted) + 1);
}
