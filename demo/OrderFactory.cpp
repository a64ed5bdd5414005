// What an order is: number, people, goods.
#include "demo/OrderFactory.h"

#include "demo/Addresses.h"
#include "demo/Numbers.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

using wire::DateTime;
using wire::Value;

constexpr int kLandlines = 40; // of a city
constexpr int kManualSerial = 6; // digits
constexpr int kSerial = 8;

const QString kProviders[] = {{}, u"泽摩"_s, u"芮讯下单"_s, u"洛维卡特"_s, u"运泊通"_s};
const QString kPlatform = u"泽摩平台"_s;
const QString kCategoryKeys[] = {u"0"_s, u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"6"_s, u"7"_s, u"8"_s};
const QString kRemarks[] = {u"请上门前电话联系"_s, u"货物易碎，轻拿轻放"_s, u"下午取件"_s, u"需带包装箱"_s,
    u"门卫代收"_s, u"请当天发出"_s, u"有电梯"_s, u"需签回单"_s, u"仓库在后门"_s, u"贵重物品请核对"_s,
    u"周末不收货"_s, u"送货上楼"_s};
// What the kind of payment is called at the counter, and its key in the orders of the marketplaces.
const QString kPaidByHand[] = {u"现付"_s, u"到付"_s};
const QString kPaidOnline[] = {u"0"_s, u"1"_s};

Source PickSource(Random& random, bool planned)
{
    const auto roll = random.Below(planned ? 85 : 100);
    return roll < 45 ? Source::Zelmor
        : roll < 65  ? Source::Lovikat
        : roll < 77  ? Source::Yunbotong
        : roll < 85  ? Source::Ruixun
                     : Source::Manual;
}

} // namespace

OrderFactory::OrderFactory(const DateTime& now, quint64 seed, WaybillStock& stock, CouponStock& coupons)
    : now_(now.seconds)
    , random_(seed)
    , stock_(stock)
    , coupons_(coupons)
{
    PreparePools();
    PrepareOffers();
}

void OrderFactory::PreparePools()
{
    std::vector<int> branchesOfProvince(regions_.provinces.size(), 0);
    const auto provinceOf = [this](int site) {
        const Site& branch = network_.sites[static_cast<size_t>(site)];
        return static_cast<size_t>(regions_.cities[static_cast<size_t>(branch.city)].province);
    };
    for (const int site : network_.branches)
        ++branchesOfProvince[provinceOf(site)];
    for (std::size_t branch = 0; branch < network_.branches.size(); ++branch) {
        const std::size_t province = provinceOf(network_.branches[branch]);
        const int times =
            std::max(1, regions_.provinces[province].weight * 10 / branchesOfProvince[province]);
        branchPool_.insert(branchPool_.end(), static_cast<size_t>(times), static_cast<int>(branch));
    }
    for (const Province& province : regions_.provinces) {
        const int times = std::max(1, province.weight * 3 / static_cast<int>(province.cities.size()));
        for (std::size_t i = 0; i < province.cities.size(); ++i)
            cityPool_.insert(
                cityPool_.end(), static_cast<size_t>(i == 0 ? times * 3 : times), province.cities[i]);
    }
    people_.reserve(kNameCount);
    for (int i = 0; i < kNameCount; ++i)
        people_.push_back(PersonName(i));
    Random random(99);
    for (int i = 0; i < 20'000; ++i)
        mobiles_.push_back(MobileNumber(random.Next()));
    for (const City& city : regions_.cities) {
        std::vector<QString> numbers;
        numbers.reserve(kLandlines);
        for (int i = 0; i < kLandlines; ++i)
            numbers.push_back(LandlineNumber(city.areaCode, random.Next()));
        landlines_.push_back(std::move(numbers));
        warehouses_.push_back(u"WH"_s + city.postcode.left(4));
        warehouseAddresses_.push_back(
            city.name + u"电商产业园"_s + QString::number(random.Between(1, 20)) + u"号仓"_s);
    }
}

QString OrderFactory::Offer(int site, int count, std::size_t step) const
{
    QString text = u";"_s + network_.sites[static_cast<size_t>(site)].name + u';';
    const auto place =
        std::find(network_.branches.begin(), network_.branches.end(), site) - network_.branches.begin();
    for (int i = 1; i < count; ++i) {
        const std::size_t next =
            (static_cast<size_t>(place) + static_cast<size_t>(i) * step) % network_.branches.size();
        const QString& name = network_.sites[static_cast<size_t>(network_.branches[next])].name;
        if (text.size() + name.size() + 1 > 200)
            break;
        text += name + u';';
    }
    return text;
}

void OrderFactory::PrepareOffers()
{
    offers_.resize(network_.sites.size());
    for (const int site : network_.branches) {
        Offers& offers = offers_[static_cast<size_t>(site)];
        offers.alone = Offer(site, 1, 1);
        offers.several = {Offer(site, 2, 1), Offer(site, 3, 1), Offer(site, 2, network_.branches.size() - 1),
            Offer(site, 4, 2)};
        offers.longest = Offer(site, 99, 1);
    }
}

void OrderFactory::StartDay(const DateTime& day)
{
    static const QString kLetters[] = {u"D"_s, u"ZM"_s, u"RX"_s, u"LW"_s, u"YB"_s};
    const QString date = day.Format(u"yyyymmdd");
    for (std::size_t i = 0; i < numberHeads_.size(); ++i)
        numberHeads_[i] = kLetters[i] + date;
    serials_.fill(0);
}

void OrderFactory::Make(qint64 created, const OrderPlan& plan, Order& order, OrderTrace& trace)
{
    order = {};
    trace = {};
    created_ = created;
    distributed_ = 0;
    unknownStatus_ = false;
    driver_ = false;
    trace.created = created;
    trace.seed = random_.Next();
    trace.source = PickSource(random_, plan.site >= 0);
    if (plan.site >= 0) {
        const auto found = std::find(network_.branches.begin(), network_.branches.end(), plan.site);
        branch_ = static_cast<int>(found - network_.branches.begin());
    } else {
        branch_ = random_.Pick(branchPool_);
    }
    site_ = &network_.sites[static_cast<size_t>(network_.branches[static_cast<size_t>(branch_)])];

    Name(order, trace);
    FillShipper(order);
    FillConsignee(order);
    FillGoods(order, trace);
    FillExtras(order, trace);

    if (plan.site >= 0)
        LiveAsPlanned(plan, trace);
    else if (trace.source == Source::Manual)
        LiveByHand(trace);
    else
        LiveOnMarketplace(trace);

    FillOffer(plan, order, trace);
    FillAcceptance(order, trace);
    FillPickup(order, trace);
    FillDelivery(order, trace);
    FillCancellation(order, trace);
}

void OrderFactory::Name(Order& order, OrderTrace& trace)
{
    const auto source = static_cast<size_t>(trace.source);
    const bool byHand = trace.source == Source::Manual;
    trace.logisticId = numberHeads_[source] + Digits(++serials_[source], byHand ? kManualSerial : kSerial);
    order.logisticId = trace.logisticId;
    order.createDate = DateTime{created_};
    if (byHand) {
        const Employee& clerk = Clerk();
        order.createdSite = site_->name;
        order.createdMan = clerk.name;
        order.createdCode = clerk.code;
        Stamp(order, clerk);
        return;
    }
    const QString& provider =
        trace.source == Source::Zelmor && random_.Chance(80) ? kPlatform : kProviders[source];
    order.provider = provider;
    order.orderSource = provider;
    order.tradeNo = Digits(static_cast<qint64>(random_.Next() % 10'000'000'000'000'000ULL), 16);
}

void OrderFactory::FillShipper(Order& order)
{
    const bool byHand = IsNull(order.provider);
    const City& city = regions_.cities[static_cast<size_t>(site_->city)];
    order.province = regions_.provinces[static_cast<size_t>(city.province)].name;
    order.city = city.name;
    order.postcode = city.postcode;
    const Value pickup = DateTime{(created_ / 3600 + 1) * 3600};
    order.pickupFrom = byHand ? Value{DateTime{created_ + 1'800}} : pickup;
    if (!byHand)
        order.pickupUntil = DateTime{(created_ / 3600 + random_.Between(4, 8)) * 3600};
    if (random_.Chance(550)) {
        const auto first = static_cast<size_t>(branch_) * kCustomersOfBranch;
        const Customer& shop = customers_[first + static_cast<size_t>(random_.Below(kCustomersOfBranch))];
        order.name = byHand ? shop.contact : shop.name;
        order.customer = shop.code;
        order.phone = shop.phone;
        order.county = city.counties[static_cast<size_t>(shop.county)];
        order.address = shop.address;
        if (byHand)
            order.company = shop.fullName;
        return;
    }
    const int county = static_cast<int>(random_.Below(static_cast<qint64>(city.counties.size())));
    order.name = random_.Pick(people_);
    order.county = city.counties[static_cast<size_t>(county)];
    order.address = StreetAddress(site_->city, county, random_);
    if (byHand) {
        order.phone = random_.Pick(mobiles_);
        return;
    }
    order.mobile = random_.Pick(mobiles_);
    if (random_.Chance(350))
        order.phone = random_.Pick(landlines_[static_cast<size_t>(site_->city)]);
}

void OrderFactory::FillConsignee(Order& order)
{
    toCity_ = random_.Pick(cityPool_);
    const City& city = regions_.cities[static_cast<size_t>(toCity_)];
    const int county = static_cast<int>(random_.Below(static_cast<qint64>(city.counties.size())));
    order.toProvince = regions_.provinces[static_cast<size_t>(city.province)].name;
    order.toCity = city.name;
    order.toCounty = city.counties[static_cast<size_t>(county)];
    order.toAddress = StreetAddress(toCity_, county, random_);
    if (IsNull(order.provider)) {
        order.toName = u"空"_s; // entry by hand knows no consignee
        return;
    }
    order.toName = random_.Pick(people_);
    order.toPostcode = city.postcode;
    order.toMobile = random_.Pick(mobiles_);
    if (random_.Chance(200))
        order.toPhone = random_.Pick(landlines_[static_cast<size_t>(toCity_)]);
}

void OrderFactory::FillGoods(Order& order, OrderTrace& trace)
{
    const ItemList items = ItemsOf(trace.seed);
    order.itemName = *items.items[0].name;
    order.pieces = qint64{items.Pieces()};
    order.category = kCategoryKeys[items.category];
    const auto size = random_.Below(100);
    const qint64 tenths = size < 60 ? random_.Between(3, 299)
        : size < 80                 ? random_.Between(300, 800)
        : size < 92                 ? random_.Between(801, 1'500)
                                    : random_.Between(1'501, 4'200);
    weight_ = static_cast<double>(tenths) / 10;
    order.weight = weight_;
    const qint64 litres = (tenths + 1) / 2; // five a kilogram
    order.volume = static_cast<double>(litres) / 1'000;
    freightCollect_ = random_.Chance(180);
    order.payType = (trace.source == Source::Manual ? kPaidByHand : kPaidOnline)[freightCollect_ ? 1 : 0];
    trace.collects = trace.source != Source::Manual && random_.Chance(180);
    if (trace.collects)
        order.itemsValue = static_cast<double>(random_.Between(1'900, 199'900)) / 100;
    if (random_.Chance(300))
        order.remark = random_.Pick(kRemarks);
}

void OrderFactory::FillExtras(Order& order, const OrderTrace& trace)
{
    const bool insured = random_.Chance(120);
    order.insured = qint64{insured ? 1 : 0};
    if (insured)
        order.insuranceValue = static_cast<double>(random_.Between(5, 80) * 100);
    order.packaged = qint64{random_.Chance(150) ? 1 : 0};
    if (trace.source == Source::Manual)
        return;
    order.flag = random_.Below(3);
    order.rate = static_cast<double>(random_.Between(80, 420)) / 100;
    if (random_.Chance(trace.source == Source::Lovikat ? 800 : 150)) {
        order.warehouse = warehouses_[static_cast<size_t>(site_->city)];
        order.warehouseAddress = warehouseAddresses_[static_cast<size_t>(site_->city)];
    }
    if (random_.Chance(80))
        order.network = site_->code;
    if (random_.Chance(400)) {
        const std::vector<int>& branches = network_.cityBranches[static_cast<size_t>(toCity_)];
        order.destination = network_.sites[static_cast<size_t>(random_.Pick(branches))].name;
    }
}

} // namespace demo
