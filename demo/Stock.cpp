#include "demo/Stock.h"

#include "demo/Numbers.h"
#include "demo/TableWriter.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

constexpr qint64 kRange = 1'000; // numbers issued at a time
constexpr qint64 kShortBlock = 10'000; // numbers of an old roll
constexpr qint64 kShortStart = 2'000'000;
constexpr qint64 kLongBlock = 100'000; // of one prefix, for one site
constexpr qint64 kPrefixes[] = {168, 169, 268, 368};
constexpr qint64 kSpare = 400; // unused numbers at every site, at least
constexpr qint64 kDamagedEvery = 97;
constexpr qint64 kDamagedFirst = 5;

bool IsDamaged(qint64 position)
{
    return position % kDamagedEvery == kDamagedFirst;
}

// The number at a position of a site's long rolls, without its check digit.
qint64 LongBase(int site, qint64 position)
{
    return kPrefixes[position / kLongBlock] * 100'000'000 + site * kLongBlock + position % kLongBlock;
}

qint64 ShortBase(int block, qint64 position)
{
    return kShortStart + block * kShortBlock + position;
}

} // namespace

WaybillStock::WaybillStock(const Network& network)
    : network_(network)
    , rolls_(network.sites.size())
{
    int block = 0;
    for (const int site : network.branches) {
        if (network.sites[static_cast<size_t>(site)].stock == StockOwner::SiteAlone)
            rolls_[static_cast<size_t>(site)].shortBlock = block++;
    }
}

QString WaybillStock::NumberAt(int site, qint64 position) const
{
    const int block = rolls_[static_cast<size_t>(site)].shortBlock;
    if (block < 0)
        return LongWaybill(LongBase(site, position));
    if (position < kShortBlock)
        return ShortWaybill(ShortBase(block, position));
    return LongWaybill(LongBase(site, position - kShortBlock));
}

QString WaybillStock::Take(int site)
{
    qint64& used = rolls_[static_cast<size_t>(site)].used;
    if (IsDamaged(used))
        ++used;
    return NumberAt(site, used++);
}

void WaybillStock::WriteRanges(
    int siteNumber, qint64& id, const wire::DateTime& now, TableWriter& writer) const
{
    const Site& site = network_.sites[static_cast<size_t>(siteNumber)];
    const Roll& roll = rolls_[static_cast<size_t>(siteNumber)];
    const QString user = site.stock == StockOwner::FinanceCenter ? site.financeCenter : site.name;
    const qint64 ranges = (roll.used + kSpare + kRange - 1) / kRange;
    for (qint64 range = 0; range < ranges; ++range) {
        const qint64 first = range * kRange;
        const bool isShort = roll.shortBlock >= 0 && first < kShortBlock;
        const qint64 base = isShort
            ? ShortBase(roll.shortBlock, first)
            : LongBase(siteNumber, roll.shortBlock >= 0 ? first - kShortBlock : first);
        const int width = isShort ? 7 : 11;
        writer.Row({++id, Digits(base, width), Digits(base + kRange - 1, width), user,
            now.AddDays(-400.0 + static_cast<double>(range % 300))});
    }
}

void WaybillStock::Write(const wire::DateTime& now, company::RowSink& sink) const
{
    TableWriter ranges(sink, u"TAB_BILL_PROVIDE");
    qint64 id = 0;
    for (const int site : network_.branches) {
        if (network_.sites[static_cast<size_t>(site)].stock != StockOwner::Unchecked)
            WriteRanges(site, id, now, ranges);
    }
    ranges.End();

    TableWriter disabled(sink, u"tab_bill_del");
    for (const int number : network_.branches) {
        const Site& site = network_.sites[static_cast<size_t>(number)];
        const qint64 end = rolls_[static_cast<size_t>(number)].used + kSpare / 2;
        for (qint64 position = kDamagedFirst; position < end; position += kDamagedEvery)
            disabled.Row({NumberAt(number, position), site.name, site.principal,
                now.AddDays(-static_cast<double>(position % 90)), u"面单破损作废"_s});
    }
    disabled.End();
}

QString CouponStock::FaceValue(int kind)
{
    static const QString values[kKinds] = {u"5元"_s, u"10元"_s, u"20元"_s, u"50元"_s, u"100元"_s};
    return values[kind];
}

namespace {

enum CouponState { Valid, NotYetValid, Expired, Used };

QString Coupon(int kind, CouponState state, int serial)
{
    static const QString kPrefix = u"ZM"_s;
    return CouponNumber(
        kPrefix + QString::number(kind + 1), (kind + 1) * 1'000'000LL + state * 200'000LL + serial);
}

} // namespace

QString CouponStock::TakeUsed(int kind)
{
    return Coupon(kind, Used, used_[static_cast<size_t>(kind)]++);
}

void CouponStock::Write(const wire::DateTime& now, company::RowSink& sink) const
{
    struct Span {
        CouponState state;
        double from; // days from now
        double until;
    };
    static constexpr Span kSpans[] = {
        {Valid, -30, 60}, {NotYetValid, 1, 90}, {Expired, -200, -2}, {Used, -400, 60}};
    static constexpr int kOfEach = 120;

    TableWriter writer(sink, u"tab_favourable_bill");
    for (int kind = 0; kind < kKinds; ++kind) {
        for (const Span& span : kSpans) {
            const int count =
                span.state == Used ? std::max(kOfEach, used_[static_cast<size_t>(kind)]) : kOfEach;
            for (int serial = 0; serial < count; ++serial)
                writer.Row({Coupon(kind, span.state, serial), now.AddDays(span.from), now.AddDays(span.until),
                    Flag(span.state == Used), FaceValue(kind)});
        }
    }
    writer.End();
}

} // namespace demo
