#include "demo/Addresses.h"

#include "demo/Network.h"
#include "demo/Regions.h"
#include "demo/TableWriter.h"

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

const QString kRoads[] = {
    u"人民路"_s,
    u"中山路"_s,
    u"解放路"_s,
    u"建设路"_s,
    u"和平路"_s,
    u"长江路"_s,
    u"黄河路"_s,
    u"新华路"_s,
    u"文化路"_s,
    u"胜利路"_s,
    u"朝阳路"_s,
    u"光明路"_s,
    u"滨河路"_s,
    u"学府路"_s,
    u"东风路"_s,
    u"青年路"_s,
    u"健康路"_s,
    u"兴业路"_s,
    u"科技路"_s,
    u"创新路"_s,
    u"团结路"_s,
    u"友谊路"_s,
    u"望江路"_s,
    u"繁华路"_s,
    u"工农路"_s,
    u"体育路"_s,
    u"公园路"_s,
    u"湖滨路"_s,
    u"环城路"_s,
    u"南京路"_s,
    u"北京路"_s,
    u"上海路"_s,
    u"振兴街"_s,
    u"幸福街"_s,
    u"商业街"_s,
    u"新民街"_s,
    u"永安街"_s,
    u"文昌街"_s,
    u"世纪大道"_s,
    u"迎宾大道"_s,
    u"工业大道"_s,
    u"发展大道"_s,
    u"开元大道"_s,
    u"金桥路"_s,
    u"紫云路"_s,
    u"翠微路"_s,
    u"龙泉路"_s,
    u"凤凰路"_s,
};
const QString kTowns[] = {
    u"城关镇"_s,
    u"新城镇"_s,
    u"河东镇"_s,
    u"河西镇"_s,
    u"双墩镇"_s,
    u"石桥镇"_s,
    u"柳林镇"_s,
    u"白沙镇"_s,
    u"清溪镇"_s,
    u"龙山镇"_s,
    u"凤台镇"_s,
    u"太平镇"_s,
    u"永丰乡"_s,
    u"大兴乡"_s,
    u"红旗乡"_s,
    u"东岗乡"_s,
    u"三河镇"_s,
    u"马店镇"_s,
    u"高桥镇"_s,
    u"梅林镇"_s,
    u"南塘镇"_s,
    u"北湖镇"_s,
    u"金山镇"_s,
    u"桃园镇"_s,
};
const QString kEstates[] = {
    u"阳光花园"_s,
    u"锦绣家园"_s,
    u"翡翠城"_s,
    u"丽景苑"_s,
    u"书香名邸"_s,
    u"滨湖世家"_s,
    u"金色港湾"_s,
    u"华府国际"_s,
    u"东方明珠"_s,
    u"绿洲小区"_s,
    u"康居苑"_s,
    u"玫瑰园"_s,
};
constexpr int kRoadsOfCounty = 6;
constexpr int kTownsOfCounty = 2;
constexpr int kRoadsOfTown = 2;
constexpr int kHighestNumber = 9'999;

const QString& RoadOf(int city, int county, int road)
{
    return kRoads[static_cast<size_t>(
        (city * 7 + county * 11 + road * 5) % static_cast<int>(std::size(kRoads)))];
}

const QString& TownOf(int city, int county, int town)
{
    return kTowns[static_cast<size_t>(
        (city * 5 + county * 3 + town * 7) % static_cast<int>(std::size(kTowns)))];
}

const QString& RoadOfTown(int city, int county, int town, int road)
{
    return RoadOf(city, county, 1 + town * 3 + road * 7);
}

// One county in five has no delivery areas yet.
bool IsCovered(int city, int county)
{
    return (city + county) % 5 != 4;
}

QString Number(Random& random)
{
    return QString::number(random.Between(1, 880));
}

void AppendDoor(QString& address, Random& random)
{
    address += random.Pick(kEstates);
    address += QString::number(random.Between(1, 32));
    address += u"栋"_s;
    const qint64 storey = random.Between(1, 18);
    address += QString::number(storey * 100 + random.Between(1, 6));
    address += u"室"_s;
}

} // namespace

QString StreetAddress(int city, int county, Random& random)
{
    QString address;
    address.reserve(40);
    const auto kind = random.Below(100);
    if (kind < 70) {
        if (kind >= 55) { // a town's road
            const int town = static_cast<int>(random.Below(kTownsOfCounty));
            address += TownOf(city, county, town);
            address += RoadOfTown(city, county, town, static_cast<int>(random.Below(kRoadsOfTown)));
        } else {
            address += RoadOf(city, county, static_cast<int>(random.Below(kRoadsOfCounty)));
        }
        address += Number(random);
        address += u"号"_s;
        AppendDoor(address, random);
    } else if (kind < 85) { // the region written once more in front
        const City& place = AllRegions().cities[static_cast<size_t>(city)];
        address += place.name;
        address += place.counties[static_cast<size_t>(county)];
        address += RoadOf(city, county, static_cast<int>(random.Below(kRoadsOfCounty)));
        address += Number(random);
        address += u"号"_s;
    } else if (kind < 95) {
        AppendDoor(address, random);
    } else {
        address += RoadOf(city, county, static_cast<int>(random.Below(kRoadsOfCounty)));
        address += random.Pick(kEstates);
    }
    return address;
}

void WriteKeywords(company::RowSink& sink)
{
    TableWriter writer(sink, u"TAB_QRYKEY");
    writer.Row({qint64{1}, qint64{1}, u"省,自治区"_s});
    writer.Row({qint64{2}, qint64{2}, u"市,区,县"_s});
    writer.Row({qint64{3}, qint64{3}, u"镇,乡"_s});
    writer.Row({qint64{4}, qint64{4}, u"路,大道,街,巷"_s});
    writer.Row({qint64{5}, qint64{5}, u"号,弄"_s});
    writer.End();
}

void WriteDeliveryAreas(company::RowSink& sink)
{
    enum Numbers : qint64 { All = 0, Odd = 1, Even = 2 };
    const Regions& regions = AllRegions();
    const Network& network = TheNetwork();
    TableWriter writer(sink, u"TAB_AREA_DETAIL");
    qint64 id = 0;
    for (int city = 0; city < static_cast<int>(regions.cities.size()); ++city) {
        const City& place = regions.cities[static_cast<size_t>(city)];
        const Province& province = regions.provinces[static_cast<size_t>(place.province)];
        const std::vector<int>& branches = network.cityBranches[static_cast<size_t>(city)];
        for (int county = 0; county < static_cast<int>(place.counties.size()); ++county) {
            if (!IsCovered(city, county))
                continue;
            // Some of these rows were typed without 省 and 市.
            const bool bare = (city + county) % 4 == 0;
            const QString provinceName = bare ? province.name.chopped(1) : province.name;
            const QString cityName = bare ? place.name.chopped(1) : place.name;
            const auto add = [&](int choice, const QString& town, const QString& road, qint64 from, qint64 to,
                                 Numbers numbers) {
                const Site& site = network.sites[static_cast<size_t>(
                    branches[static_cast<size_t>(county + choice) % branches.size()])];
                writer.Row(
                    {++id, site.name, provinceName, cityName, place.counties[static_cast<size_t>(county)],
                        wire::TextValue(town), road, from, to, qint64{numbers}});
            };
            for (int road = 0; road < kRoadsOfCounty; ++road) {
                const QString& name = RoadOf(city, county, road);
                switch (road % 3) {
                case 0:
                    add(0, {}, name, 1, kHighestNumber, All);
                    break;
                case 1:
                    add(0, {}, name, 1, kHighestNumber, Odd);
                    add(1, {}, name, 1, kHighestNumber, Even);
                    break;
                default:
                    add(0, {}, name, 1, 400, All);
                    add(1, {}, name, 401, kHighestNumber, All);
                    break;
                }
            }
            for (int town = 0; town < kTownsOfCounty; ++town) {
                for (int road = 0; road < kRoadsOfTown; ++road)
                    add(town, TownOf(city, county, town), RoadOfTown(city, county, town, road), 1,
                        kHighestNumber, All);
            }
        }
    }
    writer.End();
}

} // namespace demo
