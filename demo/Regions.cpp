#include "demo/Regions.h"

#include "demo/RegionData.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

// 恩施土家族苗族自治州 is called 恩施.
QString ShortCity(const QString& city)
{
    static const QStringList endings{
        u"自治州"_s,
        u"土家族"_s,
        u"苗族"_s,
        u"藏族"_s,
        u"羌族"_s,
        u"彝族"_s,
        u"布依族"_s,
        u"侗族"_s,
        u"哈尼族"_s,
        u"壮族"_s,
        u"傣族"_s,
        u"白族"_s,
        u"景颇族"_s,
        u"傈僳族"_s,
        u"朝鲜族"_s,
        u"回族"_s,
        u"蒙古族"_s,
        u"蒙古"_s,
        u"哈萨克"_s,
        u"柯尔克孜"_s,
        u"地区"_s,
        u"市"_s,
        u"盟"_s,
    };
    QString name = city;
    for (bool found = true; found;) {
        found = false;
        for (const QString& ending : endings) {
            if (name.size() - ending.size() >= 2 && name.endsWith(ending)) {
                name.chop(ending.size());
                found = true;
            }
        }
    }
    return name;
}

void AddProvinces(std::span<const ProvinceText> texts, Regions& regions)
{
    for (const ProvinceText& text : texts) {
        const int number = static_cast<int>(regions.provinces.size());
        Province province{QString::fromUtf16(text.code), QString::fromUtf16(text.name),
            QString::fromUtf16(text.shortName), QString::fromUtf16(text.area), text.weight, {}};
        const QStringList lines = QString::fromUtf16(text.cities).split(u'\n', Qt::SkipEmptyParts);
        for (const QString& line : lines) {
            const QStringList words = line.split(u' ', Qt::SkipEmptyParts);
            City city{words[0], ShortCity(words[0]), words[1], words[2], number, {}};
            city.counties.assign(words.begin() + 3, words.end());
            province.cities.push_back(static_cast<int>(regions.cities.size()));
            regions.cities.push_back(std::move(city));
        }
        regions.provinces.push_back(std::move(province));
    }
}

Regions ReadRegions()
{
    Regions regions;
    AddProvinces(NorthernProvinces(), regions);
    AddProvinces(EasternProvinces(), regions);
    AddProvinces(SouthernProvinces(), regions);
    AddProvinces(WesternProvinces(), regions);
    return regions;
}

} // namespace

const Regions& AllRegions()
{
    static const Regions regions = ReadRegions();
    return regions;
}

QString ShortCounty(const QString& county)
{
    static const QStringList endings{
        u"自治县"_s, u"新区"_s, u"街道"_s, u"区"_s, u"县"_s, u"市"_s, u"旗"_s, u"镇"_s};
    for (const QString& ending : endings) {
        if (county.size() - ending.size() >= 2 && county.endsWith(ending))
            return county.chopped(ending.size());
    }
    return county;
}

} // namespace demo
