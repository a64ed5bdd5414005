#pragma once

#include <QString>
#include <QStringList>

// What the order query's criteria panel says. Every text is as shown; an empty one asks nothing.
struct TBillCriteria {
    QString from{}; // "yyyy-mm-dd hh:mm:ss"
    QString to{};
    bool byPickupTime = false; // else by the time of the order

    QString receivingSite{}; // 接单/揽件网点
    QString candidateSite{}; // 可接单网点
    bool withSubtree = false; // the candidate's whole subtree, and the orders of the login site's area
    QString subtree{}; // SubtreeLikeList of the sites found; empty: none found
    QString areaName{}; // of the login site
    QString deliverySite{}; // 派件网点
    QString warehouse{}; // 仓库编号; blanks alone ask nothing
    QString dutySite{}; // 责任网点

    QString acceptedBy{}; // 接单员工
    QString pickedUpBy{}; // 揽件员工
    QString deliveredBy{}; // 派件员工
    QString cancelledBy{}; // 撤单员工
    bool cancelled = false; // 已做撤单处理

    QString province{};
    QString cancelReason{};
    QString status{}; // the code
    QString sender{};
    QString senderAddress{}; // part of it
    QString receiver{};
    QString receiverAddress{}; // part of it
    QString source{}; // 项目: the first source alone, or everything but that one
};

// The orders that meet the criteria, newest first.
QString BillQuery(const TBillCriteria& criteria);

// The orders of a ready-made list of quoted numbers, newest first; nothing else is asked of them.
QString BillsByOrderNumber(const QString& numberList);
QString BillsByWaybill(const QString& numberList);

// The site and those below it, the site first.
QString SubtreeQuery(const QString& site);
// The patterns, joined by "or", that stand behind "a.PREPARE_SITE like"; empty without sites. The last
// pattern swallows the words of its neighbour and matches nothing; the query that holds it is valid.
QString SubtreeLikeList(const QStringList& sites);
