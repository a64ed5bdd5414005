#pragma once

#include "runtime/controls/DBControls.h"

#include <QHash>
#include <QString>

#include <span>

// Searching orders: a panel of criteria and the query made of them, both described by one table. The rows of
// the table stand in the order in which the query asks; each says which box it is, where it stands, and what
// condition its text becomes.

// What a search panel says: texts by the criterion's name. An empty text asks nothing.
struct TOrderCriteria {
    QString from{}; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to{};
    bool byPickupTime = false; // else by the time of the order
    QHash<QString, QString> texts{};

    QString Text(QStringView name) const { return texts.value(name.toString()); }
    void Set(QStringView name, const QString& text) { texts.insert(name.toString(), text); }
};

struct TCriterion;
using TCriterionCondition = QString (*)(const TCriterion& criterion, const TOrderCriteria& criteria);

enum class TCriterionBox {
    None, // asks again what another row's box says
    Site,
    Employee,
    PagedEmployee, // of any number of employees, from the server a page at a time
    Text,
    List,
    Province, // the provinces that orders come from
    Check,
};

struct TCriterion {
    QStringView column{}; // of the order, as the query spells it; names the criterion
    TCriterionCondition condition = nullptr; // none: the box filters nothing
    TCriterionBox box = TCriterionBox::None;
    QStringView control{}; // the box's name
    QStringView caption{};
    int panelColumn = 0; // check boxes stand under the date window instead
    int panelRow = 0;
    void (*offer)(TDBComboBoxEh& box) = nullptr; // fills a list
    bool visible = true;
};

// The conditions, each empty where its criterion asks nothing. Texts go in as they were typed: a quote in one
// breaks the statement, and the server says so.
QString EqualTo(const TCriterion& criterion, const TOrderCriteria& criteria);
QString EqualToUnlessBlank(const TCriterion& criterion, const TOrderCriteria& criteria);
QString Containing(const TCriterion& criterion, const TOrderCriteria& criteria);
QString OfferedToSite(const TCriterion& criterion, const TOrderCriteria& criteria);
QString WithCode(const TCriterion& criterion, const TOrderCriteria& criteria); // of a list with keys
QString WhenChecked(const TCriterion& criterion, const TOrderCriteria& criteria);
// The orders of one source, or for any other choice the orders of all others.
QString OfSourceOrOthers(const QString& source, const QString& chosen);

// The distributed orders of the window that meet the criteria, newest first. `columns` stands between the
// hint and "from".
QString OrderSearchQuery(std::span<const TCriterion> table, const TOrderCriteria& criteria,
    const QString& columns = QStringLiteral(" a.*"));
// The distributed orders of a ready-made list of quoted numbers, newest first by the date column; nothing
// else is asked of them.
QString OrdersByNumber(const QString& numberList, const QString& dateColumn);
QString OrdersByWaybill(const QString& numberList, const QString& dateColumn);
