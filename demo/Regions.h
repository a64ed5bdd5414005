#pragma once

#include <QString>

#include <vector>

namespace demo {

struct City {
    QString name; // 合肥市
    QString shortName; // 合肥
    QString postcode;
    QString areaCode; // of its telephone numbers
    int province = 0;
    std::vector<QString> counties;
};

struct Province {
    QString code;
    QString name; // 安徽省
    QString shortName; // 安徽
    QString area; // 华东区
    int weight = 0; // share of the orders, against the others
    std::vector<int> cities;

    bool IsMunicipality() const { return cities.size() == 1; }
};

struct Regions {
    std::vector<Province> provinces;
    std::vector<City> cities;
};

// Read once from the built-in texts.
const Regions& AllRegions();

// A county's name without 区, 县, 市 and the like.
QString ShortCounty(const QString& county);

} // namespace demo
