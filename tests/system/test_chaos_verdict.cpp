// The judge of the chaos runs finds what it is there to find: each case breaks one promise.

#include "siege/chaos/Verdict.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QTemporaryDir>

#include <functional>

using namespace Qt::Literals::StringLiterals;
using namespace chaos;

namespace {

const QString kFirst = u"安徽合肥一部"_s;
const QString kSecond = u"安徽合肥二部"_s;

Fields Accepting(const QString& site, const QString& remark)
{
    return {{u"STATUS"_s, {u"0"_s, u"1"_s}}, {u"REC_SITE"_s, {{}, site}}, {u"REMARK"_s, {{}, remark}}};
}

// Two desks ran for order A, the first one got it; the fate of B is unknown; the second one got C.
struct Day {
    std::vector<Ledger> ledgers;
    std::vector<AuditEntry> audit;
    States before;
    States after;

    Day()
    {
        const RowState waiting{{u"STATUS"_s, u"0"_s}};
        before = {{u"A"_s, waiting}, {u"B"_s, waiting}, {u"C"_s, waiting}};
        Ledger one{.account = u"hefei1"_s, .failures = 1, .longestWait = 2'000, .ended = true};
        one.saves = {{u"1-1"_s, {{u"A"_s, Accepting(kFirst, u"1"_s), RowFate::Accepted}}, 2, Told::Saved},
            {u"1-2"_s, {{u"B"_s, Accepting(kFirst, u"2"_s)}}, 1, Told::Failed}};
        Ledger two{.account = u"hefei2"_s, .longestWait = 3'000, .ended = true};
        two.saves = {{u"2-1"_s,
            {{u"A"_s, Accepting(kSecond, u"3"_s), RowFate::Refused, u"已被修改"_s, u"已被修改"_s},
                {u"C"_s, Accepting(kSecond, u"4"_s), RowFate::Accepted}},
            1, Told::Rejected}};
        ledgers = {one, two};
        audit = {{1, u"hefei1"_s, u"A"_s, Accepting(kFirst, u"1"_s)},
            {2, u"hefei1"_s, u"B"_s, Accepting(kFirst, u"2"_s)},
            {3, u"hefei2"_s, u"C"_s, Accepting(kSecond, u"4"_s)}};
        after = before;
        for (AuditEntry& entry : audit) {
            entry.fields[u"MODIFIER"_s] = {{}, entry.account, true};
            for (const auto& [column, change] : entry.fields)
                after[entry.key][column] = change.after;
        }
    }

    Verdict Judged() const { return Judge(ledgers, audit, before, after); }
    SentRow& Row(size_t ledger, size_t save, size_t row) { return ledgers[ledger].saves[save].rows[row]; }
};

struct Broken {
    const char* name;
    std::function<void(Day&)> breakIt;
    const char16_t* complaint; // part of some
};

const Broken kBroken[] = {
    {"an acknowledged row is not stored", [](Day& day) { day.audit.erase(day.audit.begin()); },
        u"stored 0 times"},
    {"an acknowledged row is stored twice", [](Day& day) { day.audit.push_back(day.audit[2]); },
        u"stored 2 times"},
    {"an acknowledged row is stored with another value",
        [](Day& day) { day.audit[0].fields[u"REC_SITE"_s].after = kSecond; }, u"stored 0 times"},
    {"a refused row is stored",
        [](Day& day) {
            day.audit.push_back({4, u"hefei2"_s, u"A"_s, day.Row(1, 0, 0).fields});
        },
        u"refused, but stored"},
    {"a refused row is not shown", [](Day& day) { day.Row(1, 0, 0).shown.clear(); }, u"but shown “”"},
    {"a refusal has no reason",
        [](Day& day) { day.Row(1, 0, 0).reason = day.Row(1, 0, 0).shown = QString(); },
        u"refused because of “”"},
    {"an acknowledged row is shown as refused", [](Day& day) { day.Row(1, 0, 1).shown = u"已被修改"_s; },
        u"but it was not"},
    {"a row of unknown fate is stored twice", [](Day& day) { day.audit.push_back(day.audit[1]); },
        u"unknown, but stored 2 times"},
    {"something is stored that nobody sent",
        [](Day& day) {
            day.audit.push_back({4, u"hefei3"_s, u"C"_s, {{u"REMARK"_s, {u"4"_s, u"5"_s}}}});
        },
        u"nobody sent that"},
    {"somebody else's account is in the audit", [](Day& day) { day.audit[2].account = u"hefei1"_s; },
        u"nobody sent that"},
    {"two desks accept one order",
        [](Day& day) {
            SentRow& lost = day.Row(1, 0, 0);
            lost.fate = RowFate::Accepted;
            day.audit.push_back({4, u"hefei2"_s, u"A"_s, lost.fields});
        },
        u"a lost update"},
    {"an order is accepted that was picked up",
        [](Day& day) {
            day.before[u"C"_s][u"STATUS"_s] = u"3"_s;
            day.audit[2].fields[u"STATUS"_s].before = day.Row(1, 0, 1).fields[u"STATUS"_s].before = u"3"_s;
        },
        u"accepted although it was not waiting"},
    {"a column is changed past the audit", [](Day& day) { day.after[u"A"_s][u"REC_SITE"_s] = kSecond; },
        u"but by the audit"},
    {"a stamp of the server's is not in the audit",
        [](Day& day) {
            day.audit[2].fields.erase(u"MODIFIER"_s), day.before[u"C"_s][u"MODIFIER"_s] = u"x"_s;
        },
        u"but by the audit"},
    {"an order is gone", [](Day& day) { day.after.erase(u"B"_s); }, u"but by the audit"},
    {"a desk is told that all is saved when a row was refused",
        [](Day& day) { day.ledgers[1].saves[0].told = Told::Saved; }, u"told something else"},
    {"a desk stops working", [](Day& day) { day.ledgers[1].ended = false; }, u"did not work to the end"},
    {"a save is repeated with other rows",
        [](Day& day) { day.ledgers[0].contradictions = {u"other rows"_s}; }, u"other rows"},
};

} // namespace

TEST(Verdict, KeptPromisesAreNotComplainedOf)
{
    Day day;
    Verdict verdict = day.Judged();
    EXPECT_TRUE(verdict.problems.empty()) << qUtf8Printable(verdict.problems.front());
    EXPECT_EQ(verdict.saves, 3);
    EXPECT_EQ(verdict.repeated, 1);
    EXPECT_EQ(verdict.accepted, 2);
    EXPECT_EQ(verdict.refused, 1);
    EXPECT_EQ(verdict.unknown, 1);
    EXPECT_EQ(verdict.unknownStored, 1);
    EXPECT_EQ(verdict.longestWait, 3'000);

    // What was given up may just as well not have been stored.
    day.audit.erase(day.audit.begin() + 1);
    day.after[u"B"_s] = day.before[u"B"_s];
    verdict = day.Judged();
    EXPECT_TRUE(verdict.problems.empty()) << qUtf8Printable(verdict.problems.front());
    EXPECT_EQ(verdict.unknownStored, 0);
}

TEST(Verdict, EveryBrokenPromiseIsFound)
{
    for (const Broken& broken : kBroken) {
        Day day;
        broken.breakIt(day);
        const std::vector<QString> problems = day.Judged().problems;
        EXPECT_TRUE(std::ranges::any_of(problems,
            [&](const QString& problem) { return problem.contains(QStringView(broken.complaint)); }))
            << broken.name << ": "
            << qUtf8Printable(problems.empty() ? u"nothing found"_s : problems.front());
    }
}

TEST(Ledger, TellsWhatWasWrittenIntoIt)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"desk.log"_s);
    wire::Request save;
    save.kind = wire::RequestKind::ApplyUpdates;
    save.name.number = 7;
    save.changes.columns = {
        {.name = u"TX_LOGISTIC_ID"_s, .key = true}, {.name = u"STATUS"_s}, {.name = u"REC_SITE"_s}};
    save.changes.rows = {
        {wire::ChangeKind::Update, 1, {{0, u"A"_s, u"A"_s}, {1, qint64(0), qint64(1)}, {2, {}, kFirst}}},
        {wire::ChangeKind::Update, 2, {{0, u"B"_s, u"B"_s}, {1, {}, qint64(1)}, {2, kFirst, kFirst}}}};
    wire::ApplyOutcome outcome;
    outcome.rows = {{1, true, {}}, {2, false, u"已被修改"_s}};
    {
        LedgerWriter writer(path, u"hefei1"_s);
        writer.Failed(u"query"_s, u"no server"_s);
        writer.Sent(save);
        writer.ToldOfSave(Told::Failed);
        writer.Sent(save);
        writer.Answered(save, outcome);
        writer.Shown(u"B"_s, u"已被修改"_s);
        writer.ToldOfSave(Told::Rejected);
        save.changes.rows.pop_back();
        writer.Sent(save);
        writer.Ended(1'234);
    }
    const Ledger ledger = ReadLedger(path);
    EXPECT_EQ(ledger.account, u"hefei1"_s);
    EXPECT_EQ(ledger.failures, 1);
    EXPECT_EQ(ledger.longestWait, 1'234);
    EXPECT_TRUE(ledger.ended);
    EXPECT_EQ(ledger.contradictions.size(), 1U) << "one name, two contents";
    ASSERT_EQ(ledger.saves.size(), 1U);
    const Save& read = ledger.saves[0];
    EXPECT_EQ(read.sendings, 3);
    EXPECT_EQ(read.told, Told::Rejected);
    ASSERT_EQ(read.rows.size(), 2U);
    EXPECT_EQ(read.rows[0].key, u"A"_s);
    EXPECT_EQ(read.rows[0].fields, (Fields{{u"STATUS"_s, {u"0"_s, u"1"_s}}, {u"REC_SITE"_s, {{}, kFirst}}}));
    EXPECT_EQ(read.rows[0].fate, RowFate::Accepted);
    EXPECT_EQ(read.rows[1].fields, (Fields{{u"STATUS"_s, {{}, u"1"_s}}}));
    EXPECT_EQ(read.rows[1].fate, RowFate::Refused);
    EXPECT_EQ(read.rows[1].shown, u"已被修改"_s);

    EXPECT_EQ(FieldsFromJson({{u"STATUS"_s, QJsonArray{0, 1}}, {u"MODIFIER"_s, u"张三"_s}}),
        (Fields{{u"STATUS"_s, {u"0"_s, u"1"_s}}, {u"MODIFIER"_s, {{}, u"张三"_s, true}}}));

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.resize(file.size() - 5);
    EXPECT_THROW(ReadLedger(path), wire::Error);
}
