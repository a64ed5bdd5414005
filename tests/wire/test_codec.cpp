#include "tests/wire/Cells.h"
#include "wire/Budgets.h"
#include "wire/Codec.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

using namespace Qt::Literals::StringLiterals;
using namespace wire;

namespace {

// A connection that ends after some bytes, which arrive `step` at a time.
class BytesChannel : public FrameChannel {
public:
    explicit BytesChannel(QByteArray bytes, qsizetype step = 1 << 20)
        : bytes_(std::move(bytes))
        , step_(step)
    {
    }

protected:
    qsizetype ReadSome(char* to, qsizetype size, bool) override
    {
        const qsizetype count = std::min({size, step_, bytes_.size() - at_});
        std::memcpy(to, bytes_.constData() + at_, size_t(count));
        at_ += count;
        return count;
    }
    void WriteAll(const char* bytes, qsizetype size) override { bytes_.append(bytes, size); }

private:
    QByteArray bytes_;
    qsizetype step_;
    qsizetype at_ = 0;
};

QByteArray BytesOf(const Packet& packet)
{
    return {packet.Data(), packet.Size()};
}

Frame FrameOf(const QByteArray& bytes)
{
    BytesChannel channel(bytes);
    Frame frame;
    if (!channel.Read(frame, kMaxBody))
        throw std::logic_error("no frame");
    return frame;
}

Request SampleApply()
{
    Request request;
    request.kind = RequestKind::ApplyUpdates;
    request.name = {{1, 2, 3, 255}, std::numeric_limits<quint64>::max()};
    request.maxErrors = -1;
    request.changes.commandText = u"select * from tab_zelmor_bill a where a.STATUS='1'"_s;
    request.changes.columns = {
        {u"TX_LOGISTIC_ID"_s, ColumnType::Text, 32, true, false, true},
        {u"STATUS"_s, ColumnType::Integer, 0, false, true, true},
        {u"FEE"_s, ColumnType::Number, 0, false, false, true},
        {u"ACCEPT_DATE"_s, ColumnType::DateTime, 0, false, false, false},
    };
    request.changes.rows = {
        {ChangeKind::Update, 7,
            {{0, u"D1"_s, u"D1"_s}, {1, qint64(0), qint64(-1)}, {2, Value{}, 12.25},
                {3, Value{}, DateTime::FromParts(2026, 1, 2, 3, 4, 5)}}},
        {ChangeKind::Delete, 8, {{0, u"D2"_s, u"D2"_s}}},
        {ChangeKind::Insert, 9, {}},
    };
    return request;
}

std::vector<ColumnInfo> SampleInfos()
{
    return {{u"T"_s, ColumnType::Text, 20, true, true, true}, {u"P"_s, ColumnType::Text},
        {u"I"_s, ColumnType::Integer}, {u"N"_s, ColumnType::Number}, {u"D"_s, ColumnType::DateTime},
        {u"Z"_s, ColumnType::Text}, {u"Y"_s, ColumnType::Number}};
}

std::vector<Column> SampleRows(int rows)
{
    std::vector<Column> block;
    for (const ColumnInfo& info : SampleInfos())
        block.emplace_back(info.type);
    block[1].Raw().plain = true;
    for (int i = 0; i < rows; ++i) {
        block[0].AppendText(i % 7 == 0 ? QByteArray() : u"安徽合肥%1部"_s.arg(i % 5).toUtf8());
        block[1].AppendText(i % 3 == 0 ? QByteArray() : u"地址%1"_s.arg(i).toUtf8());
        i % 4 == 0 ? block[2].AppendNull() : block[2].AppendInteger(qint64(i) * 1000 - 5000);
        i % 5 == 0 ? block[3].AppendNull() : block[3].AppendNumber(i / 8.0);
        block[4].AppendInteger(1'700'000'000 + i);
        block[5].AppendNull();
        block[6].AppendNull();
    }
    return block;
}

// The same rows as storage reads them.
std::vector<CellBlock> CellsOf(const std::vector<Column>& rows)
{
    std::vector<CellBlock> block;
    for (const Column& column : rows) {
        std::vector<Value> values;
        for (qsizetype row = 0; row < column.RowCount(); ++row)
            values.push_back(column.ValueAt(row));
        block.push_back(CellsOf(column.Type(), values));
    }
    return block;
}

Reply SampleReply()
{
    Reply reply;
    reply.rowCount = 12345678901;
    reply.identity = {u"hf1"_s, u"00551001"_s, u"张三"_s, u"安徽合肥一部"_s, u"2"_s, u"111"_s};
    reply.serverTime = DateTime::FromParts(2026, 3, 14, 9, 30, 0);
    reply.outcome.rolledBack = true;
    reply.outcome.rows = {{1, true, {}, false, {}},
        {2, false, u"已被其它用户修改"_s, true, {u"a"_s, Value{}, 1.5}}, {3, false, u"已删除"_s, false, {}}};
    return reply;
}

// Reads everything of whatever a frame decodes to, so that a sanitizer sees every byte that is reached.
size_t DecodeAny(const Frame& frame)
{
    size_t touched = 0;
    switch (frame.header.kind) {
    case FrameKind::Columns:
        return DecodeColumns(frame)->size();
    case FrameKind::Rows:
        for (const Column& column : DecodeRows(frame, SampleInfos())) {
            const qsizetype rows = std::min<qsizetype>(column.RowCount(), 5000);
            for (qsizetype row = 0; row < rows; ++row)
                touched += ToText(column.ValueAt(row)).size();
            if (rows == column.RowCount()) {
                Column merged = column;
                merged.AppendColumn(Column(column));
                touched += size_t(merged.RowCount());
            }
        }
        return touched;
    case FrameKind::Done:
        return DecodeDone(frame).outcome.rows.size();
    case FrameKind::Error:
        return size_t(DecodeError(frame).Message().size());
    default:
        return BytesOf(EncodeRequest(DecodeRequest(frame), 1)).size();
    }
}

std::vector<QByteArray> SampleFrames()
{
    Request login;
    login.kind = RequestKind::Login;
    login.account = u"hf1"_s;
    login.password = u"密码"_s;
    Request query;
    query.kind = RequestKind::Query;
    query.text = u"select 1 from dual"_s;
    return {BytesOf(EncodeRequest(login, 1)), BytesOf(EncodeRequest(query, 2, true)),
        BytesOf(EncodeRequest(SampleApply(), 3)), BytesOf(EncodeRequest({}, 4)),
        BytesOf(EncodeColumns(SampleInfos(), 5)), BytesOf(EncodeRows(SampleRows(20), 6)),
        BytesOf(EncodeRows(SampleRows(90), 7, true)), BytesOf(EncodeDone(SampleReply(), 8)),
        BytesOf(EncodeError({ErrorKind::Syntax, u"第 3 行"_s, u"select"_s}, 9)),
        BytesOf(EncodeCells(CellsOf(SampleRows(12)), 10))};
}

// Nothing but a refusal or a message may come of it.
void ExpectRefusalOrMessage(const QByteArray& bytes)
{
    try {
        DecodeAny(FrameOf(bytes));
    } catch (const Error& error) {
        ASSERT_TRUE(error.Kind() == ErrorKind::Protocol || error.Kind() == ErrorKind::Limit) << error.what();
        ASSERT_FALSE(error.Message().isEmpty());
    }
}

template <typename F> QString ReasonOf(F&& work, ErrorKind kind = ErrorKind::Protocol)
{
    try {
        work();
    } catch (const Error& error) {
        EXPECT_EQ(error.Kind(), kind);
        return error.Message();
    }
    ADD_FAILURE() << "accepted";
    return {};
}

} // namespace

TEST(CodecTest, MessagesArriveAsTheyWereSent)
{
    // What was read out of a frame makes the same frame again.
    const QByteArray apply = BytesOf(EncodeRequest(SampleApply(), 3));
    const Request request = DecodeRequest(FrameOf(apply));
    EXPECT_EQ(BytesOf(EncodeRequest(request, 3)), apply);
    EXPECT_EQ(request.name, SampleApply().name);
    EXPECT_EQ(request.changes.columns, SampleApply().changes.columns);
    ASSERT_EQ(request.changes.rows.size(), 3u);
    EXPECT_EQ(request.changes.rows[0].cells[1].original, Value(qint64(0)));
    EXPECT_EQ(request.changes.rows[0].cells[1].current, Value(qint64(-1)));

    const QByteArray done = BytesOf(EncodeDone(SampleReply(), 8));
    const Reply reply = DecodeDone(FrameOf(done));
    EXPECT_EQ(BytesOf(EncodeDone(reply, 8)), done);
    EXPECT_EQ(reply.identity.employeeName, u"张三"_s);
    EXPECT_EQ(reply.outcome.Rejected(), 2);
    EXPECT_EQ(reply.outcome.rows[1].presentValues, SampleReply().outcome.rows[1].presentValues);

    const Error error =
        DecodeError(FrameOf(BytesOf(EncodeError({ErrorKind::Policy, u"不许"_s, u"drop"_s}, 1))));
    EXPECT_EQ(error.Kind(), ErrorKind::Policy);
    EXPECT_EQ(error.Message(), u"不许"_s);
    EXPECT_EQ(error.SqlText(), u"drop"_s);

    EXPECT_EQ(*DecodeColumns(FrameOf(BytesOf(EncodeColumns(SampleInfos(), 5)))), SampleInfos());
}

TEST(CodecTest, DescriptionsThatComeAgainAreShared)
{
    const auto received = [](const ColumnInfos& infos) { return FrameOf(BytesOf(EncodeColumns(infos, 1))); };
    KnownColumns known;
    const ColumnInfos first = known.Decode(received(SampleInfos()));
    EXPECT_EQ(*first, SampleInfos());
    // Differs in the last byte alone.
    std::vector<ColumnInfo> others = SampleInfos();
    others.back().stored = true;
    EXPECT_EQ(*known.Decode(received(others)), others);
    EXPECT_TRUE(known.Decode(received(SampleInfos())).IsSharedWith(first));
    // The one that is asked for now and then outlives those that come once.
    for (int i = 0; i < 100; ++i) {
        const std::vector<ColumnInfo> once = {{u"C%1"_s.arg(i)}};
        EXPECT_EQ(*known.Decode(received(once)), once);
        EXPECT_TRUE(i % 10 != 0 || known.Decode(received(SampleInfos())).IsSharedWith(first));
    }
    // What is no description is refused, though its bytes are those of one.
    Frame frame = received(SampleInfos());
    frame.header.kind = FrameKind::Done;
    EXPECT_THROW(known.Decode(frame), Error);
}

TEST(CodecTest, RowsArriveAsTheyWereSent)
{
    for (const int rows : {0, 1, 63, 64, 65, 5000}) {
        for (const bool compress : {false, true}) {
            const std::vector<Column> sent = SampleRows(rows);
            const std::vector<Column> got =
                DecodeRows(FrameOf(BytesOf(EncodeRows(sent, 1, compress))), SampleInfos());
            ASSERT_EQ(got.size(), sent.size());
            for (size_t column = 0; column < sent.size(); ++column) {
                ASSERT_EQ(got[column].RowCount(), rows);
                // A column of nothing but nulls costs no memory.
                const bool plain = !sent[column].IsDictionary() && sent[column].EntryCount() > 1;
                ASSERT_EQ(got[column].IsDictionary(), !plain);
                for (int row = 0; row < rows; ++row)
                    ASSERT_EQ(got[column].ValueAt(row), sent[column].ValueAt(row));
            }
        }
    }
    EXPECT_LT(EncodeRows(SampleRows(5000), 1, true).Size(), EncodeRows(SampleRows(5000), 1).Size() / 2);
}

// Texts of each width that their lengths can have, integers likewise.
TEST(CodecTest, CellsArriveAsTheyWereRead)
{
    const std::vector<ColumnInfo> infos = SampleInfos();
    for (const int rows : {1, 2, 64, 65, 300}) {
        for (const qsizetype longest : {1, 127, 128, 32767, 32768}) {
            std::vector<Column> sent = SampleRows(rows);
            sent[1].AppendText(QByteArray(longest, 'x'));
            for (const size_t column : {0, 3, 5, 6})
                sent[column].AppendNull();
            for (const size_t column : {2, 4})
                sent[column].AppendInteger(-qint64(longest) * longest * longest);
            const Packet packet = EncodeCells(CellsOf(sent), 1, longest > 1000);
            const std::vector<Column> got = DecodeRows(FrameOf(BytesOf(packet)), infos);
            ASSERT_EQ(got.size(), sent.size());
            for (size_t column = 0; column < sent.size(); ++column) {
                ASSERT_EQ(got[column].RowCount(), rows + 1);
                for (int row = 0; row <= rows; ++row)
                    ASSERT_EQ(got[column].ValueAt(row), sent[column].ValueAt(row));
            }
            ASSERT_EQ(BytesOf(EncodeRows(got, 1)), BytesOf(EncodeCells(CellsOf(sent), 1)));
        }
    }
}

TEST(CodecTest, FramesAreFoundHoweverTheBytesArrive)
{
    QByteArray stream;
    const std::vector<QByteArray> frames = SampleFrames();
    for (const QByteArray& frame : frames)
        stream += frame;
    stream += BytesOf(EncodeRows(SampleRows(5000), 77)); // longer than what is read ahead
    for (const qsizetype step : {1, 11, 13, 4096, 1 << 20}) {
        BytesChannel channel(stream, step);
        Frame frame;
        for (size_t i = 0; i < frames.size(); ++i) {
            ASSERT_TRUE(channel.Read(frame, kMaxBody));
            ASSERT_EQ(frame.header.request, i + 1);
            DecodeAny(frame);
        }
        ASSERT_TRUE(channel.Read(frame, kMaxBody));
        ASSERT_EQ(DecodeRows(frame, SampleInfos()).front().RowCount(), 5000);
        ASSERT_FALSE(channel.Read(frame, kMaxBody));
    }
}

TEST(CodecTest, HeadersAreRefusedWithTheReason)
{
    const QByteArray good = BytesOf(EncodeRequest({}, 1));
    const auto with = [&](int at, char value) {
        QByteArray bytes = good;
        bytes[at] = value;
        return bytes;
    };
    EXPECT_TRUE(ReasonOf([&] { FrameOf(with(4, 9)); }).contains(u"对方的协议为9"));
    EXPECT_TRUE(ReasonOf([&] { FrameOf(with(6, 0)); }).contains(u"kind 0"));
    EXPECT_TRUE(ReasonOf([&] { FrameOf(with(7, 4)); }).contains(u"flags 4"));
    EXPECT_TRUE(ReasonOf([&] { FrameOf(with(3, 0x7F)); }).contains(u"more than"));
    EXPECT_TRUE(ReasonOf([&] { FrameOf(with(7, 1)); }).contains(u"compressed"));
    EXPECT_TRUE(ReasonOf([&] { FrameOf(good.first(7)); }, ErrorKind::Connection).contains(u"header"));
    BytesChannel small(BytesOf(EncodeRequest(SampleApply(), 1)));
    Frame frame;
    EXPECT_TRUE(ReasonOf([&] { small.Read(frame, 16); }).contains(u"more than 16"));
    // A short frame that unfolds to a long one is a long one.
    const QByteArray folded = BytesOf(EncodeRows(SampleRows(5000), 1, true));
    EXPECT_TRUE(
        ReasonOf([&] { BytesChannel(folded).Read(frame, quint32(folded.size())); }).contains(u"unfolds"));
    // A frame in a reply's place and a reply in a request's.
    EXPECT_TRUE(ReasonOf([&] { DecodeDone(FrameOf(good)); }).contains(u"kind 5"));
    EXPECT_TRUE(
        ReasonOf([&] { DecodeRequest(FrameOf(BytesOf(EncodeDone({}, 1)))); }).contains(u"no request"));
}

TEST(CodecTest, BlocksThatContradictThemselvesAreRefused)
{
    const std::vector<ColumnInfo> texts = {{u"T"_s, ColumnType::Text}};
    const auto refused = [&](const std::function<void(Packet&)>& fill) {
        Packet packet(FrameKind::Rows, 1);
        fill(packet);
        packet.Seal();
        const Frame frame = FrameOf(BytesOf(packet));
        return ReasonOf([&] { DecodeRows(frame, texts); });
    };
    const auto text = quint8(ColumnType::Text);
    const auto put = [](Packet& packet, auto... values) { (packet.Put(values), ...); };
    using U8 = quint8;
    using U32 = quint32;
    EXPECT_TRUE(refused([&](Packet& p) { put(p, U32(4'000'001), U32(1)); }).contains(u"4000001 rows"));
    EXPECT_TRUE(refused([&](Packet& p) { put(p, U32(1), U32(2)); }).contains(u"2 columns"));
    EXPECT_TRUE(refused([&](Packet& p) { put(p, U32(1), U32(1), U8(2)); }).contains(u"type"));
    // A block of one column of texts in the given form, and what follows it.
    const auto texted = [&](quint32 rows, quint8 form, auto... values) {
        return refused([&](Packet& p) { put(p, rows, U32(1), text, form, values...); });
    };
    const quint8 plain = 1;
    const quint8 dictionary = 2;
    EXPECT_TRUE(texted(1, 3).contains(u"form of text 3"));
    EXPECT_TRUE(texted(1, 0, 'x').contains(u"too many"));
    EXPECT_TRUE(texted(1, dictionary, U8(3)).contains(u"3 bytes"));
    // Lengths of no byte or more than anything has, of a negative number, more and fewer than there are rows.
    EXPECT_TRUE(texted(1, plain, U8(0)).contains(u"lengths of 0 bytes"));
    EXPECT_TRUE(texted(1, plain, U8(8), quint64(1), 'x').contains(u"lengths of 8 bytes"));
    EXPECT_TRUE(texted(1, plain, U8(3), 'x').contains(u"3 bytes"));
    EXPECT_TRUE(texted(2, plain, U8(1), U8(3), qint8(-1), 'x', 'y').contains(u"text of -1 bytes"));
    EXPECT_TRUE(texted(2, plain, U8(1), U8(1)).contains(u"early"));
    EXPECT_TRUE(texted(1, plain, U8(1), U8(1), U8(0), 'x').contains(u"too many"));
    // More and less text than there is, and so much that its end cannot be counted in four bytes.
    EXPECT_TRUE(texted(1, plain, U8(1), U8(5), 'x').contains(u"early"));
    EXPECT_TRUE(texted(1, plain, U8(1), U8(1), 'x', 'y').contains(u"too many"));
    const U32 huge = 0x7FFFFFFF;
    EXPECT_TRUE(texted(3, plain, U8(4), huge, huge, U32(3), 'x').contains(u"early"));
    // Numbers outside of the dictionary, an empty text in it, more texts than bytes.
    EXPECT_TRUE(texted(1, dictionary, U8(1), U8(2), U32(1), U8(1), U8(1), 'x').contains(u"outside"));
    EXPECT_TRUE(texted(1, dictionary, U8(1), qint8(-1), U32(1), U8(1), U8(1), 'x').contains(u"outside"));
    EXPECT_TRUE(texted(1, dictionary, U8(1), U8(1), U32(1), U8(1), U8(0)).contains(u"empty text"));
    EXPECT_TRUE(texted(1, dictionary, U8(0), U32(0x40000000)).contains(u"counts"));
}

TEST(CodecTest, DamagedFramesAreRefusedOrReadButNeverHarm)
{
    std::mt19937 random(4711);
    for (const QByteArray& good : SampleFrames()) {
        for (qsizetype size = kHeaderSize; size < good.size(); ++size) {
            // Cut off on the way, and cut off by a sender that says so.
            ASSERT_FALSE(ReasonOf([&] { FrameOf(good.first(size)); }, ErrorKind::Connection).isEmpty());
            QByteArray shortened = good.first(size);
            const auto length = quint32(size - kHeaderSize);
            std::memcpy(shortened.data(), &length, sizeof length);
            ASSERT_NO_FATAL_FAILURE(ExpectRefusalOrMessage(shortened));
        }
        for (qsizetype at = 4; at < good.size(); ++at) {
            for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF, int(random() & 0xFF)}) {
                QByteArray damaged = good;
                damaged[at] = char(value);
                ASSERT_NO_FATAL_FAILURE(ExpectRefusalOrMessage(damaged));
            }
        }
        for (int round = 0; round < 300; ++round) {
            QByteArray damaged = good;
            for (unsigned hits = 1 + random() % 8; hits > 0; --hits)
                damaged[qsizetype(4 + random() % unsigned(good.size() - 4))] = char(random());
            ASSERT_NO_FATAL_FAILURE(ExpectRefusalOrMessage(damaged));
        }
        for (int round = 0; round < 300; ++round) {
            QByteArray noise = good.first(kHeaderSize);
            const auto length = quint32(random() % 200);
            std::memcpy(noise.data(), &length, sizeof length);
            for (quint32 i = 0; i < length; ++i)
                noise += char(random() % 3 == 0 ? random() : random() % 4);
            ASSERT_NO_FATAL_FAILURE(ExpectRefusalOrMessage(noise));
        }
    }
}

// What a server can send in few bytes must not cost its client much memory, or more than a box can show.
TEST(CodecTest, RepliesAreBounded)
{
    const auto frame = [](FrameKind kind, auto fill) {
        Packet packet(kind, 1);
        fill(packet);
        packet.Seal();
        return FrameOf(BytesOf(packet));
    };
    const Frame nulls = frame(FrameKind::Done, [](Packet& out) {
        const QByteArray head(8 + 8 + 6 * 4 + 1, '\0'); // counts, time, identity, not rolled back
        out.Put(head.constData(), head.size());
        out.Put(quint32(1)); // verdict
        out.Put(quint32(1));
        out.Put(quint8(2));
        out.PutText({});
        out.Put(quint32(kMaxPresentValues + 1));
        const QByteArray values(kMaxPresentValues + 1, '\0');
        out.Put(values.constData(), values.size());
    });
    EXPECT_TRUE(ReasonOf([&] { DecodeDone(nulls); }).contains(u"more than 4194304"));
    const Frame columns = frame(FrameKind::Columns, [](Packet& out) {
        out.Put(quint32(kMaxColumns + 1));
        const QByteArray rest((kMaxColumns + 1) * 10, '\1');
        out.Put(rest.constData(), rest.size());
    });
    EXPECT_TRUE(ReasonOf([&] { DecodeColumns(columns); }).contains(u"65537 columns"));
    const Error error =
        DecodeError(FrameOf(BytesOf(EncodeError({ErrorKind::Data, QString(1'000'000, u'x')}, 1))));
    EXPECT_LT(error.Message().size(), 20'000);
}

TEST(CodecTest, WhatIsTooLargeForAFrameIsRefusedBeforeItIsSent)
{
    Request query;
    query.kind = RequestKind::Query;
    query.text = QString(qsizetype(kMaxBody) + 1, u'x');
    ReasonOf([&] { EncodeRequest(query, 1); }, ErrorKind::Limit);
}

// A change log of nulls is forty times as large in memory as on its way.
TEST(CodecTest, ChangeLogsThatAreTooLargeAreRefusedByBothSides)
{
    const auto refused = [](const auto& work) {
        try {
            work();
        } catch (const Error& error) {
            return error.Kind() == ErrorKind::Data;
        }
        return false;
    };
    const auto packet = [](quint32 rows, quint32 cells, qsizetype bytes) {
        Packet out(FrameKind::ApplyUpdates, 1);
        const QByteArray head(16 + 8 + 4, '\0'); // name, errors allowed
        out.Put(head.constData(), head.size());
        out.PutText({}); // the query
        out.Put(quint32(1));
        out.PutText(u"A"_s);
        out.Put(quint8(1));
        out.Put(qint32(0));
        out.Put(quint8(0));
        out.Put(rows);
        out.Put(quint8(ChangeKind::Update));
        out.Put(quint32(1));
        out.Put(cells);
        const QByteArray rest(bytes, '\0');
        out.Put(rest.constData(), rest.size());
        out.Seal();
        return FrameOf(BytesOf(out));
    };
    const auto most = quint32(kMaxChangedCells);
    EXPECT_EQ(DecodeRequest(packet(1, most, qsizetype(most) * 4)).changes.rows.at(0).cells.size(), most);
    EXPECT_TRUE(refused([&] { DecodeRequest(packet(1, most + 1, qsizetype(most + 1) * 4)); }));
    EXPECT_TRUE(refused([&] { DecodeRequest(packet(most + 1, 0, qsizetype(most + 1) * 9)); }));

    // Short texts take ten times in memory what they take on their way; whoever answers for it is asked
    // first.
    struct : MemoryBudget {
        void Take(qint64 bytes) override { taken += bytes; }
        qint64 taken = 0;
    } budget;
    Request texts = SampleApply();
    texts.changes.rows.resize(1);
    texts.changes.rows[0].cells.assign(500'000, CellChange{0, u"a"_s, u"b"_s});
    const Packet sent = EncodeRequest(texts, 1);
    EXPECT_EQ(DecodeRequest(FrameOf(BytesOf(sent)), &budget).changes.rows[0].cells.size(), 500'000u);
    EXPECT_GT(budget.taken, 500'000 * qint64(sizeof(CellChange)) + sent.Size());
    EXPECT_LT(budget.taken, kMaxChangeMemory);
    texts.changes.rows[0].cells.resize(1'250'000, CellChange{0, u"a"_s, u"b"_s});
    EXPECT_TRUE(refused([&] { EncodeRequest(texts, 1); }));

    Request apply = SampleApply();
    apply.changes.rows.resize(1);
    apply.changes.rows[0].cells.assign(most + 1, CellChange{});
    EXPECT_TRUE(refused([&] { EncodeRequest(apply, 1); }));
    apply.changes.rows[0].cells.assign(1, CellChange{0, {}, QString(qsizetype(kMaxRequestBody), u'x')});
    EXPECT_TRUE(refused([&] { EncodeRequest(apply, 1); }));
}
