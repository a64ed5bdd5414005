#include "server/storage/postgres/Libpq.h"

#include "server/dialect/Postgres.h"
#include "server/refusal/Secrets.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/postgres/Binary.h"

#include <cerrno>

#ifdef _WIN32
#include <winsock2.h>
#define poll WSAPoll
#else
#include <poll.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace storage::postgres {
namespace {

namespace texts = server::texts;
using wire::ErrorKind;

constexpr int kPollMilliseconds = 100;
// A database that does not answer a cancellation for this long is not there any more.
constexpr auto kCancelPatience = std::chrono::seconds(5);

bool StartsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

template <typename... Codes> bool IsAny(std::string_view state, Codes... codes)
{
    return ((state == codes) || ...);
}

// The database goes away, will not have this connection any longer, or (40003: databases of several machines)
// does not know what became of a commit.
bool MeansLost(std::string_view state)
{
    return StartsWith(state, "08") || IsAny(state, "40003", "57P01", "57P02", "57P03", "57P05", "25P03");
}

struct Fault {
    ErrorKind kind;
    QString message;
};

Fault FaultOf(std::string_view state)
{
    if (state == "53100")
        return {ErrorKind::Storage, texts::DiskFull()};
    if (state == "53400") // temp_file_limit
        return {ErrorKind::Limit, texts::SortedTooMuch()};
    if (IsAny(state, "25006", "42501"))
        return {ErrorKind::Storage, texts::DatabaseReadOnly()};
    if (state == "53200" || StartsWith(state, "54"))
        return {ErrorKind::Limit, texts::OutOfMemory()};
    if (StartsWith(state, "XX00") && state != "XX000")
        return {ErrorKind::Storage, texts::Damaged()};
    if (StartsWith(state, "58"))
        return {ErrorKind::Storage, texts::ReadFault()};
    if (state == "57014")
        return {ErrorKind::Limit, texts::Interrupted()};
    if (StartsWith(state, "23"))
        return {ErrorKind::Data, texts::ConstraintBroken()};
    return {ErrorKind::Data, texts::DatabaseError()};
}

QString Explained(const QString& message, const QString& reason)
{
    return reason.isEmpty() ? message : u"%1（%2）"_s.arg(message, reason);
}

QString OneLine(const char* text)
{
    return QString::fromUtf8(text).simplified();
}

// What libpq says about a connection, without the password.
QString WithoutSecrets(QString text, const QString& uri)
{
    char* error = nullptr;
    PQconninfoOption* const options = PQconninfoParse(uri.toUtf8().constData(), &error);
    PQfreemem(error);
    for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
        if (option->val && *option->val && std::string_view(option->dispchar) == "*")
            text.replace(QString::fromUtf8(option->val), u"***"_s);
    }
    PQconninfoFree(options);
    return server::MaskSecrets(text);
}

void HandleNotice(void*, const PGresult* result)
{
    const char* const severity = PQresultErrorField(result, PG_DIAG_SEVERITY_NONLOCALIZED);
    if (severity && std::string_view(severity) == "WARNING")
        qWarning("PostgreSQL: %s", PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY));
}

// What the address says itself wins over what stands before it here, and yields to what stands behind it.
PGconn* Open(const QString& uri)
{
    const QByteArray address = uri.toUtf8();
    const char* const names[] = {"connect_timeout", "keepalives_idle", "keepalives_interval",
        "keepalives_count", "tcp_user_timeout", "fallback_application_name", "dbname", "client_encoding",
        nullptr};
    const char* const values[] = {
        "10", "30", "10", "3", "30000", "zelmor-server", address.constData(), "UTF8", nullptr};
    return PQconnectdbParams(names, values, 1);
}

} // namespace

std::string_view SqlStateOf(const Result& result)
{
    const char* const state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
    return state ? state : std::string_view();
}

QString ReasonOf(const Result& result)
{
    const char* const message = PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY);
    return OneLine(message ? message : PQresultErrorMessage(result.get()));
}

bool BlamesRow(const Result& result)
{
    const std::string_view state = SqlStateOf(result);
    return StartsWith(state, "23") || StartsWith(state, "22");
}

std::string Quoted(std::string_view name)
{
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

Link::Link(const QString& uri)
    : connection_(Open(uri))
{
    if (!connection_)
        throw wire::Error(ErrorKind::Limit, texts::OutOfMemory());
    if (PQstatus(Handle()) != CONNECTION_OK) {
        const QString reason = WithoutSecrets(OneLine(PQerrorMessage(Handle())), uri);
        // No host to try: the address itself is wrong, and stays so.
        const bool understood = PQhost(Handle()) != nullptr && *PQhost(Handle()) != '\0';
        const QString message = Explained(texts::CannotConnect(), reason);
        if (!understood || PQconnectionNeedsPassword(Handle()))
            throw wire::Error(ErrorKind::Storage, message);
        throw TryAgain(TryAgain::Cause::Lost, ErrorKind::Storage, message);
    }
    PQsetNoticeReceiver(Handle(), HandleNotice, nullptr);
    if (PQsetnonblocking(Handle(), 1) != 0)
        RaiseLost();
}

bool Link::IsUsable() const noexcept
{
    return !givenUp_ && syncs_ == 0 && PQstatus(Handle()) == CONNECTION_OK
        && PQtransactionStatus(Handle()) == PQTRANS_IDLE;
}

bool Link::IsStillUsable() noexcept
{
    if (!IsUsable())
        return false;
    // A connection closed from the other side while it was idle has an end of file to read.
    pollfd socket{PQsocket(Handle()), POLLIN, 0};
    for (int i = 0; i < 4 && poll(&socket, 1, 0) > 0; ++i) {
        if (!PQconsumeInput(Handle()))
            break;
    }
    return IsUsable();
}

Result Link::Run(const std::string& sql)
{
    CheckStop();
    Require(PQsendQuery(Handle(), sql.c_str()));
    Result last;
    Result failed;
    while (Result result = Next()) {
        const ExecStatusType status = PQresultStatus(result.get());
        if (IsError(result) && !failed)
            failed = std::move(result);
        else
            last = std::move(result);
        // The caller does the copying.
        if (status == PGRES_COPY_IN)
            break;
    }
    if (failed)
        Raise(failed, QString::fromStdString(sql));
    cancelled_ = false;
    return last;
}

void Link::StartPipeline()
{
    Require(PQenterPipelineMode(Handle()));
}

void Link::SendCommand(const std::string& sql)
{
    Require(PQsendQueryParams(Handle(), sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 1));
}

void Link::SendPrepare(const std::string& name, const std::string& sql, const std::vector<Oid>& types)
{
    Require(PQsendPrepare(Handle(), name.c_str(), sql.c_str(), static_cast<int>(types.size()), types.data()));
}

void Link::SendExecute(const std::string& name, const Parameters& parameters)
{
    const Parameters::Arrays arrays = parameters.ForSending();
    Require(PQsendQueryPrepared(
        Handle(), name.c_str(), parameters.Count(), arrays.values, arrays.lengths, arrays.formats, 1));
}

void Link::Sync()
{
    Require(PQpipelineSync(Handle()));
    ++syncs_;
    cancelled_ = false;
}

Result Link::Next()
{
    WaitForInput();
    readsLeft_ = 0;
    Result result(PQgetResult(Handle()));
    if (result && PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC)
        --syncs_;
    return result;
}

void Link::Drain()
{
    while (syncs_ > 0) {
        if (!Next() && PQstatus(Handle()) != CONNECTION_OK)
            RaiseLost();
    }
}

void Link::ReadRowByRow()
{
    Require(PQsetSingleRowMode(Handle()));
}

void Link::StartCopy(const std::string& copyText)
{
    Require(PQexitPipelineMode(Handle()));
    cancelled_ = false;
    Require(PQsendQuery(Handle(), copyText.c_str()));
    const Result result = Next();
    copying_ = PQresultStatus(result.get()) == PGRES_COPY_OUT;
    if (copying_)
        return;
    EndCopy();
    if (!result)
        RaiseLost();
    Raise(result);
}

std::string_view Link::NextCopied()
{
    copied_.reset();
    char* bytes = nullptr;
    int size = PQgetCopyData(Handle(), &bytes, 1);
    while (size == 0) {
        if (!WaitOnce())
            RaiseLost();
        size = PQgetCopyData(Handle(), &bytes, 1);
    }
    copied_.reset(bytes);
    if (size > 0)
        return {bytes, static_cast<size_t>(size)};
    copying_ = false;
    const Result end = Next();
    if (!end)
        RaiseLost();
    if (IsError(end))
        Raise(end);
    return {};
}

void Link::EndCopy() noexcept
{
    try {
        if (copying_)
            Cancel();
        while (copying_) {
            try {
                NextCopied();
            } catch (const wire::Error&) {
                // The error of what was cancelled, as it should be, unless the database is silent or gone.
                if (givenUp_)
                    throw;
            }
        }
        while (Next()) { }
        copied_.reset();
        StartPipeline();
    } catch (...) {
        GiveUp(); // whoever lends it next is told so
    }
}

void Link::CheckStop()
{
    if (stop_ != nullptr && stop_->ShouldStop())
        throw wire::Error(ErrorKind::Limit, texts::Interrupted());
}

void Link::Cancel() noexcept
{
    if (cancelled_ || PQstatus(Handle()) != CONNECTION_OK)
        return;
    cancelled_ = true;
    cancelledAt_ = std::chrono::steady_clock::now();
    PGcancel* const cancel = PQgetCancel(Handle());
    char reason[256];
    // Where it fails, so does the connection that is waited for.
    if (!PQcancel(cancel, reason, sizeof reason))
        qWarning("PostgreSQL: %s", reason);
    PQfreeCancel(cancel);
}

void Link::Raise(const Result& result, const QString& sqlText)
{
    const std::string_view state = SqlStateOf(result);
    if (PQstatus(Handle()) != CONNECTION_OK || MeansLost(state)) {
        GiveUp();
        throw TryAgain(TryAgain::Cause::Lost, ErrorKind::Storage,
            Explained(texts::DatabaseConnectionLost(), ReasonOf(result)));
    }
    // Tables changed under a statement that was prepared before; a new connection prepares it anew.
    const char* const function = PQresultErrorField(result.get(), PG_DIAG_SOURCE_FUNCTION);
    if (state == "26000" || (function && std::string_view(function) == "RevalidateCachedQuery")) {
        GiveUp();
        throw TryAgain(TryAgain::Cause::Conflict, ErrorKind::Storage,
            Explained(texts::DatabaseConnectionLost(), ReasonOf(result)));
    }
    if (StartsWith(state, "40") || state == "55P03")
        throw TryAgain(
            TryAgain::Cause::Conflict, ErrorKind::Storage, Explained(texts::Busy(), ReasonOf(result)));
    // After a failover the address leads to another database than this connection does.
    if (state == "25006")
        GiveUp();
    if (state == "57014" && cancelled_)
        throw wire::Error(ErrorKind::Limit, texts::Interrupted(), sqlText);
    // What the functions that translated statements use have to say.
    if (const auto error = dialect::ErrorOfSqlState(state, ReasonOf(result)))
        throw wire::Error(error->Kind(), error->Message(), sqlText);
    const Fault fault = FaultOf(state);
    throw wire::Error(fault.kind, Explained(fault.message, ReasonOf(result)), sqlText);
}

void Link::RaiseLost()
{
    GiveUp();
    throw TryAgain(TryAgain::Cause::Lost, ErrorKind::Storage,
        Explained(texts::DatabaseConnectionLost(), OneLine(PQerrorMessage(Handle()))));
}

void Link::Require(int sent)
{
    if (!sent)
        RaiseLost();
}

void Link::WaitForInput()
{
    while (PQisBusy(Handle()) && WaitOnce()) {
        if (readsLeft_ > 0 && --readsLeft_ == 0)
            throw TooMuch{};
    }
}

// Waits until something has come in or it is time to ask the stop signal; false where the connection has
// failed (what the database said last may still be read). Sends what is queued meanwhile, so that the two
// sides never wait for each other to read.
bool Link::WaitOnce()
{
    for (;;) {
        const int unsent = PQflush(Handle());
        if (unsent < 0)
            return false;
        pollfd socket{PQsocket(Handle()), static_cast<short>(POLLIN | (unsent > 0 ? POLLOUT : 0)), 0};
        const int ready = poll(&socket, 1, kPollMilliseconds);
        if (ready < 0 && errno != EINTR)
            RaiseLost();
        if (ready != 0)
            return PQconsumeInput(Handle()) != 0;
        AskStop();
    }
}

void Link::AskStop()
{
    if (cancelled_) {
        if (std::chrono::steady_clock::now() - cancelledAt_ < kCancelPatience)
            return;
        GiveUp();
        throw wire::Error(ErrorKind::Limit, texts::Interrupted());
    }
    if (stop_ != nullptr && stop_->ShouldStop())
        Cancel();
}

} // namespace storage::postgres
