#include "demo/Generator.h"

#include "demo/Addresses.h"
#include "demo/Customers.h"
#include "demo/Network.h"
#include "demo/Numbers.h"
#include "demo/Orders.h"
#include "demo/Random.h"
#include "demo/Regions.h"
#include "demo/TableWriter.h"

#include "wire/Error.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

using wire::TextValue;
using wire::Value;

constexpr qint64 kMostOrders = 10'000'000;

// Codes of regions begin with their province's two digits.
QString CityCode(const Province& province, std::size_t city)
{
    return province.code + Digits(static_cast<qint64>(city) + 1, 2);
}

void WriteAreas(company::RowSink& sink)
{
    TableWriter writer(sink, u"tab_area");
    QStringList known;
    for (const Province& province : AllRegions().provinces) {
        if (known.contains(province.area))
            continue;
        known.append(province.area);
        writer.Row({Digits(known.size(), 2), province.area});
    }
    writer.End();
}

void WriteProvincesAndCities(company::RowSink& sink)
{
    const Regions& regions = AllRegions();
    TableWriter provinces(sink, u"tab_province");
    for (const Province& province : regions.provinces)
        provinces.Row({province.code, province.name, province.area});
    provinces.End();

    TableWriter cities(sink, u"tab_city");
    for (const Province& province : regions.provinces) {
        for (std::size_t i = 0; i < province.cities.size(); ++i)
            cities.Row({CityCode(province, i), regions.cities[static_cast<size_t>(province.cities[i])].name,
                province.name});
    }
    cities.End();
}

void WriteCounties(company::RowSink& sink)
{
    const Regions& regions = AllRegions();
    TableWriter writer(sink, u"tab_county");
    for (const Province& province : regions.provinces) {
        for (std::size_t i = 0; i < province.cities.size(); ++i) {
            const City& city = regions.cities[static_cast<size_t>(province.cities[i])];
            int serial = 0;
            for (const QString& county : city.counties) {
                ++serial;
                writer.Row({CityCode(province, i) + Digits(serial, 2), county, city.name, province.name,
                    city.postcode.left(4) + Digits(serial, 2)});
            }
        }
    }
    writer.End();
}

void WritePayModes(company::RowSink& sink)
{
    static const QString kModes[] = {u"现付"_s, u"到付"_s, u"预付到付"_s, u"月结"_s, u"回单付"_s};
    TableWriter writer(sink, u"TAB_PAY_MODE");
    int serial = 0;
    for (const QString& mode : kModes)
        writer.Row({Digits(++serial, 2), mode});
    writer.End();
}

void WriteSites(company::RowSink& sink)
{
    const Regions& regions = AllRegions();
    TableWriter writer(sink, u"tab_site");
    for (const Site& site : TheNetwork().sites) {
        const City& city = regions.cities[static_cast<size_t>(site.city)];
        const Province& province = regions.provinces[static_cast<size_t>(city.province)];
        writer.Row({site.code, site.name, TextValue(site.superior), site.type, site.kind, Flag(site.closed),
            Flag(site.ownsStock), TextValue(site.siteMaterial), TextValue(site.financeCenter),
            Flag(site.bigCustomer), province.area, site.range, province.name, city.name,
            city.counties[static_cast<size_t>(site.county)], site.address, site.phone, site.principal});
    }
    writer.End();
}

void WriteEmployees(company::RowSink& sink)
{
    const Network& network = TheNetwork();
    TableWriter writer(sink, u"tab_employee");
    for (const Employee& employee : network.employees)
        writer.Row({employee.code, employee.name, network.sites[static_cast<size_t>(employee.site)].name,
            employee.department, employee.phone, Flag(employee.market)});
    writer.End();
}

// Each county is served by one or two branches of its city.
void WriteServices(company::RowSink& sink)
{
    static const QString kRanges[] = {u"城区全境"_s, u"城区及周边乡镇"_s, u"主要街道和开发区"_s};
    static const QString kExcluded[] = {u"军事管理区"_s, u"山区村组"_s, u"港口作业区"_s};
    const Regions& regions = AllRegions();
    const Network& network = TheNetwork();
    Random random(55);
    TableWriter writer(sink, u"tab_zelmor_site");
    for (std::size_t number = 0; number < regions.cities.size(); ++number) {
        const City& city = regions.cities[number];
        const Province& province = regions.provinces[static_cast<size_t>(city.province)];
        const std::vector<int>& branches = network.cityBranches[number];
        for (std::size_t county = 0; county < city.counties.size(); ++county) {
            const std::size_t servants = branches.size() > 1 && random.Chance(400) ? 2 : 1;
            for (std::size_t i = 0; i < servants; ++i) {
                const Site& site =
                    network.sites[static_cast<size_t>(branches[(county + i) % branches.size()])];
                writer.Row({site.name, city.counties[county], province.name, city.name,
                    city.postcode.left(4) + Digits(static_cast<qint64>(county) + 1, 2), u"08:00:00"_s,
                    random.Chance(300) ? u"20:00:00"_s : u"18:00:00"_s, Flag(!random.Chance(50)),
                    Flag(!random.Chance(40)), Flag(!random.Chance(100)), random.Pick(kRanges),
                    random.Chance(500) ? Value{random.Pick(kExcluded)} : Value{}});
            }
        }
    }
    writer.End();
}

} // namespace

qint64 OrdersOf(const QString& size)
{
    if (size == u"small"_s)
        return 5'000;
    if (size == u"medium"_s)
        return 100'000;
    if (size == u"large"_s)
        return 1'000'000;
    bool isNumber = false;
    const qint64 orders = size.toLongLong(&isNumber);
    if (!isNumber || orders < 1 || orders > kMostOrders)
        throw wire::Error(wire::ErrorKind::Usage,
            u"演示数据的规模应为 small、medium、large 或 1 到 %1 的数字：%2"_s.arg(kMostOrders).arg(size));
    return orders;
}

void Generate(const GeneratorOptions& options, company::RowSink& sink)
{
    if (options.onProgress)
        options.onProgress(u"基础资料"_s, 0);
    WriteAreas(sink);
    WriteProvincesAndCities(sink);
    WriteCounties(sink);
    WritePayModes(sink);
    WriteSites(sink);
    WriteEmployees(sink);
    WriteCustomers(sink);
    WriteServices(sink);
    WriteKeywords(sink);
    WriteDeliveryAreas(sink);
    WriteOrders(options, sink);
    if (options.onProgress)
        options.onProgress(u"完成"_s, 100);
}

} // namespace demo
