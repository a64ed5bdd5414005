#include "server/provider/RowRule.h"

#include "server/refusal/UserTexts.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

using storage::Cell;
using storage::RowWrite;
using wire::ChangeKind;
using wire::Value;

QStringView TextOf(const Value& value)
{
    const auto* text = std::get_if<QString>(&value);
    return text != nullptr ? QStringView(*text) : QStringView();
}

// Null is 0, as the screens read it.
qint64 NumberOf(const Value& value)
{
    if (const auto* whole = std::get_if<qint64>(&value))
        return *whole;
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? static_cast<qint64>(*number) : 0;
}

// The only site of a list ";A;"; empty for none or several.
QStringView SoleSite(QStringView list)
{
    if (list.size() < 3 || list.front() != u';' || list.back() != u';')
        return {};
    const QStringView site = list.sliced(1, list.size() - 2);
    return site.contains(u';') ? QStringView() : site;
}

// Some site of a list ";A;B;" satisfies the predicate.
template <typename Predicate> bool AnySite(QStringView list, Predicate&& predicate)
{
    qsizetype begin = list.indexOf(u';') + 1;
    if (begin == 0)
        return false;
    for (qsizetype end = list.indexOf(u';', begin); end >= 0; end = list.indexOf(u';', begin)) {
        if (predicate(list.sliced(begin, end - begin)))
            return true;
        begin = end + 1;
    }
    return false;
}

namespace status {
constexpr qint64 kCancelled = -1;
constexpr qint64 kWaiting = 0;
constexpr qint64 kAccepted = 1;
constexpr qint64 kPickedUp = 3;
constexpr qint64 kPickupFailed = 4;
constexpr qint64 kDispatched = 10;
} // namespace status

// What a column of the order table means to the rule.
struct OrderColumn {
    enum class Part : quint8 {
        Other,
        Fixed, // given when the order is made, never changed
        Creater,
        Status,
        Candidates,
        RecSite,
        OwnSite, // names the site that acts
        Depute,
    };
    QStringView name = {};
    Part part = Part::Other;
    bool giving = false; // written when an order is given on to another site or a driver
    bool revoking = false; // written when a centre revokes an order
};
using Part = OrderColumn::Part;

constexpr std::array kOrderColumns{
    OrderColumn{u"TX_LOGISTIC_ID", Part::Fixed},
    OrderColumn{u"CREATER_SITE", Part::Creater},
    OrderColumn{u"STATUS", Part::Status, true, true},
    OrderColumn{u"PREPARE_SITE", Part::Candidates, true},
    OrderColumn{u"REC_SITE", Part::RecSite, true},
    OrderColumn{u"REC_BILL_MAN", Part::Other, true},
    OrderColumn{u"REC_BILL_CODE", Part::Other, true},
    OrderColumn{u"ACCEPT_DATE", Part::Other, true},
    OrderColumn{u"BL_DISPART", Part::Other, true},
    OrderColumn{u"BL_DEPUTE", Part::Depute, true},
    OrderColumn{u"DUTY_SITE", Part::OwnSite},
    OrderColumn{u"BL_CANCEL", Part::Other, false, true},
    OrderColumn{u"CANCEL_DESC", Part::Other, true, true},
    OrderColumn{u"CANCEL_SITE", Part::OwnSite, false, true},
    OrderColumn{u"CANCEL_MAN", Part::Other, false, true},
    OrderColumn{u"CANCEL_DATE", Part::Other, false, true},
    OrderColumn{u"MODIFIER", Part::Other, true, true},
    OrderColumn{u"MODIFY_CODE", Part::Other, true, true},
    OrderColumn{u"MODIFY_SITE", Part::OwnSite, true, true},
};

// Orders: those that stand with the account's sites.
class OrderRule final : public RowRule {
public:
    OrderRule(const Permissions& permissions, const RowTarget& target)
        : centre_(permissions.TheRole() == Role::Centre)
        , sites_(permissions.Sites())
        , target_(target)
        , createrSite_(Position(u"CREATER_SITE"))
        , unheld_{Position(u"ORDERSOURCE"), Position(u"REC_BILL_MAN"), Position(u"BILL_CODE")}
        , depute_(Position(u"BL_DEPUTE"))
    {
        for (const QStringView name : {u"STATUS", u"REC_SITE", u"PREPARE_SITE"}) {
            const TargetColumn* column = target.Find(name);
            if (column == nullptr || !column->guard)
                throw wire::Error(wire::ErrorKind::Policy, texts::GuardMissing(name.toString()));
        }
        const auto& columns = target.Table().columns;
        columns_.resize(columns.size());
        for (size_t i = 0; i < columns.size(); ++i) {
            const auto found = std::ranges::find_if(kOrderColumns, [&](const OrderColumn& column) {
                return column.name.compare(columns[i].name, Qt::CaseInsensitive) == 0;
            });
            if (found != kOrderColumns.end())
                columns_[i] = *found;
        }
    }

    std::optional<QString> RefusalOf(const RowWrite& write, storage::RowWriter& stored) const override
    {
        if (write.kind == ChangeKind::Delete)
            return texts::NoDeleting();
        const Order order = Read(write);
        const bool open = write.kind == ChangeKind::Insert
            ? order.creater != nullptr && sites_.Dispatches(TextOf(*order.creater))
            : IsOpen(order) || IsOpenAsStored(order, stored.Present(write.keys));
        return open ? RefusalOfValues(write, order) : texts::ForeignOrder();
    }

private:
    // An order as it was read and as it becomes.
    struct Order {
        const Value* statusWas = nullptr;
        const Value* candidatesWere = nullptr;
        const Value* recSiteWas = nullptr;
        const Value* status = nullptr;
        const Value* candidates = nullptr;
        const Value* creater = nullptr;
        const Value* depute = nullptr;
        bool giving = true; // nothing changes but what giving on changes
        bool revoking = true;
    };

    const OrderColumn& Of(const Cell& cell) const
    {
        return columns_[static_cast<size_t>(cell.column - target_.Table().columns.data())];
    }

    int Position(QStringView name) const
    {
        const TargetColumn* column = target_.Find(name);
        return column != nullptr ? static_cast<int>(column->position) : -1;
    }

    Order Read(const RowWrite& write) const
    {
        static constexpr Value kNull;
        Order order;
        if (write.kind == ChangeKind::Insert)
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
        order.status = order.statusWas;
        order.candidates = order.candidatesWere;
        for (const Cell& cell : write.sets) {
            const OrderColumn& column = Of(cell);
            if (column.part == Part::Status)
                order.status = &cell.value;
            else if (column.part == Part::Candidates)
                order.candidates = &cell.value;
            else if (column.part == Part::Creater)
                order.creater = &cell.value;
            else if (column.part == Part::Depute)
                order.depute = &cell.value;
            order.giving = order.giving && column.giving;
            order.revoking = order.revoking && column.revoking;
        }
        return order;
    }

    bool IsOpen(const Order& order) const
    {
        const QStringView candidates = TextOf(*order.candidatesWere);
        const bool waiting = NumberOf(*order.statusWas) == status::kWaiting;
        // Accepted here, or offered to one site: nobody else's any more.
        if (sites_.Has(TextOf(*order.recSiteWas)) || sites_.Dispatches(SoleSite(candidates)))
            return true;
        // Offered to several sites, which run for it.
        if (waiting && AnySite(candidates, [this](QStringView site) { return sites_.Dispatches(site); }))
            return true;
        const bool undistributed = waiting && candidates.isEmpty();
        const bool revoked = order.revoking && NumberOf(*order.status) == status::kPickupFailed;
        return centre_ && (undistributed || revoked);
    }

    // Made here; or nobody works on it yet, and it is given on to somebody.
    bool IsOpenAsStored(const Order& order, const storage::Row& row) const
    {
        if (row.empty())
            return false;
        const auto at = [&row](int position) -> const Value& { return row[static_cast<size_t>(position)]; };
        if (createrSite_ >= 0 && sites_.Dispatches(TextOf(at(createrSite_))))
            return true;
        const bool unheld = std::ranges::all_of(
            unheld_, [&](int position) { return position >= 0 && wire::IsNull(at(position)); });
        if (!order.giving || !unheld || depute_ < 0 || SoleSite(TextOf(*order.candidates)).isEmpty())
            return false;
        const qint64 was = NumberOf(*order.statusWas);
        const bool inTime = NumberOf(*order.status) == status::kDispatched
            ? was != status::kCancelled && was != status::kPickedUp && was != status::kPickupFailed
            : was == status::kWaiting || was == status::kAccepted || was == status::kDispatched;
        return inTime && NumberOf(order.depute != nullptr ? *order.depute : at(depute_)) == 1;
    }

    std::optional<QString> RefusalOfValues(const RowWrite& write, const Order& order) const
    {
        for (const Cell& cell : write.sets) {
            const QStringView text = TextOf(cell.value);
            switch (Of(cell).part) {
            case Part::Fixed:
            case Part::Creater:
                if (write.kind == ChangeKind::Update)
                    return texts::ColumnFixed(cell.column->name);
                break;
            case Part::RecSite:
                // A driver takes the order to the driver's own site.
                if (NumberOf(*order.status) == status::kDispatched
                    && SoleSite(TextOf(*order.candidates)) == text)
                    break;
                [[fallthrough]];
            case Part::OwnSite:
                if (!text.isEmpty() && !sites_.Has(text))
                    return texts::ForeignSite(cell.column->name, text.toString());
                break;
            case Part::Other:
            case Part::Status:
            case Part::Candidates:
            case Part::Depute:
                break;
            }
        }
        return std::nullopt;
    }

    const bool centre_;
    const SiteScope& sites_;
    const RowTarget& target_;
    std::vector<OrderColumn> columns_; // parallel to the table's
    const int createrSite_; // where in the log's columns; -1: not among them
    const std::array<int, 3> unheld_; // empty while nobody works on the order
    const int depute_;
};

// The services of sites: those of the account's own sites, or of all; only some accounts open sites for
// marketplace orders.
class ServiceRule final : public RowRule {
public:
    ServiceRule(const Permissions& permissions, const RowTarget& target)
        : allSites_(permissions.TheRole() == Role::Headquarters || permissions.OpensSites())
        , opensSites_(permissions.OpensSites())
        , sites_(permissions.Sites())
        , site_(target.Table().Find(u"SITE_NAME"))
        , open_(target.Table().Find(u"BL_OPEN"))
        , key_(static_cast<size_t>(
              std::ranges::find(target.Keys(), site_, &TargetColumn::stored) - target.Keys().begin()))
    {
    }

    std::optional<QString> RefusalOf(const RowWrite& write, storage::RowWriter&) const override
    {
        const bool insert = write.kind == ChangeKind::Insert;
        bool own = allSites_ || insert || (key_ < write.keys.size() && sites_.Has(TextOf(write.keys[key_])));
        bool named = allSites_ || !insert;
        for (const Cell& cell : write.sets) {
            if (cell.column == site_) {
                named = allSites_ || sites_.Has(TextOf(cell.value));
                own = own && named;
            }
            // A new row is open unless somebody closes it.
            if (cell.column == open_ && !opensSites_ && !(insert && NumberOf(cell.value) == 1))
                return texts::OpeningClosed();
        }
        return own && named ? std::nullopt : std::optional(texts::ForeignService());
    }

private:
    const bool allSites_;
    const bool opensSites_;
    const SiteScope& sites_;
    const dialect::CatalogColumn* site_;
    const dialect::CatalogColumn* open_;
    const size_t key_; // of the site's name in the primary key
};

} // namespace

RowRule::~RowRule() = default;

std::unique_ptr<RowRule> RuleFor(const Permissions& permissions, const RowTarget& target)
{
    const QString& table = target.Table().name;
    const auto is = [&table](QStringView name) { return name.compare(table, Qt::CaseInsensitive) == 0; };
    const bool everything = permissions.TheRole() == Role::Headquarters;
    if (is(u"tab_zelmor_site"))
        return everything && permissions.OpensSites() ? nullptr
                                                      : std::make_unique<ServiceRule>(permissions, target);
    if (everything)
        return nullptr;
    if (is(u"tab_zelmor_bill"))
        return std::make_unique<OrderRule>(permissions, target);
    throw wire::Error(wire::ErrorKind::Policy, texts::TableReadOnly(table));
}

} // namespace server
