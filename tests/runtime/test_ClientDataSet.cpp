// States, handlers, cursor, change log, old values and copies.

#include "tests/runtime/DataSetRows.h"

#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

class ClientDataSetTest : public testing::Test {
protected:
    ClientDataSetTest() { set.OpenRows(ThreeOrders()); }

    QString Text(QStringView field) const { return set.FieldByName(field).AsString(); }
    void Put(QStringView field, const QString& text)
    {
        set.Edit();
        set.FieldByName(field).SetAsString(text);
        set.Post();
    }

    TClientDataSetEx set;
};

TEST_F(ClientDataSetTest, FieldsReadTheirTypesAndNulls)
{
    EXPECT_EQ(set.FieldByName(u"amount").AsFloat(), 1.5);
    EXPECT_EQ(set.FieldByName(u"AMOUNT").AsInteger(), 2);
    EXPECT_EQ(Text(u"create_date"), u"2024-01-01 00:00:00"_s);
    EXPECT_EQ(set.FieldByName(u"STATUS").AsString(), u"0"_s);
    set.Last();
    EXPECT_TRUE(set.FieldByName(u"STATUS").IsNull());
    EXPECT_EQ(set.FieldByName(u"STATUS").AsInteger(), 0);
    EXPECT_EQ(set.FieldByName(u"SITE").AsString(), QString());
    EXPECT_EQ(set.FieldByName(u"CREATE_DATE").AsDateTime(), wire::DateTime::FromParts(1899, 12, 30));
    EXPECT_EQ(set.FindField(u"missing"), nullptr);
    try {
        set.FieldByName(u"missing");
        ADD_FAILURE();
    } catch (const wire::Error& error) {
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Usage);
        EXPECT_TRUE(error.Message().contains(u"missing"));
    }
}

TEST_F(ClientDataSetTest, WritingNeedsEditStateAndAFittingValue)
{
    TField& status = set.FieldByName(u"STATUS");
    EXPECT_EQ(RaisedBy([&] { status.SetAsInteger(1); }), wire::ErrorKind::Usage);
    set.Edit();
    EXPECT_EQ(RaisedBy([&] { status.SetAsString(u"abc"_s); }), wire::ErrorKind::Data);
    EXPECT_EQ(status.AsInteger(), 0);
    status.SetAsString(u"2"_s);
    EXPECT_EQ(status.AsInteger(), 2);
    status.SetAsString({});
    EXPECT_TRUE(status.IsNull());
    set.Cancel();
    EXPECT_EQ(status.Value(), I(0));
    EXPECT_EQ(set.ChangeCount(), 0);
}

TEST_F(ClientDataSetTest, HandlersRunInOrder)
{
    QStringList calls;
    const auto note = [&calls](const QString& name) { return [&calls, name] { calls.append(name); }; };
    for (const auto& [handler, name] : {std::pair(&set.BeforeEdit, u"beforeEdit"_s),
             {&set.AfterEdit, u"afterEdit"_s}, {&set.BeforePost, u"beforePost"_s},
             {&set.AfterPost, u"afterPost"_s}, {&set.BeforeInsert, u"beforeInsert"_s},
             {&set.AfterInsert, u"afterInsert"_s}, {&set.BeforeCancel, u"beforeCancel"_s},
             {&set.AfterCancel, u"afterCancel"_s}, {&set.BeforeDelete, u"beforeDelete"_s},
             {&set.AfterDelete, u"afterDelete"_s}, {&set.AfterScroll, u"scroll"_s}})
        *handler = note(name);
    QObject::connect(&set, &TClientDataSetEx::UpdateRecordRequested, &set, note(u"update"_s));
    Put(u"SITE", u"广州"_s);
    set.Append();
    set.Cancel();
    set.Next();
    set.Delete();
    EXPECT_EQ(calls.join(u' '),
        u"beforeEdit afterEdit update beforePost afterPost beforeInsert afterInsert scroll beforeCancel "
        u"scroll "
        "afterCancel scroll beforeDelete scroll afterDelete"_s);
}

TEST_F(ClientDataSetTest, AbortInBeforePostKeepsTheEdit)
{
    set.BeforePost = [this] {
        set.FieldByName(u"STATUS").SetAsInteger(9);
        Abort();
    };
    set.Edit();
    set.FieldByName(u"SITE").SetAsString(u"深圳"_s);
    EXPECT_THROW(set.Post(), EAbort);
    EXPECT_EQ(set.State(), TDataSetState::Edit);
    EXPECT_EQ(Text(u"SITE"), u"深圳"_s);
    EXPECT_EQ(Text(u"STATUS"), u"9"_s);
    // Nothing that would leave the row gets past the refusal.
    EXPECT_THROW(set.Next(), EAbort);
    EXPECT_THROW(set.Locate(u"ID", {T(u"D3")}), EAbort);
    EXPECT_EQ(set.RecNo(), 1);
    EXPECT_EQ(set.ChangeCount(), 0);
    set.BeforePost = nullptr;
    set.Post();
    EXPECT_EQ(set.ChangeCount(), 1);
}

TEST_F(ClientDataSetTest, RefusedEditInsertAndDeleteLeaveTheRowAlone)
{
    set.BeforeEdit = set.BeforeInsert = set.BeforeDelete = [] { Abort(); };
    EXPECT_THROW(set.Edit(), EAbort);
    EXPECT_THROW(set.Append(), EAbort);
    EXPECT_THROW(set.Delete(), EAbort);
    EXPECT_EQ(set.State(), TDataSetState::Browse);
    EXPECT_EQ(Joined(set, u"ID"), u"D1 D2 D3"_s);
}

TEST_F(ClientDataSetTest, ReopeningWhileAHandlerAsksEndsThePost)
{
    set.BeforePost = [this] { set.OpenRows(ThreeOrders()); };
    Put(u"SITE", u"广州"_s);
    EXPECT_EQ(set.State(), TDataSetState::Browse);
    EXPECT_EQ(set.ChangeCount(), 0);
    EXPECT_EQ(Text(u"SITE"), u"上海"_s);
}

TEST_F(ClientDataSetTest, LeavingAnUntouchedEditDropsIt)
{
    int posts = 0;
    set.BeforePost = [&] { ++posts; };
    set.Edit();
    set.Next();
    EXPECT_EQ(set.State(), TDataSetState::Browse);
    set.Append();
    set.First();
    EXPECT_EQ(set.RecordCount(), 3);
    EXPECT_EQ(posts, 0);
    // A bound editor that holds something is asked first.
    set.Edit();
    const auto typed = QObject::connect(&set, &TClientDataSetEx::UpdateRecordRequested, &set,
        [this] { set.FieldByName(u"SITE").SetAsString(u"武汉"_s); });
    set.Next();
    QObject::disconnect(typed);
    EXPECT_EQ(posts, 1);
    EXPECT_EQ(set.ViewText(0, 2), u"武汉"_s);
}

TEST_F(ClientDataSetTest, CursorEndsAsLoopsExpect)
{
    EXPECT_TRUE(set.Bof());
    EXPECT_FALSE(set.Eof());
    int seen = 0;
    for (set.First(); !set.Eof(); set.Next())
        ++seen;
    EXPECT_EQ(seen, 3);
    EXPECT_EQ(set.RecNo(), 3);
    set.Prior();
    EXPECT_FALSE(set.Eof());
    set.MoveBy(-9);
    EXPECT_TRUE(set.Bof());
    EXPECT_EQ(set.RecNo(), 1);
    // Deleting in a loop meets every row once.
    seen = 0;
    for (set.First(); !set.Eof(); ++seen) {
        if (Text(u"ID") == u"D2")
            set.Next();
        else
            set.Delete();
    }
    EXPECT_EQ(seen, 3);
    EXPECT_EQ(Joined(set, u"ID"), u"D2"_s);
    set.Delete();
    EXPECT_TRUE(set.IsEmpty() && set.Bof() && set.Eof());
    EXPECT_EQ(set.RecNo(), 0);
    EXPECT_TRUE(set.FieldByName(u"ID").IsNull());
    EXPECT_EQ(RaisedBy([&] { set.Edit(); }), wire::ErrorKind::Usage);
}

TEST_F(ClientDataSetTest, StepsAreTakenBackOneByOneAndDoneAgain)
{
    const auto shown = [this] {
        return Joined(set, u"ID") + u'|' + Joined(set, u"SITE") + u'|' + QString::number(set.ChangeCount());
    };
    QStringList states{shown()};
    Put(u"SITE", u"广州"_s);
    states += shown();
    Put(u"SITE", u"上海"_s);
    EXPECT_TRUE(set.UndoStep());
    const auto batch = [&] {
        set.DisableControls();
        for (set.First(); !set.Eof(); set.Next())
            Put(u"SITE", u"批量"_s);
        set.EnableControls();
    };
    const auto remove = [&] {
        set.SetRecNo(2);
        set.Delete();
    };
    const auto add = [&] {
        set.Append();
        set.FieldByName(u"ID").SetAsString(u"D4"_s);
        set.Post();
    };
    for (const auto& step :
        std::vector<std::function<void()>>{[&] { set.UndoCurrentRow(); }, batch, remove, add}) {
        step(); // what was taken back before is then gone for good
        states += shown();
    }
    for (qsizetype i = states.size() - 2; i >= 0; --i) {
        EXPECT_TRUE(set.UndoStep());
        EXPECT_EQ(shown(), states[i]) << i;
    }
    EXPECT_FALSE(set.CanUndo());
    for (qsizetype i = 1; i < states.size(); ++i) {
        EXPECT_TRUE(set.RedoStep());
        EXPECT_EQ(shown(), states[i]) << i;
    }
    EXPECT_FALSE(set.CanRedo());
    set.Edit();
    set.FieldByName(u"SITE").SetAsString(u"武汉"_s);
    EXPECT_TRUE(set.ViewCellChanged(0, 2));
    EXPECT_EQ(set.ViewOldValue(0, 2), T(u"上海"));
    set.UndoStep();
    EXPECT_EQ(shown(), states.last()) << "an edit under way is the last step";
    set.MergeChangeLog();
    EXPECT_FALSE(set.CanUndo() || set.ViewCellChanged(0, 2));
}

TEST_F(ClientDataSetTest, OldValuesWhileEditing)
{
    QString seen;
    set.BeforePost = [&] {
        const TField& status = set.FieldByName(u"STATUS");
        seen = wire::ToText(status.OldValue()) + u'>' + status.AsString();
    };
    set.Next();
    Put(u"STATUS", u"0"_s);
    EXPECT_EQ(seen, u"1>0"_s);
    Put(u"STATUS", u"2"_s); // still against what was read
    EXPECT_EQ(seen, u"1>2"_s);
    set.MergeChangeLog();
    EXPECT_EQ(set.ChangeCount(), 0);
    Put(u"STATUS", u"1"_s);
    EXPECT_EQ(seen, u"2>1"_s);
    EXPECT_EQ(set.ChangeCount(), 1);
    EXPECT_TRUE(set.UndoCurrentRow());
    EXPECT_EQ(Text(u"STATUS"), u"2"_s);
    EXPECT_FALSE(set.UndoCurrentRow());
}

TEST_F(ClientDataSetTest, LocateFindsTheFirstInView)
{
    // Where the search ends; 0 where it finds nothing.
    const auto located = [this](
                             QStringView fields, const Row& values, bool anyCase = false, bool part = false) {
        return set.Locate(fields, values, anyCase, part) ? set.RecNo() : 0;
    };
    EXPECT_EQ(located(u"SITE", {T(u"北京")}), 2);
    EXPECT_EQ(located(u"SITE", {T(u"北")}), 0);
    EXPECT_EQ(set.RecNo(), 2);
    EXPECT_EQ(located(u"SITE", {T(u"上")}, false, true), 1);
    EXPECT_EQ(located(u"id", {T(u"d3")}, true), 3);
    EXPECT_EQ(located(u"ID;STATUS", {T(u"D2"), T(u"1")}), 2);
    EXPECT_EQ(located(u"AMOUNT", {Null}), 2);
    EXPECT_EQ(located(u"AMOUNT", {I(-2)}), 3);
    EXPECT_FALSE(set.Locate(u"STATUS", {T(u"no number")}));
    EXPECT_EQ(RaisedBy([&] { set.Locate(u"ID;STATUS", {T(u"D2")}); }), wire::ErrorKind::Usage);
    // Edits are seen at once.
    Put(u"SITE", u"昆明"_s);
    set.First();
    EXPECT_TRUE(set.Locate(u"SITE", {T(u"昆明")}));
    EXPECT_EQ(set.RecNo(), 3);
}

TEST(ClientDataSet, LocateByHashEqualsScanning)
{
    std::vector<Row> rows;
    for (int i = 0; i < 500; ++i)
        rows.push_back({wire::Value{u"K%1"_s.arg(i * 7 % 300)}});
    TClientDataSetEx set;
    set.OpenRows(MakeRows({Column(u"K", wire::ColumnType::Text)}, rows));
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 310; ++i) {
            const QString wanted = u"K%1"_s.arg(i);
            const auto first = std::find(rows.begin(), rows.end(), Row{wire::Value{wanted}});
            ASSERT_EQ(set.Locate(u"K", {wanted}), first != rows.end()) << wanted;
            if (first != rows.end()) {
                ASSERT_EQ(set.RecNo(), first - rows.begin() + 1);
            }
        }
    }
}

TEST_F(ClientDataSetTest, DisabledControlsCatchUpOnce)
{
    QSignalSpy resets(&set, &TClientDataSetEx::DataReset);
    QSignalSpy moves(&set, &TClientDataSetEx::CursorMoved);
    QSignalSpy changes(&set, &TClientDataSetEx::RowChanged);
    QSignalSpy states(&set, &TClientDataSetEx::StateChanged);
    set.DisableControls();
    set.DisableControls();
    for (set.First(); !set.Eof(); set.Next())
        Put(u"SITE", u"广州"_s);
    set.EnableControls();
    EXPECT_EQ(resets.count() + moves.count() + changes.count() + states.count(), 0);
    set.EnableControls();
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(moves.count(), 1);
    EXPECT_EQ(changes.count() + states.count(), 0);
    set.EnableControls(); // one too many does no harm
    set.First();
    EXPECT_EQ(moves.count(), 2);
    // A close is told even then: whoever disabled the controls may never come back.
    set.DisableControls();
    set.Close();
    EXPECT_EQ(states.count(), 1);
}

TEST_F(ClientDataSetTest, ClosedDatasetRefusesAndReadsNothing)
{
    set.Edit();
    set.Close();
    EXPECT_EQ(set.State(), TDataSetState::Inactive);
    EXPECT_EQ(set.RecordCount(), 0);
    EXPECT_EQ(set.FieldCount(), 0);
    EXPECT_EQ(set.ViewText(0, 0), QString());
    EXPECT_EQ(RaisedBy([&] { set.First(); }), wire::ErrorKind::Usage);
    EXPECT_EQ(RaisedBy([&] { set.Append(); }), wire::ErrorKind::Usage);
    EXPECT_EQ(RaisedBy([&] { set.FieldByName(u"ID"); }), wire::ErrorKind::Usage);
    EXPECT_EQ(RaisedBy([&] { set.Open(); }), wire::ErrorKind::Usage);
    set.Close();
}

TEST_F(ClientDataSetTest, CopiesHoldPresentValuesInOrder)
{
    Put(u"SITE", u"广州"_s);
    set.Append();
    set.FieldByName(u"ID").SetAsString(u"D4"_s);
    set.Post();
    set.AddIndex(u"x"_s, u"ID", u"ID");
    set.SetIndexName(u"x"_s);
    TClientDataSetEx copy;
    copy.CopyFrom(set);
    EXPECT_EQ(Joined(copy, u"ID"), u"D4 D3 D2 D1"_s);
    EXPECT_EQ(copy.ViewText(3, 2), u"广州"_s);
    EXPECT_EQ(copy.ChangeCount(), 0);

    EXPECT_TRUE(set.Locate(u"ID", {T(u"D2")}));
    set.Delete();
    TClientDataSetEx delta;
    delta.CopyDelta(set);
    EXPECT_EQ(Joined(delta, u"ID"), u"D1 D4 D2"_s);
    delta.CopyDelta(set, true);
    EXPECT_EQ(delta.RecordCount(), 0);
    EXPECT_GE(delta.FieldIndex(u"ERROR_MESSAGE"), 0);
    EXPECT_EQ(RaisedBy([&] { set.CopyFrom(set); }), wire::ErrorKind::Usage);
}

TEST_F(ClientDataSetTest, FieldsStayValidWhereTheColumnsAreTheSame)
{
    TField* const site = &set.FieldByName(u"SITE");
    set.OpenRows(ThreeOrders());
    EXPECT_EQ(&set.FieldByName(u"site"), site);
    set.OpenRows(MakeRows({Column(u"ID", wire::ColumnType::Text), Column(u"id", wire::ColumnType::Text)},
        {{T(u"a"), T(u"b")}}));
    EXPECT_EQ(Text(u"Id"), u"a"_s); // the first of a doubled name
    wire::RowSet wrong = ThreeOrders();
    wrong.columns.pop_back();
    EXPECT_EQ(RaisedBy([&] { set.OpenRows(std::move(wrong)); }), wire::ErrorKind::Protocol);
    EXPECT_FALSE(set.Active());
}

} // namespace
