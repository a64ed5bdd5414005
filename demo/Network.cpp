#include "demo/Network.h"

#include "company/Headquarters.h"
#include "demo/Numbers.h"
#include "demo/Random.h"
#include "demo/Regions.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

const QString kHeadquarters = company::kHeadquarters.toString();

QString Ordinal(int number)
{
    static const QString kDigits = u"零一二三四五六七八九十"_s;
    return number <= 10 ? QString(kDigits[number]) : u"十"_s + kDigits[number - 10];
}

// Builds the tree province by province. Nothing here depends on a seed: accounts name sites and employees.
class Builder {
public:
    Network Build()
    {
        network_.cityBranches.resize(regions_.cities.size());
        AddHeadquarters();
        for (const Province& province : regions_.provinces)
            AddProvince(province);
        for (std::size_t site = 0; site < network_.sites.size(); ++site) {
            network_.byName.insert(network_.sites[site].name, static_cast<int>(site));
            AddEmployees(static_cast<int>(site));
        }
        ShareStock();
        return std::move(network_);
    }

private:
    Site& AddSite(SiteRole role, const QString& code, const QString& name, const QString& superior, int city)
    {
        const City& place = regions_.cities[static_cast<size_t>(city)];
        Site site;
        site.role = role;
        site.code = code;
        site.name = name;
        site.superior = superior;
        site.city = city;
        site.range = place.shortName + u"片区"_s;
        site.county = static_cast<int>(random_.Below(static_cast<qint64>(place.counties.size())));
        site.address = place.counties[static_cast<size_t>(site.county)] + u"物流大道"_s
            + QString::number(random_.Between(1, 300)) + u"号"_s;
        site.phone = LandlineNumber(place.areaCode, random_.Next());
        network_.sites.push_back(std::move(site));
        return network_.sites.back();
    }

    void AddHeadquarters()
    {
        const auto shanghai = std::find_if(regions_.cities.begin(), regions_.cities.end(),
            [](const City& city) { return city.shortName == u"上海"_s; });
        const int city = static_cast<int>(shanghai - regions_.cities.begin());
        Site& root = AddSite(SiteRole::Headquarters, u"000000"_s, kHeadquarters, {}, city);
        root.type = u"总部"_s;
        root.kind = u"总部"_s;
        Site& desk = AddSite(SiteRole::Branch, u"000001"_s, u"快运大客户部"_s, kHeadquarters, city);
        desk.type = u"网点"_s;
        desk.kind = u"直营网点"_s;
        desk.bigCustomer = true;
    }

    void AddProvince(const Province& province)
    {
        int serial = 0;
        const auto code = [&] { return province.code + Digits(++serial, 4); };
        const int capital = province.cities.front();

        const QString finance = province.shortName + u"财务中心"_s;
        Site& office = AddSite(SiteRole::FinanceCenter, code(), finance, kHeadquarters, capital);
        office.type = u"财务中心"_s;
        office.kind = u"一级财务中心"_s;
        office.ownsStock = province.weight >= 10;
        office.stock = office.ownsStock ? StockOwner::SiteAlone : StockOwner::Unchecked;
        office.closed = true;

        QString center = AddCenter(code(), capital, finance, finance, 1);
        int ordinal = 0;
        for (std::size_t i = 0; i < province.cities.size(); ++i) {
            const int city = province.cities[i];
            // Wide provinces have a second centre that serves their farther half.
            if (province.cities.size() >= 10 && i == province.cities.size() / 2)
                center = AddCenter(code(), city, center, finance, 2);
            const int count = BranchesOf(province, i);
            for (int branch = 0; branch < count; ++branch)
                AddBranch(code(), BranchName(province, city, branch), center, finance, city, ordinal++);
        }
        if (province.weight >= 20) {
            const City& last = regions_.cities[static_cast<size_t>(province.cities.back())];
            const int city = province.cities.back();
            Site& partner = AddSite(
                SiteRole::Partner, code(), province.shortName + last.shortName + u"同行"_s, center, city);
            if (province.IsMunicipality())
                partner.name = province.shortName + u"同行"_s;
            partner.type = u"同行"_s;
            partner.kind = u"同行"_s;
            partner.financeCenter = finance;
            network_.branches.push_back(static_cast<int>(network_.sites.size()) - 1);
        }
    }

    QString AddCenter(
        const QString& code, int city, const QString& superior, const QString& finance, int level)
    {
        const QString name = regions_.cities[static_cast<size_t>(city)].shortName + u"中心"_s;
        Site& center = AddSite(SiteRole::Center, code, name, superior, city);
        center.type = u"中心"_s;
        center.kind = level == 1 ? u"一级分拨中心"_s : u"二级分拨中心"_s;
        center.financeCenter = finance;
        return name;
    }

    int BranchesOf(const Province& province, std::size_t cityPosition) const
    {
        if (province.IsMunicipality()) {
            const City& city = regions_.cities[static_cast<size_t>(province.cities.front())];
            return std::min(16, static_cast<int>(city.counties.size()));
        }
        if (cityPosition == 0)
            return std::min(10, 2 + province.weight / 12);
        return province.weight >= 90 ? 3 : province.weight >= 40 ? 2 : 1;
    }

    QString BranchName(const Province& province, int cityNumber, int branch) const
    {
        const City& city = regions_.cities[static_cast<size_t>(cityNumber)];
        if (province.IsMunicipality())
            return province.shortName + ShortCounty(city.counties[static_cast<size_t>(branch)]) + u"部"_s;
        const QString head =
            city.shortName == province.shortName ? city.name : province.shortName + city.shortName;
        return head + Ordinal(branch + 1) + u"部"_s;
    }

    // The first four branches of a province show the four ways of answering for waybill stock.
    void AddBranch(const QString& code, const QString& name, const QString& center, const QString& finance,
        int city, int ordinal)
    {
        Site& branch = AddSite(SiteRole::Branch, code, name, center, city);
        branch.type = u"网点"_s;
        branch.kind = ordinal % 3 == 0 ? u"直营网点"_s : u"加盟网点"_s;
        switch (ordinal % 8) {
        case 0:
        case 4:
            branch.stock = StockOwner::Site;
            break;
        case 2:
            branch.stock = StockOwner::SiteAlone;
            break;
        case 3:
            branch.stock = StockOwner::Unchecked;
            break;
        default:
            branch.stock = StockOwner::FinanceCenter;
            break;
        }
        branch.ownsStock = branch.stock == StockOwner::Site || branch.stock == StockOwner::SiteAlone;
        if (branch.stock == StockOwner::Site || branch.stock == StockOwner::FinanceCenter)
            branch.financeCenter = finance;
        branch.closed = ordinal % 40 == 39;
        const int number = static_cast<int>(network_.sites.size()) - 1;
        network_.branches.push_back(number);
        network_.cityBranches[static_cast<size_t>(city)].push_back(number);
    }

    // Every second owner of stock may also use that of the next branch under the same centre.
    void ShareStock()
    {
        for (std::size_t i = 0; i + 1 < network_.branches.size(); ++i) {
            Site& site = network_.sites[static_cast<size_t>(network_.branches[i])];
            const Site& next = network_.sites[static_cast<size_t>(network_.branches[i + 1])];
            if (site.ownsStock && i % 2 == 0 && next.superior == site.superior)
                site.siteMaterial = next.name;
        }
        for (Site& site : network_.sites) {
            if (site.role == SiteRole::FinanceCenter && site.ownsStock)
                site.siteMaterial = kHeadquarters;
        }
    }

    void AddEmployees(int number)
    {
        Site& site = network_.sites[static_cast<size_t>(number)];
        const bool branch = site.role == SiteRole::Branch || site.role == SiteRole::Partner;
        site.firstEmployee = static_cast<int>(network_.employees.size());
        site.employeeCount = branch ? 5 + static_cast<int>(random_.Below(5)) : 12;
        for (int i = 0; i < site.employeeCount; ++i) {
            Employee employee;
            employee.code = site.code + Digits(i + 1, 2);
            employee.name = PersonName(static_cast<int>(network_.employees.size()));
            employee.department = Department(site.role, i);
            employee.phone = MobileNumber(random_.Next());
            employee.site = number;
            employee.market = branch && i == 4 && number % 60 == 0;
            employee.message = employee.name + u',' + employee.phone + u',' + site.phone;
            network_.employees.push_back(std::move(employee));
        }
        site.principal = network_.employees[static_cast<size_t>(site.firstEmployee)].name;
    }

    static QString Department(SiteRole role, int position)
    {
        switch (role) {
        case SiteRole::Headquarters:
            return position % 2 == 0 ? u"客服部"_s : u"运营部"_s;
        case SiteRole::FinanceCenter:
            return u"财务部"_s;
        case SiteRole::Center:
            return position < 6 ? u"调度部"_s : u"分拨部"_s;
        case SiteRole::Branch:
        case SiteRole::Partner:
            break;
        }
        return position < 2 ? u"客服部"_s : u"业务部"_s;
    }

    const Regions& regions_ = AllRegions();
    Random random_{20'231};
    Network network_;
};

} // namespace

const Network& TheNetwork()
{
    static const Network network = Builder().Build();
    return network;
}

} // namespace demo
