#include "host/PublishedData.h"

#include "company/Headquarters.h"
#include "runtime/data/SocketConnection.h"

#include <QHash>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array kValueNames{u"site", u"EmployeeName", u"EmployeeCode", u"FinanceCenter", u"user",
    u"Phone_and_MoblePh", u"userType", u"BootSite", u"MainBill"};

constexpr QStringView kAllSiteTree = u"AllSiteTree";

QString Quoted(const QString& text)
{
    QString doubled = text;
    doubled.replace(u'\'', u"''"_s);
    return u'\'' + doubled + u'\'';
}

// The sites at and below a site. The case expression takes the start's own superior out of the walk.
QString SubtreeCondition(const QString& site)
{
    const QString name = Quoted(site);
    return u" start with SITE_NAME="_s + name + u" connect by prior SITE_NAME=(case SITE_NAME when "_s + name
        + u" then '' else SUPERIOR_SITE end)"_s;
}

QObject* FindByName(const TObjectList& list, QStringView name)
{
    const auto found = std::find_if(list.begin(), list.end(),
        [name](const QObject* item) { return name.compare(item->objectName(), Qt::CaseInsensitive) == 0; });
    return found == list.end() ? nullptr : *found;
}

} // namespace

std::vector<TPublishedQuery> PublishedQueries(const QString& site)
{
    const QString subtree = SubtreeCondition(site);
    return {
        {u"loginSite"_s,
            u"select /*+index(a,TAB_SITE_U)*/ a.* from tab_site a where a.SITE_NAME="_s + Quoted(site)},
        {u"AllSite"_s, u"select /*+index(a,TAB_SITE_P)*/ a.* from tab_site a order by a.SITE_CODE"_s},
        {u"loginSiteOwner"_s, u"select /*+index(a,TAB_SITE_I3)*/ a.* from tab_site a"_s + subtree},
        {u"loginSiteEmployeeOwner"_s,
            u"select /*+index(a,TAB_EMPLOYEE_I)*/ a.* from tab_employee a where a.OWNER_SITE="_s
                + Quoted(site) + u" order by a.EMPLOYEE_CODE"_s},
        {u"loginSiteEmployeeOwnerAll"_s,
            u"select /*+index(a,TAB_EMPLOYEE_I)*/ a.* from tab_employee a where a.OWNER_SITE in"
            u" (select /*+index(b,TAB_SITE_I3)*/ b.SITE_NAME from tab_site b"_s
                + subtree + u") order by a.EMPLOYEE_CODE"_s},
        {u"ownerCustomer"_s,
            u"select /*+index(a,TAB_CUSTOMER_I)*/ a.* from tab_customer a where a.CUSTOMER_OWNER_SITE="_s
                + Quoted(site) + u" order by a.CUSTOMER_CODE"_s},
        {u"Province_N"_s, u"select a.* from tab_province a order by a.PROVINCE_CODE"_s},
        {u"City_N"_s, u"select a.* from tab_city a order by a.CITY_CODE"_s},
        {u"County_N"_s, u"select a.*,a.CITY_NAME as CITY from tab_county a order by a.COUNTY_CODE"_s},
        {u"area"_s, u"select a.* from tab_area a order by a.AREA_CODE"_s},
    };
}

TPublishedValue::TPublishedValue(QObject* owner, const QString& name)
    : QObject(owner)
{
    setObjectName(name);
}

TPublishedData::TPublishedData()
    : owner_(std::make_unique<QObject>())
{
    for (const TPublishedQuery& query : PublishedQueries({}))
        dataSets_.push_back(new TClientDataSetEx(owner_.get(), query.name));
    for (const char16_t* name : kValueNames)
        values_.push_back(new TPublishedValue(owner_.get(), QString::fromUtf16(name)));
}

TPublishedData::~TPublishedData() = default;

void TPublishedData::Load(TSocketConnectionEx& connection)
{
    Clear();
    const wire::Identity identity = connection.Identity();
    SetValue(u"site", identity.site);
    SetValue(u"EmployeeName", identity.employeeName);
    SetValue(u"EmployeeCode", identity.employeeCode);
    SetValue(u"user", identity.account);
    SetValue(u"userType", identity.userType);
    SetValue(u"BootSite", company::kHeadquarters.toString());
    SetValue(u"MainBill", kMainBillRule.toString());
    SetValue(u"Phone_and_MoblePh", kPhoneRule.toString());

    for (const TPublishedQuery& query : PublishedQueries(identity.site)) {
        TClientDataSetEx& dataSet = DataSet(query.name);
        dataSet.SetRemoteServer(&connection);
        dataSet.SetCommandText(query.text);
        dataSet.Open();
    }
    // A site without a finance centre above it settles its own accounts.
    const TClientDataSetEx& own = DataSet(u"loginSite");
    const QString center = own.IsEmpty() ? QString() : own.FieldByName(u"SUPERIOR_FINANCE_CENTER").AsString();
    SetValue(u"FinanceCenter", center.isEmpty() ? identity.site : center);
    loaded_ = true;
}

void TPublishedData::Clear()
{
    loaded_ = false;
    treeBuilt_ = false;
    if (allSiteTree_)
        allSiteTree_->clear();
    for (QObject* dataSet : dataSets_)
        static_cast<TClientDataSetEx*>(dataSet)->Close();
    for (QObject* value : values_)
        static_cast<TPublishedValue*>(value)->text.clear();
}

void TPublishedData::PrepareTree(const QString& name)
{
    const TClientDataSetEx& sites = DataSet(u"AllSite");
    if (treeBuilt_ || name.compare(kAllSiteTree, Qt::CaseInsensitive) != 0 || !sites.Active())
        return;
    if (!allSiteTree_) {
        allSiteTree_ = std::make_unique<TTreeView>(nullptr, kAllSiteTree.toString());
        trees_.push_back(allSiteTree_.get());
    }
    const int nameField = sites.FieldIndex(u"SITE_NAME");
    const int superiorField = sites.FieldIndex(u"SUPERIOR_SITE");
    QHash<QString, QTreeWidgetItem*> items;
    for (int row = 0; row < sites.RecordCount(); ++row) {
        const QString site = sites.ViewText(row, nameField);
        items.insert(site, new QTreeWidgetItem(QStringList{site}));
    }
    // In the order of the site codes, below whichever superior is known; the rest stands at the top.
    for (int row = 0; row < sites.RecordCount(); ++row) {
        QTreeWidgetItem* item = items.value(sites.ViewText(row, nameField));
        QTreeWidgetItem* superior = items.value(sites.ViewText(row, superiorField));
        bool isLoop = false;
        for (QTreeWidgetItem* above = superior; above && !isLoop; above = above->parent())
            isLoop = above == item;
        if (superior && !isLoop)
            superior->addChild(item);
        else
            allSiteTree_->addTopLevelItem(item);
    }
    allSiteTree_->expandToDepth(0);
    treeBuilt_ = true;
}

TClientDataSetEx& TPublishedData::DataSet(QStringView name) const
{
    QObject* found = FindByName(dataSets_, name);
    if (!found)
        throw wire::Error(wire::ErrorKind::Usage, u"没有共享数据集"_s + name.toString());
    return *static_cast<TClientDataSetEx*>(found);
}

QString TPublishedData::Value(QStringView name) const
{
    const QObject* found = FindByName(values_, name);
    return found ? static_cast<const TPublishedValue*>(found)->text : QString();
}

void TPublishedData::SetValue(QStringView name, const QString& text)
{
    static_cast<TPublishedValue*>(FindByName(values_, name))->text = text;
}
