#include "demo/Customers.h"

#include "demo/Addresses.h"
#include "demo/Numbers.h"
#include "demo/Random.h"
#include "demo/Regions.h"
#include "demo/TableWriter.h"

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

const QString kBrands[] = {u"瑞祥"_s, u"锦程"_s, u"佳美"_s, u"恒顺"_s, u"新悦"_s, u"博雅"_s, u"天和"_s,
    u"优品"_s, u"盛达"_s, u"百汇"_s, u"乐享"_s, u"宏图"_s, u"金穗"_s, u"清荷"_s, u"云裳"_s, u"巧匠"_s,
    u"康宁"_s, u"众诚"_s, u"美居"_s};
const QString kTrades[] = {u"服饰"_s, u"数码"_s, u"茶业"_s, u"家居"_s, u"母婴"_s, u"五金"_s, u"食品"_s,
    u"文具"_s, u"日化"_s, u"玩具"_s};
const QString kBalanceModes[] = {
    u";现付;到付;"_s, u"现付;预付到付;到付"_s, u"月结"_s, u";月结;现付;预付到付;到付;"_s, u"到付"_s};

std::vector<Customer> MakeCustomers()
{
    const Network& network = TheNetwork();
    const Regions& regions = AllRegions();
    Random random(77);
    std::vector<Customer> customers;
    std::vector<int> ofCity(regions.cities.size(), 0);
    for (const int number : network.branches) {
        const Site& site = network.sites[static_cast<size_t>(number)];
        const City& city = regions.cities[static_cast<size_t>(site.city)];
        for (int i = 0; i < kCustomersOfBranch; ++i) {
            // Neither list's length divides the other's, so a city's shops have names of their own.
            const auto word = static_cast<size_t>(ofCity[static_cast<size_t>(site.city)]++);
            Customer customer;
            customer.site = number;
            customer.code = u"K"_s + site.code + Digits(i + 1, 3);
            const QString business = kBrands[word % std::size(kBrands)] + kTrades[word % std::size(kTrades)];
            customer.name = city.shortName + business;
            customer.fullName = city.name + business + u"有限公司"_s;
            customer.contact = PersonName(static_cast<int>(random.Below(kNameCount)));
            customer.phone = random.Chance(500) ? MobileNumber(random.Next())
                                                : LandlineNumber(city.areaCode, random.Next());
            customer.county = static_cast<int>(random.Below(static_cast<qint64>(city.counties.size())));
            customer.address = StreetAddress(site.city, customer.county, random);
            customer.balanceMode = random.Pick(kBalanceModes);
            customers.push_back(std::move(customer));
        }
    }
    return customers;
}

} // namespace

const std::vector<Customer>& TheCustomers()
{
    static const std::vector<Customer> customers = MakeCustomers();
    return customers;
}

void WriteCustomers(company::RowSink& sink)
{
    const Network& network = TheNetwork();
    const Regions& regions = AllRegions();
    TableWriter writer(sink, u"tab_customer");
    for (const Customer& customer : TheCustomers()) {
        const Site& site = network.sites[static_cast<size_t>(customer.site)];
        const City& city = regions.cities[static_cast<size_t>(site.city)];
        writer.Row({customer.code, customer.name, customer.fullName, customer.contact, customer.phone,
            customer.address, regions.provinces[static_cast<size_t>(city.province)].name, city.name,
            city.counties[static_cast<size_t>(customer.county)], customer.balanceMode, site.name});
    }
    writer.End();
}

} // namespace demo
