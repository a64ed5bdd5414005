#pragma once

#include <QHash>
#include <QString>

#include <vector>

namespace demo {

enum class SiteRole { Headquarters, FinanceCenter, Center, Branch, Partner };

// Who answers for the waybill numbers that a site uses.
enum class StockOwner {
    Site, // the site, which belongs to a finance centre
    FinanceCenter, // its finance centre
    SiteAlone, // the site, which belongs to no finance centre
    Unchecked, // nobody
};

struct Site {
    SiteRole role = SiteRole::Branch;
    QString code;
    QString name;
    QString superior;
    QString type;
    QString kind;
    QString financeCenter;
    QString siteMaterial; // other sites whose stock it may use, separated by ","
    StockOwner stock = StockOwner::Unchecked;
    bool ownsStock = false; // BL_MATERIAL
    bool closed = false; // BL_NOT_INPUT
    bool bigCustomer = false;
    int city = 0; // position in Regions::cities
    int county = 0; // position in City::counties
    QString range;
    QString address;
    QString phone;
    QString principal;
    int firstEmployee = 0; // position in Network::employees
    int employeeCount = 0;
};

struct Employee {
    QString code;
    QString name;
    QString department;
    QString phone;
    int site = 0;
    bool market = false; // BL_GOODS_MARKET: collects for every site
    QString message; // what an order's MESSAGE holds once this courier is assigned
};

// The company: its tree of sites under 快运本部 and the people at them. It is the same in every demo
// database.
struct Network {
    std::vector<Site> sites;
    std::vector<Employee> employees;
    std::vector<int> branches; // the sites that collect: branches and partners
    std::vector<std::vector<int>> cityBranches; // the branches of a city, by its position
    QHash<QString, int> byName;

    const Site& Named(const QString& name) const { return sites[static_cast<size_t>(byName.value(name))]; }
};

const Network& TheNetwork();

// The people's names of the demo world: `number` and `number` + kNameCount are namesakes, none between.
inline constexpr int kNameCount = 12'640;
QString PersonName(int number);
QString MobileNumber(quint64 number);
QString LandlineNumber(const QString& areaCode, quint64 number);

} // namespace demo
