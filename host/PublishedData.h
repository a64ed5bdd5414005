#pragma once

#include "runtime/controls/TreeView.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Forms.h"

#include <memory>

// A value that the host publishes: known by its object name, carried as its text.
class TPublishedValue : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString text MEMBER text)
public:
    TPublishedValue(QObject* owner, const QString& name);
    QString text;
};

// What every screen of the module may read of the host: the login user's identity and settings, the shared
// datasets, and the trees. The lists and their items stay the same for the whole run; only their contents
// change with the user.
class TPublishedData {
public:
    TPublishedData();
    ~TPublishedData();

    TObjectList& DataSets() noexcept { return dataSets_; }
    TObjectList& Values() noexcept { return values_; }
    TObjectList& Trees() noexcept { return trees_; }

    // Reads everything anew for who is logged in. Raises wire::Error; what was read before the failure stays.
    void Load(TSocketConnectionEx& connection);
    bool IsLoaded() const noexcept { return loaded_; }
    // Empties everything, so that nothing of one user is left to the next.
    void Clear();
    // Has the tree ready; an unknown name is left to the module's own look-up to report.
    void PrepareTree(const QString& name);

    TClientDataSetEx& DataSet(QStringView name) const;
    QString Value(QStringView name) const;

private:
    void SetValue(QStringView name, const QString& text);

    std::unique_ptr<QObject> owner_;
    std::unique_ptr<TTreeView> allSiteTree_;
    TObjectList dataSets_;
    TObjectList values_;
    TObjectList trees_;
    bool loaded_ = false;
    bool treeBuilt_ = false;
};

// The SQL texts behind the shared datasets, in the order of the published list.
struct TPublishedQuery {
    QString name;
    QString text;
};
std::vector<TPublishedQuery> PublishedQueries(const QString& site);

// Regular expressions that the host publishes.
// Waybill numbers: 8 or 12 digits; 14 where the number begins with one of the prefixes of counted labels.
inline constexpr QStringView kMainBillRule = u"^([0-9]{8}|[0-9]{12}|(168|169|268|368)[0-9]{11})$";
// Mobile numbers, fixed lines with area code and extension, and service numbers.
inline constexpr QStringView kPhoneRule =
    u"^((\\+?86-?)?1[3-9][0-9]{9}|(0[0-9]{2,3}-?)?[2-9][0-9]{6,7}(-[0-9]{1,6})?|[48]00-?[0-9]{3}-?[0-9]{4})$";
