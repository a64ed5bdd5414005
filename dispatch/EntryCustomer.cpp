#include "dispatch/EntryCustomer.h"

#include "framework/RowFields.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct TCopied {
    QStringView customer;
    QStringView order;
};

constexpr std::array kCopied = std::to_array<TCopied>({
    {u"CUSTOMER_CODE", u"CUSTOMER_ID"},
    {u"CUSTOMER_ADDRESS", u"ADDRESS"},
    {u"CUSTOMER_PHONE1", u"PHONE"},
    {u"PROV", u"PROV"},
    {u"CITY", u"CITY"},
    {u"COUNTY", u"COUNTY"},
    {u"CUSTOMER_LINKMAN", u"NAME"},
    {u"CUSTOMER_FULL_NAME", u"COMPANYNAME"},
});

} // namespace

void FillShipper(TClientDataSetEx& order, const TClientDataSetEx& customers)
{
    for (const TCopied& each : kCopied)
        SetText(order, each.order, TextOf(customers, each.customer));
}

void ClearShipper(TClientDataSetEx& order)
{
    for (const TCopied& each : kCopied) {
        if (each.order != u"ADDRESS")
            ClearField(order, each.order);
    }
}

QStringList PayChoices(const QStringList& modes)
{
    QStringList choices = modes;
    choices.removeAll(u"月结"_s);
    return choices;
}

QStringList PayChoicesWithoutCustomer()
{
    return {QString(), u"现付"_s, u"到付"_s};
}

QStringList PayChoicesOfCustomer(const QString& balanceMode)
{
    QString modes = balanceMode;
    if (!modes.startsWith(u';'))
        modes.prepend(u';');
    if (modes.endsWith(u';'))
        modes.chop(1);
    return modes.replace(u";预付到付;"_s, u";"_s).split(u';');
}
