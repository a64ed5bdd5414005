#include "bench/postgres/PostgresFloor.h"

#include <QtEndian>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace {

// Rows sent before the oldest is read, and between two points that the database answers to.
constexpr int kRowsAhead = 384;
constexpr int kRowsASync = 128;

constexpr auto kUpdate = R"(
update tab_zelmor_bill set remark = $1, message = $2, total_weight = $3 where tx_logistic_id = $4
and status is not distinct from $5 and rec_site is not distinct from $6 and prepare_site is not distinct from $7
and remark is not distinct from $8 and message is not distinct from $9 and total_weight is not distinct from $10)";

class Texts {
public:
    void Add(const QString& text)
    {
        utf8_[count_] = text.toUtf8();
        values_[count_] = text.isEmpty() ? nullptr : utf8_[count_].constData();
        lengths_[count_] = int(utf8_[count_].size());
        ++count_;
    }
    void Add(quint64 bits, bool given = true)
    {
        const quint64 big = qToBigEndian(bits);
        utf8_[count_] = QByteArray(reinterpret_cast<const char*>(&big), sizeof big);
        values_[count_] = given ? utf8_[count_].constData() : nullptr;
        lengths_[count_++] = sizeof big;
    }
    void Add(double value, bool given = true)
    {
        quint64 bits;
        std::memcpy(&bits, &value, sizeof bits);
        Add(bits, given);
    }

    std::array<QByteArray, 10> utf8_;
    std::array<const char*, 10> values_{};
    std::array<int, 10> lengths_{};
    std::array<int, 10> formats_{1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    size_t count_ = 0;
};

} // namespace

PostgresFloor::PostgresFloor(const QString& uri)
    : connection_(PQconnectdb(uri.toUtf8().constData()))
{
    Require(PQstatus(connection_.get()) == CONNECTION_OK);
    const std::array<Oid, 10> types{25, 25, 701, 25, 20, 25, 25, 25, 25, 701};
    for (const auto& [name, sql, parameters] : {std::tuple("edit", kUpdate, 10),
             std::tuple("set", "savepoint a", 0), std::tuple("release", "release savepoint a", 0)}) {
        const Result prepared(PQprepare(connection_.get(), name, sql, parameters, types.data()));
        Require(PQresultStatus(prepared.get()) == PGRES_COMMAND_OK);
    }
}

void PostgresFloor::Require(bool done) const
{
    if (done)
        return;
    std::fprintf(stderr, "floor: %s\n", PQerrorMessage(connection_.get()));
    std::exit(1);
}

PostgresFloor::Result PostgresFloor::Next()
{
    return Result(PQgetResult(connection_.get()));
}

qint64 PostgresFloor::ReadEveryCell(const QString& sql)
{
    Require(PQsendQueryParams(
        connection_.get(), sql.toUtf8().constData(), 0, nullptr, nullptr, nullptr, nullptr, 1));
    PQsetSingleRowMode(connection_.get());
    qint64 rows = 0;
    volatile qint64 sink = 0;
    while (const Result row = Next()) {
        if (PQresultStatus(row.get()) != PGRES_SINGLE_TUPLE)
            continue;
        ++rows;
        const int columns = PQnfields(row.get());
        for (int column = 0; column < columns; ++column) {
            if (PQgetisnull(row.get(), 0, column))
                continue;
            const char* const bytes = PQgetvalue(row.get(), 0, column);
            const int length = PQgetlength(row.get(), 0, column);
            sink = sink + (length == 8 ? qFromBigEndian<qint64>(bytes) : *bytes) + length;
        }
    }
    return rows;
}

int PostgresFloor::Update(std::span<const OrderEdit> edits)
{
    PGconn* const connection = connection_.get();
    Result(PQexec(connection, "begin"));
    Require(PQenterPipelineMode(connection) && PQsetnonblocking(connection, 1) == 0);
    const auto send = [&](const char* name, const Texts& texts) {
        Require(PQsendQueryPrepared(connection, name, int(texts.count_), texts.values_.data(),
            texts.lengths_.data(), texts.formats_.data(), 1));
    };
    int changed = 0;
    int ahead = 0;
    for (size_t i = 0; i < edits.size(); ++i) {
        const OrderEdit& edit = edits[i];
        Texts texts;
        texts.Add(edit.remark);
        texts.Add(edit.message);
        texts.Add(edit.weight);
        texts.Add(edit.order);
        texts.Add(quint64(edit.status.value_or(0)), edit.status.has_value());
        texts.Add(edit.receivingSite);
        texts.Add(edit.candidates);
        texts.Add(edit.oldRemark);
        texts.Add(edit.oldMessage);
        texts.Add(edit.oldWeight.value_or(0), edit.oldWeight.has_value());
        send("set", {});
        send("edit", texts);
        send("release", {});
        const bool last = i + 1 == edits.size();
        if ((i + 1) % kRowsASync == 0 || last)
            Require(PQpipelineSync(connection));
        if (++ahead == kRowsAhead || last) {
            changed += ReadRows(last ? ahead : kRowsASync);
            ahead -= kRowsASync;
        }
    }
    Require(PQexitPipelineMode(connection));
    PQsetnonblocking(connection, 0);
    Result(PQexec(connection, "commit"));
    return changed;
}

int PostgresFloor::ReadRows(int rows)
{
    int changed = 0;
    int syncs = (rows + kRowsASync - 1) / kRowsASync;
    while (syncs > 0) {
        const Result result = Next();
        if (PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC)
            --syncs;
        else if (result)
            changed += std::atoi(PQcmdTuples(result.get()));
    }
    return changed;
}
