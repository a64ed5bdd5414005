// Attacks that make the server slow, large or dead.

#include "siege/attack/Attacks.h"

#include <QElapsedTimer>

#include <mutex>

using namespace Qt::Literals::StringLiterals;
using wire::Error;

namespace attack {
namespace {

// With everything that checks the program built in, it is that much slower and larger.
#if defined(__SANITIZE_ADDRESS__)
constexpr int kBurden = 4;
#else
constexpr int kBurden = 1;
#endif
constexpr double kAnswered =
    8 * kBurden; // seconds: a translation's, a time-out's, and some for a busy machine
constexpr double kWaited = 8 * kBurden; // seconds of the honest desk
const QString kBranch = u"hefei1"_s;
const QString kOther = u"hefei2"_s;

wire::Request ChangesOf(const QString& commandText)
{
    wire::Request request;
    request.kind = wire::RequestKind::ApplyUpdates;
    request.name.number = 1;
    request.changes.commandText = commandText;
    request.changes.columns = {{u"TX_LOGISTIC_ID"_s, wire::ColumnType::Text, 32, true, false, true}};
    request.changes.rows = {{wire::ChangeKind::Delete, 1, {{0, u"x"_s, u"x"_s}}}};
    return request;
}

// Each text as a query, a statement and a change log's (brief: as one of them); the longest answer.
Result PlayTexts(Target& target, const QStringList& texts, bool brief)
{
    double longest = 0;
    int sent = 0;
    int turn = 0;
    for (const QString& text : texts) {
        ++turn; // another one for each text
        for (const wire::Request& request : {Query(text), Execute(text), ChangesOf(text)}) {
            if (brief && ++turn % 3 != 0)
                continue;
            Attacker attacker(target.Port());
            attacker.LogIn(kBranch);
            const Answer answer = attacker.Ask(request, true);
            longest = std::max(longest, answer.seconds);
            ++sent;
            if (!target.IsAlive())
                return {false, u"the server died of “%1…”"_s.arg(text.first(60))};
            if (answer.kind == wire::ErrorKind::Cancelled)
                return {false, u"no answer to “%1…”"_s.arg(text.first(60))};
        }
    }
    return {longest < kAnswered, u"%1 texts, the longest took %2 s"_s.arg(sent).arg(longest, 0, 'f', 2)};
}

// Clients that ask at the same time, each on a thread of its own.
class Crowd {
public:
    void Add(Target& target, const QString& account, const QString& text)
    {
        threads_.emplace_back([this, port = target.Port(), account, text] {
            try {
                Attacker attacker(port);
                attacker.LogIn(account);
                const Answer answer = attacker.Ask(Query(text));
                const std::lock_guard lock(mutex_);
                answered_ += answer.kind != wire::ErrorKind::Cancelled ? 1 : 0;
                longest_ = std::max(longest_, answer.seconds);
            } catch (const Error&) {
                // Not even let in.
            }
        });
    }
    int Answered()
    {
        threads_.clear();
        return answered_;
    }
    double Longest() const { return longest_; } // seconds of an answer

private:
    std::mutex mutex_;
    int answered_ = 0;
    double longest_ = 0;
    std::vector<std::jthread> threads_;
};

Result Judge(const HonestDesk::Wait& wait, const QString& what, bool more = true)
{
    return {more && wait.refused.isEmpty() && wait.longest < kWaited,
        u"%1; the honest desk was served %2 times and waited %3 s at most%4"_s.arg(what)
            .arg(wait.served)
            .arg(wait.longest, 0, 'f', 2)
            .arg(wait.refused.isEmpty() ? QString() : u", and was refused: "_s + wait.refused)};
}

// The change of the log's row, and as many more of it.
wire::Request OverAndOver(wire::Request log, int changes)
{
    log.changes.rows.resize(size_t(changes), log.changes.rows.front());
    for (int n = 1; n < changes; ++n) {
        wire::CellChange& remark = log.changes.rows[size_t(n)].cells.back();
        remark = {remark.column, QString::number(n - 1), QString::number(n)};
    }
    return log;
}

const QString kEndless =
    u"select count(*) from tab_zelmor_bill a, tab_zelmor_bill b, tab_zelmor_bill c where a.name||b.name||c.name='x'"_s;

} // namespace

Result Crash(Target& target, bool brief)
{
    const int terms = brief ? 40'000 : 200'000;
    QStringList texts;
    for (const char* chain : {"1+", "1-", "1*", "1/", "'a'||", "- ", "not 1=1 or not "})
        texts += u"select "_s + QString::fromLatin1(chain).repeated(terms) + u"1 from dual"_s;
    for (const auto& [open, close] : {std::pair("(", ")"), std::pair("nvl(1,", ")"),
             std::pair("case when 1=1 then ", " end"), std::pair("(select ", " from dual)")})
        texts += u"select "_s + QString::fromLatin1(open).repeated(terms / 4) + u'1'
            + QString::fromLatin1(close).repeated(terms / 4) + u" from dual"_s;
    texts += u"select 1 from dual"_s + u" union select 1 from dual"_s.repeated(terms / 10);
    texts += u"select 1 from "_s + u"(select * from "_s.repeated(terms / 10) + u"dual"_s;
    return PlayTexts(target, texts, brief);
}

Result Freeze(Target& target, bool brief)
{
    const QString text = u"select count(*) from tab_zelmor_bill a, tab_zelmor_bill b where "
                         "replace(lpad(a.tx_logistic_id,4000,'a'),'a','aaaaaaaaaaaaaaa') like "
                         "'%'||rpad('a',3900,'a_')||'b%'"_s;
    HonestDesk desk(target);
    Crowd crowd;
    for (int i = 0; i < (brief ? 4 : 16); ++i)
        crowd.Add(target, i % 2 == 0 ? kBranch : kOther, text);
    for (int i = 0; i < 4; ++i) { // these leave in the middle
        Attacker attacker(target.Port());
        attacker.LogIn(kBranch);
        attacker.Send(wire::EncodeRequest(Query(text), 2));
    }
    QElapsedTimer time;
    time.start();
    const int answered = crowd.Answered();
    const auto wait = desk.Finish();
    while (target.Figure("zelmor_database_connections_in_use") > 0 && time.elapsed() < 60'000)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const int left = target.Figure("zelmor_database_connections_in_use");
    return Judge(wait,
        u"%1 answered within %2 s, %3 connections in use after %4 s"_s.arg(answered)
            .arg(crowd.Longest(), 0, 'f', 1)
            .arg(left)
            .arg(double(time.elapsed()) / 1000, 0, 'f', 1),
        left == 0 && crowd.Longest() < (brief ? 1 : 2) * kAnswered);
}

Result TranslateWithoutEnd(Target& target, bool brief)
{
    QStringList columns;
    for (int i = 0; i < 60'000; ++i)
        columns += u"c%1"_s.arg(i);
    QStringList named; // a reply's columns, not its rows, would be large
    for (int i = 0; i < 900; ++i)
        named += u"1 \"%1%2\""_s.arg(i).arg(QString(1'100, u'名'));
    return PlayTexts(target,
        {u"select "_s + u"b.*,"_s.repeated(400) + u"b.* from tab_zelmor_bill b"_s,
            u"select "_s + u"b.*,"_s.repeated(20'000) + u"b.* from tab_zelmor_bill b"_s,
            u"select b.* from tab_zelmor_bill b where 1=0"_s + u" or b.name='x'"_s.repeated(14'000),
            u"select "_s + columns.join(u',') + u" from tab_zelmor_bill"_s,
            u"select * from "_s + u"tab_zelmor_bill,"_s.repeated(20'000) + u"dual"_s,
            u"select 1 from dual where 1 in ("_s + u"1,"_s.repeated(100'000) + u"1)"_s,
            u"select 1 \"%1\" from dual"_s.arg(QString(900'000, u'x')),
            u"select %1 from dual"_s.arg(named.join(u','))},
        brief);
}

Result FillTheMemory(Target& target, bool brief)
{
    constexpr int kMost = 600 * kBurden; // megabytes above what it had
    constexpr int kMostKept = 150 * kBurden;
    const int before = target.Resident();
    target.ForgetPeak();
    {
        // Before the login.
        std::vector<std::unique_ptr<Attacker>> strangers;
        const wire::Packet login = wire::EncodeRequest(Login(QString(30 << 20, u'x'), {}), 1);
        for (int i = 0; i < (brief ? 4 : 40); ++i) {
            strangers.push_back(std::make_unique<Attacker>(target.Port()));
            try {
                strangers.back()->Send(login);
            } catch (const Error&) {
                // It did not wait for the end of it.
            }
        }
        Crowd crowd;
        QStringList long60;
        for (int i = 0; i < 60; ++i)
            long60 += u"replace(replace(lpad('x',4000,'x'),'x',lpad('y',4000,'y')),'y','%1z') t%1"_s.arg(i);
        const QString orders = u"tab_zelmor_bill a, tab_zelmor_bill b"_s;
        for (const QString& account : {kBranch, kOther}) {
            crowd.Add(target, account, u"select a.*, b.* from %1 order by a.NAME, b.NAME"_s.arg(orders));
            crowd.Add(target, account, u"select %1 from %2"_s.arg(long60.join(u','), orders));
            crowd.Add(target, account, u"select '%1' from dual"_s.arg(QString(8 << 20, u'x')));
            crowd.Add(target, account, u"select a.ADDRESS from "_s + orders);
            crowd.Add(
                target, account, u"select distinct a.ADDRESS||b.ADDRESS||b.NAME x from %1"_s.arg(orders));
        }
        // Two hundred kilobytes that come back as gigabytes.
        Attacker reader(target.Port());
        reader.LogIn(kBranch);
        const Answer order =
            reader.Ask(Query(u"select a.TX_LOGISTIC_ID, a.STATUS, a.REC_SITE, a.PREPARE_SITE, a.REMARK from "
                             "tab_zelmor_bill a"_s));
        wire::Request log;
        log.kind = wire::RequestKind::ApplyUpdates;
        log.name.number = 77;
        log.changes.commandText =
            u"select a.TX_LOGISTIC_ID, a.STATUS, a.REC_SITE, a.PREPARE_SITE, a.REMARK from tab_zelmor_bill a"_s;
        log.changes.columns = order.rows.infos;
        log.changes.columns.resize(1'900, {u"Z"_s, wire::ColumnType::Text});
        const wire::Value key = order.rows.columns.front().ValueAt(0);
        log.changes.rows.resize(100'000,
            {wire::ChangeKind::Update, 1,
                {{0, key, key}, {1, qint64(0), qint64(0)}, {2, u"x"_s, u"x"_s}, {3, u"x"_s, u"x"_s},
                    {4, {}, u"x"_s}}});
        const Answer verdict = reader.Ask(log, true);
        if (verdict.accepted || verdict.kind != wire::ErrorKind::Limit)
            return {false, u"100,000 verdicts of 1,900 values: "_s + verdict.reason};
        crowd.Answered();
    }
    const int peak = target.Peak() - before;
    if (!brief)
        std::this_thread::sleep_for(std::chrono::seconds(7)); // memory is given back when all is quiet
    const int kept = target.Resident() - before;
    return {target.IsAlive() && peak < kMost && kept < kMostKept,
        u"%1 MB before, %2 MB more at most, %3 MB more afterwards"_s.arg(before).arg(peak).arg(kept)};
}

// Texts that differ in more than their literals: each has a translation and a statement of its own.
Result PrepareWithoutEnd(Target& target, bool brief)
{
    constexpr int kMostKept = 150 * kBurden; // megabytes
    const int before = target.Resident();
    HonestDesk desk(target);
    std::atomic<int> answered{0};
    {
        std::vector<std::jthread> crowd;
        crowd.reserve(4);
        for (int i = 0; i < 4; ++i)
            crowd.emplace_back([&, i] {
                try {
                    Attacker attacker(target.Port());
                    attacker.LogIn(i % 2 == 0 ? kBranch : kOther);
                    for (int n = 0; n < (brief ? 300 : 5'000); ++n)
                        answered += attacker
                                        .Ask(Query(u"select a%1.* from tab_zelmor_bill a%1 where "
                                                   "a%1.TX_LOGISTIC_ID = 'x'"_s.arg(i * 10'000 + n)))
                                        .accepted
                            ? 1
                            : 0;
                } catch (const Error&) {
                    // Fewer answers.
                }
            });
    }
    const int kept = target.Resident() - before;
    return Judge(desk.Finish(), u"%1 texts of one run each left %2 MB"_s.arg(answered.load()).arg(kept),
        kept < kMostKept && answered > 0);
}

Result StarveByStatements(Target& target, bool /*brief*/)
{
    HonestDesk desk(target);
    Crowd crowd;
    for (int i = 0; i < 16; ++i)
        crowd.Add(target, kBranch, kEndless);
    const int answered = crowd.Answered();
    return Judge(desk.Finish(), u"16 endless statements of one account, %1 answered"_s.arg(answered));
}

// SQLite takes one writer at a time.
Result StarveBySaving(Target& target, bool brief)
{
    const QString query =
        u"select TX_LOGISTIC_ID, STATUS, REC_SITE, PREPARE_SITE, REMARK from tab_zelmor_bill"_s;
    const auto ordersOf = [&](Attacker& desk, const QString& site) {
        return desk.Ask(Query(query + u" where STATUS = 0 and PREPARE_SITE = ';%1;'"_s.arg(site))).rows;
    };
    // As many as fit into a request.
    const int changes = brief ? 10'000 : 100'000;
    std::vector<std::jthread> crowd;
    std::mutex mutex;
    int accepted = 0;
    QString refusal;
    double longest = 0;
    std::atomic<int> left = 6;
    crowd.reserve(6);
    for (int i = 0; i < 6; ++i) {
        crowd.emplace_back([&, i] {
            try {
                Attacker attacker(target.Port());
                attacker.LogIn(kBranch);
                const wire::RowSet rows = ordersOf(attacker, u"安徽合肥一部"_s);
                if (rows.RowCount() <= i)
                    throw Error(wire::ErrorKind::Data, u"too few orders"_s);
                const Answer answer = attacker.Ask(
                    OverAndOver(Save(query, rows, i, {{u"REMARK"_s, u"0"_s}}, quint64(1'000 + i)), changes),
                    true);
                const std::lock_guard lock(mutex);
                accepted += answer.accepted && answer.reply.outcome.Rejected() == 0 ? 1 : 0;
                longest = std::max(longest, answer.seconds);
                if (!answer.accepted)
                    refusal = answer.reason;
            } catch (const Error& error) {
                const std::lock_guard lock(mutex);
                refusal = error.Message();
            }
            --left;
        });
    }
    HonestDesk::Wait wait;
    Attacker desk(target.Port(), u"127.0.0.1"_s);
    desk.LogIn(u"xuancheng"_s);
    for (quint64 number = 2'000; left > 0 || wait.served == 0; ++number) {
        const wire::RowSet row = ordersOf(desk, u"安徽宣城同行"_s);
        if (row.RowCount() == 0)
            return {false, u"no order to save"_s};
        const Answer answer = desk.Ask(Save(query, row, 0, {{u"REMARK"_s, QString::number(number)}}, number));
        wait.longest = std::max(wait.longest, answer.seconds);
        ++wait.served;
        if (!answer.accepted)
            wait.refused = answer.reason;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    crowd.clear();
    return Judge(wait,
        u"6 saves of %1 changes by one account, %2 stored within %3 s, the others: “%4”"_s.arg(changes)
            .arg(accepted)
            .arg(longest, 0, 'f', 1)
            .arg(refusal));
}

Result StarveByNotReading(Target& target, bool brief)
{
    HonestDesk desk(target);
    std::vector<std::unique_ptr<Attacker>> readers;
    QStringList twelve; // orders; with all others 60,000 rows
    for (int i = 0; i < 16; ++i) {
        readers.push_back(std::make_unique<Attacker>(target.Port()));
        readers.back()->LogIn(i % 2 == 0 ? kBranch : kOther);
        if (twelve.isEmpty()) {
            const wire::RowSet orders =
                readers.back()->Ask(Query(u"select TX_LOGISTIC_ID from tab_zelmor_bill"_s)).rows;
            for (int row = 0; row < 12; ++row)
                twelve += wire::ToText(orders.columns.at(0).ValueAt(row));
        }
        readers.back()->Send(wire::EncodeRequest(
            Query(u"select a.* from tab_zelmor_bill a, tab_zelmor_bill b where b.TX_LOGISTIC_ID in ('%1')"_s
                      .arg(twelve.join(u"','"_s))),
            2));
    }
    QElapsedTimer time;
    time.start();
    std::this_thread::sleep_for(std::chrono::seconds(brief ? 2 : 10));
    while (target.Figure("zelmor_database_connections_in_use") > 1 && time.elapsed() < 25'000)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const int inUse = target.Figure("zelmor_database_connections_in_use");
    const double free = double(time.elapsed()) / 1000;
    const Answer last = readers.back()->Receive();
    return Judge(desk.Finish(),
        u"16 clients that read nothing held %3 connections after %1 s, %2 rows came to one that read then"_s
            .arg(free, 0, 'f', 1)
            .arg(last.rows.RowCount())
            .arg(inUse),
        inUse <= 1 && (last.accepted || last.kind == wire::ErrorKind::Limit)); // a busy machine: its time
}

Result OccupyConnections(Target& target, bool brief)
{
    const int lines = target.LogLines();
    std::vector<std::unique_ptr<Attacker>> silent;
    int refused = 0;
    for (int i = 0; i < (brief ? 900 : 4'000); ++i) {
        try {
            silent.push_back(std::make_unique<Attacker>(target.Port(), u"127.0.0.3"_s));
        } catch (const Error&) {
            ++refused;
        }
    }
    double longest = 0;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer time;
        time.start();
        try {
            Attacker(target.Port(), u"127.0.0.1"_s).LogIn(u"xuancheng"_s);
        } catch (const Error& error) {
            return {false, u"an honest desk was not let in: "_s + error.Message()};
        }
        longest = std::max(longest, double(time.elapsed()) / 1000);
    }
    const int written = target.LogLines() - lines;
    return {longest < kWaited && written < 2'500,
        u"%1 silent connections, %2 refused at once, %3 lines of log; honest logins took %4 s at most"_s
            .arg(silent.size() + size_t(refused))
            .arg(refused)
            .arg(written)
            .arg(longest, 0, 'f', 2)};
}

} // namespace attack
