#include "server/provider/OrderRule.h"

#include "company/CandidateSites.h"
#include "company/OrderStatus.h"
#include "company/Tables.h"
#include "server/refusal/UserTexts.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {

using company::AnyCandidate;
using company::SoleCandidate;
using storage::Cell;
using storage::RowWrite;
using wire::ChangeKind;
using wire::Value;

namespace {

// What desks make of an order. The others are written by the delivery side and by the handhelds.
constexpr std::array kDeskStatuses{company::kStatusCancelled, company::kStatusWaiting,
    company::kStatusAccepted, company::kStatusRefused, company::kStatusPickedUp, company::kStatusPickupFailed,
    company::kStatusDispatched};

bool IsOnItsWay(qint64 status)
{
    return status == company::kStatusInTransit || status == company::kStatusDelivered
        || status == company::kStatusDeliveryFailed;
}

// As reasons name it.
QString CaptionOf(const Cell& cell)
{
    const company::Column* known = company::OrderTable().Find(cell.column->name);
    return known != nullptr && !known->caption.isEmpty() ? known->caption : cell.column->name;
}

} // namespace

// What a column means to the rule.
enum class OrderRule::Part : quint8 {
    Other,
    Fixed, // given when the order is made, or written by the delivery side
    Creater, // CREATER_SITE; the next two belong to it
    CreaterMan,
    CreaterCode,
    CreateDate,
    Status,
    Candidates,
    RecSite,
    DutySite,
    SendSite,
    BillMan, // who accepted, or the driver
    RecMan,
    Moment, // when the desk did something
    CancelSite,
    CancelMan,
    Modifier,
    ModifyCode,
    ModifySite,
};

struct OrderRule::Column {
    QStringView name = {};
    Part part = Part::Other;
    bool giving = false; // written when an order is given on to another site or a driver
    bool revoking = false; // written when a centre revokes an order
    bool handling = false; // empty in a new order
};

const OrderRule::Column* OrderRule::KnownColumn(QStringView name)
{
    static constexpr std::array kColumns{
        Column{u"TX_LOGISTIC_ID", Part::Fixed},
        Column{u"ORDERSOURCE", Part::Fixed},
        Column{u"CREATER_SITE", Part::Creater},
        Column{u"CREATER_MAN", Part::CreaterMan},
        Column{u"CREATER_CODE", Part::CreaterCode},
        Column{u"CREATE_DATE", Part::CreateDate},
        Column{u"STATUS", Part::Status, true, true},
        Column{u"PREPARE_SITE", Part::Candidates, true, false, true},
        Column{u"REC_SITE", Part::RecSite, true, false, true},
        Column{u"DUTY_SITE", Part::DutySite, false, false, true},
        Column{u"REC_BILL_MAN", Part::BillMan, true, false, true},
        Column{u"REC_BILL_CODE", Part::Other, true, false, true},
        Column{u"ACCEPT_DATE", Part::Moment, true, false, true},
        Column{u"BILL_CODE", Part::Other, false, false, true},
        Column{u"REC_MAN", Part::RecMan, false, false, true},
        Column{u"REC_DATE", Part::Moment, false, false, true},
        Column{u"SEND_SITE", Part::SendSite, false, false, true},
        Column{u"SEND_MAN", Part::Fixed, false, false, true},
        Column{u"SEND_DATE", Part::Fixed, false, false, true},
        Column{u"SIGN_STATUS", Part::Fixed, false, false, true},
        Column{u"BL_DISPART", Part::Other, true},
        Column{u"BL_DEPUTE", Part::Other, true},
        Column{u"BL_CANCEL", Part::Other, false, true},
        Column{u"CANCEL_DESC", Part::Other, true, true, true},
        Column{u"CANCEL_SITE", Part::CancelSite, false, true, true},
        Column{u"CANCEL_MAN", Part::CancelMan, false, true, true},
        Column{u"CANCEL_DATE", Part::Moment, false, true, true},
        Column{u"MODIFIER", Part::Modifier, true, true},
        Column{u"MODIFY_CODE", Part::ModifyCode, true, true},
        Column{u"MODIFY_SITE", Part::ModifySite, true, true},
    };
    static constexpr Column kOther;
    const auto found = std::ranges::find_if(kColumns,
        [name](const Column& column) { return column.name.compare(name, Qt::CaseInsensitive) == 0; });
    return found != kColumns.end() ? &*found : &kOther;
}

OrderRule::OrderRule(storage::OwnStatements& statements, const Permissions& permissions, const Caller& caller,
    const RowTarget& target)
    : statements_(statements)
    , permissions_(permissions)
    , caller_(caller)
    , target_(target)
    , sites_(permissions.Sites())
    , stamps_(caller, target)
    , everything_(permissions.TheRole() == Role::Headquarters)
{
    for (const company::Column& known : company::OrderTable().columns) {
        const TargetColumn* column = known.guarded ? target.Find(known.name) : nullptr;
        // The headquarters' queries may leave out what tells whose an order is.
        if (known.guarded && !everything_ && (column == nullptr || !column->guard))
            throw wire::Error(wire::ErrorKind::Policy, texts::GuardMissing(known.name));
    }
    for (const dialect::CatalogColumn& column : target.Table().columns)
        columns_.push_back(KnownColumn(column.name));
}

const OrderRule::Column& OrderRule::Of(const Cell& cell) const
{
    return *columns_[static_cast<size_t>(cell.column - target_.Table().columns.data())];
}

std::optional<QString> OrderRule::RefusalOf(const RowWrite& write, storage::RowWriter& stored) const
{
    if (write.kind == ChangeKind::Delete)
        return everything_ ? std::nullopt : std::optional(texts::NoDeleting());
    const OrderChange order = Read(write, stored);
    std::optional<QString> reason = RefusalOfValues(order);
    if (!reason)
        reason = write.kind == ChangeKind::Insert ? RefusalOfInsert(order) : RefusalOfUpdate(order);
    return reason;
}

OrderChange OrderRule::Read(const RowWrite& write, storage::RowWriter& stored) const
{
    static constexpr Value kNull;
    OrderChange order{target_, write, stored};
    if (write.kind == ChangeKind::Insert || everything_)
        order.statusWas = order.candidatesWere = order.recSiteWas = &kNull;
    for (const Cell& cell : write.checks) {
        const Part part = Of(cell).part;
        if (part == Part::Status)
            order.statusWas = &cell.value;
        else if (part == Part::Candidates)
            order.candidatesWere = &cell.value;
        else if (part == Part::RecSite)
            order.recSiteWas = &cell.value;
    }
    if (order.statusWas == nullptr || order.candidatesWere == nullptr || order.recSiteWas == nullptr)
        throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
    for (const Cell& cell : write.sets) {
        order.giving = order.giving && Of(cell).giving;
        order.revoking = order.revoking && Of(cell).revoking;
    }
    return order;
}

// Entered by hand at the account's own site, just now, and waiting.
std::optional<QString> OrderRule::RefusalOfInsert(const OrderChange& order) const
{
    if (NumberOf(order.StatusBecomes()) != company::kStatusWaiting)
        return texts::NewOrderHandled(company::OrderTable().Find(u"STATUS")->caption);
    if (everything_)
        return std::nullopt;
    for (const Cell& cell : order.write.sets) {
        if (Of(cell).handling && !wire::IsNull(cell.value))
            return texts::NewOrderHandled(CaptionOf(cell));
    }
    for (const QStringView name : {u"CREATER_SITE", u"CREATER_MAN", u"CREATER_CODE", u"CREATE_DATE"}) {
        if (target_.Table().Find(name) != nullptr && order.Set(name) == nullptr)
            return texts::StampMissing(company::OrderTable().Find(name)->caption);
    }
    return std::nullopt;
}

std::optional<QString> OrderRule::RefusalOfUpdate(const OrderChange& order) const
{
    if (everything_)
        return std::nullopt;
    const qint64 was = NumberOf(*order.statusWas);
    const qint64 becomes = NumberOf(order.StatusBecomes());
    const bool ours = !IsOnItsWay(was) && (IsOurs(order) || IsOursAsStored(order));
    if (!ours) {
        const bool revocation = permissions_.TheRole() == Role::Centre && order.revoking
            && becomes == company::kStatusPickupFailed;
        return revocation ? RefusalOfRevocation(order) : texts::ForeignOrder();
    }
    if (becomes != was && std::ranges::find(kDeskStatuses, becomes) == kDeskStatuses.end())
        return texts::StatusNotDesks(
            company::StatusName(static_cast<int>(becomes), company::StatusUse::Dispatch));
    return std::nullopt;
}

// Any order of the distributed, by a centre: as long as its pickup has not been reported, with the reason and
// all stamps.
std::optional<QString> OrderRule::RefusalOfRevocation(const OrderChange& order) const
{
    if (!order.IsThere() || NumberOf(order.Stored(u"BL_DISPART")) != 1)
        return texts::ForeignOrder();
    const wire::Identity& who = caller_.identity;
    const bool stamped = NumberOf(order.Becomes(u"BL_CANCEL")) == 1
        && TextOf(order.Becomes(u"CANCEL_SITE")) == who.site
        && TextOf(order.Becomes(u"CANCEL_MAN")) == who.employeeName
        && TextOf(order.Becomes(u"MODIFIER")) == who.employeeName
        && TextOf(order.Becomes(u"MODIFY_CODE")) == who.employeeCode
        && TextOf(order.Becomes(u"MODIFY_SITE")) == who.site
        && stamps_.IsRecent(order.Becomes(u"CANCEL_DATE"));
    if (!stamped)
        return texts::RevocationUnstamped();
    if (IsReported(order))
        return texts::RevocationTooLate();
    return std::nullopt;
}

std::optional<QString> OrderRule::RefusalOfValues(const OrderChange& order) const
{
    for (const Cell& cell : order.write.sets) {
        if (std::optional<QString> reason = RefusalOfCell(order, cell))
            return reason;
    }
    const Value* status = order.Set(u"STATUS");
    const qint64 becomes = status != nullptr ? NumberOf(*status) : 0;
    const bool needsReason = becomes == company::kStatusCancelled || becomes == company::kStatusPickupFailed
        || (becomes == company::kStatusRefused && !order.IsHandedBack());
    if (needsReason && TextOf(order.Becomes(u"CANCEL_DESC")).trimmed().isEmpty())
        return texts::ReasonMissing();
    return stamps_.RefusalOf(order);
}

std::optional<QString> OrderRule::RefusalOfCell(const OrderChange& order, const Cell& cell) const
{
    const bool insert = order.write.kind == ChangeKind::Insert;
    const QStringView text = TextOf(cell.value);
    const bool empty = wire::IsNull(cell.value);
    const auto unknownUnless = [&](bool known) {
        return known ? std::nullopt
                     : std::optional(texts::ValueUnknown(CaptionOf(cell), wire::ToText(cell.value)));
    };
    const auto refuseUnlessRecent = [&](bool recent) {
        return recent ? std::nullopt
                      : std::optional(texts::NotNow(CaptionOf(cell), wire::ToText(cell.value)));
    };
    switch (Of(cell).part) {
    case Part::Other:
        return unknownUnless(!IsBadFlag(cell));
    case Part::Fixed:
        return insert || everything_ ? std::nullopt : std::optional(texts::ColumnFixed(CaptionOf(cell)));
    case Part::Creater:
    case Part::CreaterMan:
    case Part::CreaterCode:
    case Part::CreateDate:
        if (!insert)
            return everything_ ? std::nullopt : std::optional(texts::ColumnFixed(CaptionOf(cell)));
        return Of(cell).part == Part::CreateDate ? refuseUnlessRecent(stamps_.IsRecent(cell.value))
                                                 : RefusalOfName(order, cell);
    case Part::Moment:
        return refuseUnlessRecent(empty || stamps_.IsRecent(cell.value));
    case Part::Status:
        return unknownUnless(empty || company::IsStatus(NumberOf(cell.value)));
    case Part::Candidates:
        return IsKnownList(text, TextOf(*order.candidatesWere))
            ? std::nullopt
            : std::optional(texts::NoSuchSite(CaptionOf(cell), text.toString()));
    case Part::RecSite:
    case Part::DutySite:
    case Part::SendSite:
        return empty ? std::nullopt : RefusalOfSite(order, cell);
    default:
        return RefusalOfName(order, cell);
    }
}

std::optional<QString> OrderRule::RefusalOfSite(const OrderChange& order, const Cell& cell) const
{
    const QStringView site = TextOf(cell.value);
    if (!permissions_.Exists(site.toString()))
        return texts::NoSuchSite(CaptionOf(cell), site.toString());
    const Part part = Of(cell).part;
    // A driver takes the order to the driver's own site.
    const bool drivers = part == Part::RecSite && order.GoesToDriver()
        && SoleCandidate(TextOf(order.CandidatesBecome())) == site;
    if (part == Part::SendSite || everything_ || sites_.Has(site) || drivers)
        return std::nullopt;
    return texts::ForeignSite(CaptionOf(cell), site.toString());
}

// Names and sites of who does it.
std::optional<QString> OrderRule::RefusalOfName(const OrderChange& order, const Cell& cell) const
{
    const wire::Identity& who = caller_.identity;
    const QStringView text = TextOf(cell.value);
    const bool empty = wire::IsNull(cell.value);
    const auto isAllowed = [&] {
        switch (Of(cell).part) {
        case Part::Creater:
        case Part::ModifySite:
            return text == who.site;
        case Part::CreaterMan:
        case Part::Modifier:
            return text == who.employeeName;
        case Part::CreaterCode:
        case Part::ModifyCode:
            return text == who.employeeCode;
        case Part::BillMan:
            return empty || text == who.employeeName || order.GoesToDriver();
        case Part::RecMan:
            return empty || text == who.employeeName;
        case Part::CancelSite:
            return empty || text == who.site;
        case Part::CancelMan: // dispatch stamps the account
            return empty || text == who.employeeName || text == who.account;
        default:
            return false;
        }
    };
    return isAllowed() ? std::nullopt : std::optional(texts::ForeignStamp(CaptionOf(cell), text.toString()));
}

bool OrderRule::IsOurs(const OrderChange& order) const
{
    const QStringView candidates = TextOf(*order.candidatesWere);
    const bool waiting = NumberOf(*order.statusWas) == company::kStatusWaiting;
    // Accepted here, or offered to one site: nobody else's any more.
    if (sites_.Has(TextOf(*order.recSiteWas)) || sites_.Dispatches(SoleCandidate(candidates)))
        return true;
    // Offered to several sites, which run for it.
    if (waiting && AnyCandidate(candidates, [this](QStringView site) { return sites_.Dispatches(site); }))
        return true;
    const bool undistributed = waiting && candidates.isEmpty();
    return permissions_.TheRole() == Role::Centre && undistributed;
}

// Made here; or nobody works on it yet, and it is given on to somebody.
bool OrderRule::IsOursAsStored(const OrderChange& order) const
{
    if (!order.IsThere())
        return false;
    if (sites_.Dispatches(TextOf(order.Stored(u"CREATER_SITE"))))
        return true;
    const auto isUnheld = [&](QStringView name) {
        return target_.Find(name) != nullptr && wire::IsNull(order.Stored(name));
    };
    if (!order.giving || !isUnheld(u"ORDERSOURCE") || !isUnheld(u"REC_BILL_MAN") || !isUnheld(u"BILL_CODE"))
        return false;
    if (SoleCandidate(TextOf(order.CandidatesBecome())).isEmpty())
        return false;
    const qint64 was = NumberOf(*order.statusWas);
    const bool inTime = order.GoesToDriver() ? was != company::kStatusCancelled
            && was != company::kStatusPickedUp && was != company::kStatusPickupFailed
                                             : was == company::kStatusWaiting
            || was == company::kStatusAccepted || was == company::kStatusDispatched;
    return inTime && NumberOf(order.Becomes(u"BL_DEPUTE")) == 1;
}

// Its pickup, to where the order came from.
bool OrderRule::IsReported(const OrderChange& order) const
{
    if (wire::IsNull(order.Stored(u"BILL_CODE")))
        return false;
    const storage::Row key{order.Stored(u"BILL_CODE"), order.Stored(u"TX_LOGISTIC_ID")};
    constexpr std::array types{wire::ColumnType::Text};
    return !statements_
                .Select("select INFO_CONTENT from tab_zelmor_instruction where INFO_CONTENT = 'GOT' and "
                        "BILL_CODE = ? and TX_LOGISTIC_ID = ?",
                    key, types)
                .empty();
}

// ";A;B;", of sites that there are; what stood in the list before may stay.
bool OrderRule::IsKnownList(QStringView list, QStringView before) const
{
    if (list.isEmpty())
        return true;
    if (list.front() != u';' || list.back() != u';')
        return false;
    return !AnyCandidate(list, [&](QStringView site) {
        const auto is = [site](QStringView other) { return site == other; };
        return !site.isEmpty() && !AnyCandidate(before, is) && !permissions_.Exists(site.toString());
    });
}

} // namespace server
