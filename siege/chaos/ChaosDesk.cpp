#include "siege/chaos/ChaosDesk.h"

#include "company/CancelReasons.h"
#include "company/Headquarters.h"
#include "company/OrderStatus.h"
#include "demo/Generator.h"
#include "orders/AcceptQuery.h"
#include "orders/PickupQuery.h"
#include "orders/waybill/WaybillChecks.h"

#include <QThread>

#include <algorithm>
#include <numeric>

using namespace Qt::Literals::StringLiterals;
using wire::ErrorKind;

namespace chaos {
namespace {

constexpr int kMostRows = 5; // of one save
constexpr int kPause = 200; // milliseconds at most, after an error
constexpr int kGiveUpOneIn = 20; // clerks who close the screen instead of saving again
constexpr qint64 kEndPatience = 60'000; // milliseconds for what is on its way when the work is over

// The server understood and refused; any other failure leaves open what became of the rows.
bool RefusesWhole(ErrorKind kind)
{
    return kind == ErrorKind::Data || kind == ErrorKind::Syntax || kind == ErrorKind::Policy;
}

} // namespace

// Writes down every sending of a save and every answer, beneath all that repeats and reconnects.
class ChaosDesk::Recorder final : public wire::Transport {
public:
    Recorder(std::unique_ptr<wire::Transport> way, LedgerWriter& ledger)
        : way_(std::move(way))
        , ledger_(ledger)
    {
    }

    void Connect() override { way_->Connect(); }
    int ServerCount() const noexcept override { return way_->ServerCount(); }
    void Disconnect() noexcept override { way_->Disconnect(); }
    bool IsConnected() const noexcept override { return way_->IsConnected(); }

    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind != wire::RequestKind::ApplyUpdates)
            return way_->Exchange(request, sink);
        ledger_.Sent(request);
        try {
            wire::Reply reply = way_->Exchange(request, sink);
            ledger_.Answered(request, reply.outcome);
            return reply;
        } catch (const wire::Error& error) {
            if (RefusesWhole(error.Kind()))
                ledger_.RefusedWhole(request, error.Message());
            throw;
        }
    }

private:
    std::unique_ptr<wire::Transport> way_;
    LedgerWriter& ledger_;
};

ChaosDesk::ChaosDesk(const Settings& settings)
    : settings_(settings)
    , ledger_(settings.ledgerPath, settings.account)
    , random_(settings.seed)
{
    connection_.SetTransport(std::make_unique<Recorder>(MakeTcpTransport(settings.way), ledger_));
    orders_.SetRemoteServer(&connection_);
    comm_.SetRemoteServer(&connection_);
}

void ChaosDesk::OfferToAll(int count, const QStringList& sites)
{
    LogIn();
    Open(orders_, AcceptQuery({clerk_.site, settings_.from, settings_.to, {}, {}, {}}));
    int left = count;
    for (orders_.First(); !orders_.Eof() && left > 0; orders_.Next(), --left) {
        orders_.Edit();
        SetStatus(company::kStatusWaiting);
        Set(u"PREPARE_SITE", u';' + sites.join(u';') + u';');
        Clear({u"DUTY_SITE", u"REC_SITE", u"REC_BILL_MAN", u"ACCEPT_DATE", u"REC_GOODS_MAN", u"MESSAGE"});
        Set(u"REMARK", u"%1-%2"_s.arg(settings_.number).arg(left));
        orders_.Post();
    }
    if (left > 0)
        throw wire::Error(ErrorKind::Usage, u"%1 orders too few in the database"_s.arg(left));
    orders_.ApplyUpdates(-1);
    ledger_.ToldOfSave(Told::Saved);
    ledger_.Ended(0);
}

void ChaosDesk::Work(const std::atomic<bool>& stop)
{
    stop_ = &stop;
    while (!stop) {
        Turn();
        QThread::msleep(unsigned(Below(settings_.longestThought + 1)));
    }
    ledger_.Ended(longestWait_);
}

void ChaosDesk::Turn()
{
    if (clerk_.account.isEmpty()) {
        Try(u"login"_s, [this] { LogIn(); });
        return;
    }
    const bool headquarters = clerk_.site == company::kHeadquarters;
    const bool open = Try(u"query"_s, [&] {
        if (headquarters)
            GiveBack();
        else if (Below(10) < 6)
            Accept();
        else
            PickUp();
    });
    if (open && orders_.ChangeCount() > 0)
        Save();
    orders_.Close();
}

void ChaosDesk::LogIn()
{
    connection_.Open(settings_.account, demo::DemoPassword());
    clerk_ = connection_.Identity();
}

// As 网点接单 does, refusals included.
void ChaosDesk::Accept()
{
    Open(orders_, FirstAcceptQuery({clerk_.site, settings_.from, settings_.to, {}, {}, {}}));
    EditSome(kMostRows, [this] {
        const bool refuses = Below(10) == 0;
        SetStatus(refuses ? company::kStatusRefused : company::kStatusAccepted);
        if (refuses) {
            Set(u"CANCEL_DESC", company::CancelReasons()[Below(int(company::CancelReasons().size()))]);
            orders_.FieldByName(u"BL_CANCEL").SetAsInteger(1);
            orders_.FieldByName(u"CANCEL_DATE").SetAsDateTime(connection_.ServerTime());
            Set(u"CANCEL_SITE", clerk_.site);
            Set(u"CANCEL_MAN", clerk_.employeeName);
        } else {
            Set(u"REC_GOODS_MAN", u"收件员%1"_s.arg(settings_.number));
            Set(u"MESSAGE", u"收件员%1,13800000000,0551-1"_s.arg(settings_.number));
        }
        Set(u"DUTY_SITE", clerk_.site);
        Set(u"REC_SITE", clerk_.site);
        Set(u"REC_BILL_MAN", clerk_.employeeName);
        orders_.FieldByName(u"ACCEPT_DATE").SetAsDateTime(connection_.ServerTime());
    });
}

// As 网点揽件 does, with its look-ups for each number.
void ChaosDesk::PickUp()
{
    Open(orders_, PickupQuery({clerk_.site, settings_.from, settings_.to, {}}));
    EditSome(kMostRows, [this] {
        const QString number = u"9%1%2"_s.arg(settings_.number, 3, 10, QChar(u'0'))
                                   .arg(saves_ * 10 + orders_.ChangeCount(), 8, 10, QChar(u'0'));
        Open(comm_, WaybillUsedQuery(number));
        Open(comm_, WaybillDisabledQuery(number));
        Set(u"BILL_CODE", number);
        SetStatus(company::kStatusPickedUp);
        Set(u"REC_MAN", clerk_.employeeName);
        orders_.FieldByName(u"REC_DATE").SetAsDateTime(connection_.ServerTime());
    });
}

// Headquarters has orders that were accepted, refused or picked up wait for a site again, so that the others
// do not run out of work.
void ChaosDesk::GiveBack()
{
    Open(orders_,
        u"select a.* from tab_zelmor_bill a where a.create_date between to_date('"_s + settings_.from
            + u"','yyyy-mm-dd hh24:mi:ss') and to_date('"_s + settings_.to
            + u"','yyyy-mm-dd hh24:mi:ss') and a.status in (1,2,3) order by a.CREATE_DATE desc"_s);
    EditSome(4 * kMostRows, [this] {
        SetStatus(company::kStatusWaiting);
        orders_.FieldByName(u"BL_CANCEL").SetAsInteger(0);
        Clear({u"DUTY_SITE", u"REC_SITE", u"REC_BILL_MAN", u"ACCEPT_DATE", u"REC_GOODS_MAN", u"MESSAGE",
            u"CANCEL_DESC", u"CANCEL_SITE", u"CANCEL_MAN", u"CANCEL_DATE", u"BILL_CODE", u"REC_MAN",
            u"REC_DATE"});
    });
}

// Until it is known what became of it, or the clerk has had enough.
void ChaosDesk::Save()
{
    QElapsedTimer sinceEnd;
    for (;;) {
        QString problem;
        const bool saved = Try(u"save"_s, [&] {
            try {
                orders_.ApplyUpdates(-1);
            } catch (const wire::Error& error) {
                if (error.Kind() != ErrorKind::Conflict && !RefusesWhole(error.Kind()))
                    throw;
                problem = error.Message();
            }
        });
        if (saved && problem.isEmpty()) {
            ledger_.ToldOfSave(Told::Saved);
            return;
        }
        if (saved) {
            TClientDataSetEx rejected;
            rejected.CopyDelta(orders_, true);
            for (; !rejected.Eof(); rejected.Next()) {
                const QString reason = rejected.FieldByName(u"ERROR_MESSAGE").AsString();
                ledger_.Shown(rejected.FieldByName(u"TX_LOGISTIC_ID").AsString(), reason);
            }
            ledger_.ToldOfSave(Told::Rejected);
            return;
        }
        ledger_.ToldOfSave(Told::Failed);
        if (*stop_ && !sinceEnd.isValid())
            sinceEnd.start();
        if (Below(kGiveUpOneIn) == 0 || (sinceEnd.isValid() && sinceEnd.elapsed() > kEndPatience))
            return;
    }
}

void ChaosDesk::Open(TClientDataSetEx& dataSet, const QString& sqlText)
{
    dataSet.Close();
    dataSet.SetCommandText(sqlText);
    dataSet.Open();
}

template <typename Edit> void ChaosDesk::EditSome(int most, Edit&& edit)
{
    // Among the first ones, where the others look as well.
    std::vector<int> rows(size_t(std::min(orders_.RecordCount(), 4 * most)));
    std::iota(rows.begin(), rows.end(), 1);
    std::shuffle(rows.begin(), rows.end(), random_);
    if (rows.empty())
        return;
    rows.resize(std::min(rows.size(), size_t(1 + Below(most))));
    ++saves_;
    for (const int row : rows) {
        orders_.SetRecNo(row);
        orders_.Edit();
        edit();
        StampModifier();
        // No two changes are ever the same.
        Set(u"REMARK", u"%1-%2-%3"_s.arg(settings_.number).arg(saves_).arg(row));
        orders_.Post();
    }
}

void ChaosDesk::StampModifier()
{
    Set(u"MODIFIER", clerk_.employeeName);
    Set(u"MODIFY_CODE", clerk_.employeeCode);
    Set(u"MODIFY_SITE", clerk_.site);
}

void ChaosDesk::Set(QStringView field, const QString& value)
{
    orders_.FieldByName(field).SetAsString(value);
}

void ChaosDesk::SetStatus(int status)
{
    orders_.FieldByName(u"STATUS").SetAsInteger(status);
}

void ChaosDesk::Clear(std::initializer_list<QStringView> fields)
{
    for (const QStringView field : fields)
        orders_.FieldByName(field).Clear();
}

// False after an error, which the clerk has seen.
template <typename Action> bool ChaosDesk::Try(const QString& what, Action&& action)
{
    Wanted();
    try {
        action();
        Served();
        return true;
    } catch (const wire::Error& error) {
        ledger_.Failed(what, error.Message());
    }
    QThread::msleep(unsigned(Below(kPause)));
    return false;
}

void ChaosDesk::Wanted()
{
    if (!wanted_.isValid())
        wanted_.start();
}

void ChaosDesk::Served()
{
    longestWait_ = std::max(longestWait_, wanted_.elapsed());
    wanted_.invalidate();
}

} // namespace chaos
