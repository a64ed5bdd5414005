#include "runtime/data/ClientDataSetPrivate.h"
#include "runtime/data/SocketConnection.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

// Takes a query's rows into the store as they arrive.
class TClientDataSetEx::Private::OpeningSink final : public wire::ReplySink {
public:
    explicit OpeningSink(RowStore& target)
        : target_(target)
    {
    }
    void Columns(const wire::ColumnInfos& infos) override
    {
        target_.Begin(*infos);
        described_ = true;
    }
    void Rows(std::vector<wire::Column> block) override { target_.Adopt(std::move(block)); }
    bool Described() const noexcept { return described_; }

private:
    RowStore& target_;
    bool described_ = false;
};

EAbort::~EAbort() = default;

void Abort()
{
    throw EAbort();
}

void RaiseUsage(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Usage, message);
}

QList<QStringView> SplitFieldNames(QStringView fieldNames)
{
    QList<QStringView> names;
    for (const QStringView part : fieldNames.split(u';'))
        if (const QStringView name = part.trimmed(); !name.isEmpty())
            names.append(name);
    return names;
}

TClientDataSetEx::TClientDataSetEx(QObject* owner, const QString& name)
    : QObject(owner)
    , d_(std::make_unique<Private>(this))
{
    setObjectName(name);
}

TClientDataSetEx::~TClientDataSetEx() = default;

void TClientDataSetEx::SetRemoteServer(TSocketConnectionEx* connection)
{
    d_->connection = connection;
}

TSocketConnectionEx* TClientDataSetEx::RemoteServer() const noexcept
{
    return d_->connection;
}

void TClientDataSetEx::SetCommandText(const QString& sqlText)
{
    if (sqlText == d_->commandText)
        return;
    if (Active())
        RaiseUsage(u"数据集已打开，不能更改命令文本！"_s);
    d_->commandText = sqlText;
}

const QString& TClientDataSetEx::CommandText() const noexcept
{
    return d_->commandText;
}

// --- Opening and closing ---

RowStore TClientDataSetEx::Private::Fetched(const QString& sqlText)
{
    RequireConnection();
    if (sqlText.isEmpty())
        RaiseUsage(u"数据集没有命令文本！"_s);
    wire::Request request;
    request.kind = wire::RequestKind::Query;
    request.text = sqlText;
    RowStore fetched;
    OpeningSink sink(fetched);
    connection->Send(request, sink);
    if (!sink.Described())
        throw wire::Error(wire::ErrorKind::Protocol, u"服务器没有返回列说明！"_s, sqlText);
    return fetched;
}

void TClientDataSetEx::Open()
{
    if (Active())
        return;
    Run(BeforeOpen);
    d_->OpenOn(d_->Fetched(d_->commandText));
}

void TClientDataSetEx::OpenQuery(const QString& sqlText)
{
    if (!Active()) {
        SetCommandText(sqlText);
        Open();
        return;
    }
    RowStore fetched = d_->Fetched(sqlText);
    Close();
    SetCommandText(sqlText);
    Run(BeforeOpen);
    d_->OpenOn(std::move(fetched));
}

void TClientDataSetEx::Close() noexcept
{
    if (!Active())
        return;
    try {
        Run(BeforeClose);
    } catch (...) {
        // A close cannot be refused: the rows go, whatever the handler thinks.
    }
    d_->Abandon();
    try {
        Run(AfterClose);
    } catch (...) {
    }
}

bool TClientDataSetEx::Active() const noexcept
{
    return d_->state != TDataSetState::Inactive;
}

qint64 TClientDataSetEx::Execute()
{
    d_->RequireConnection();
    wire::Request request;
    request.kind = wire::RequestKind::Execute;
    request.text = d_->commandText;
    NoRows sink;
    return d_->connection->Send(request, sink).rowCount;
}

void TClientDataSetEx::Refresh()
{
    OpenQuery(QString(d_->commandText));
}

void TClientDataSetEx::CreateDataSet(std::vector<wire::ColumnInfo> columns)
{
    wire::RowSet rows;
    rows.infos = std::move(columns);
    for (const wire::ColumnInfo& info : rows.infos)
        rows.columns.emplace_back(info.type);
    OpenRows(std::move(rows));
}

void TClientDataSetEx::OpenRows(wire::RowSet rows)
{
    Close();
    Run(BeforeOpen);
    RowStore given;
    given.Begin(std::move(rows.infos));
    given.Adopt(std::move(rows.columns));
    d_->OpenOn(std::move(given));
}

// Not announced before everything is in place; where that fails, the dataset is closed.
void TClientDataSetEx::Private::OpenOn(RowStore fetched)
{
    const bool sameColumns = fetched.Infos() == rows.Infos();
    valueFilters.Forget();
    gathered.clear();
    rows = std::move(fetched);
    if (!sameColumns) {
        names.Build(rows.Infos());
        fields.clear();
        fields.reserve(rows.Infos().size());
        for (int i = 0; i < rows.FieldCount(); ++i)
            fields.push_back(TField(q, i));
    }
    try {
        ++generation;
        state = TDataSetState::Browse;
        if (indexName.isEmpty() && !filtered && valueFilters.IsEmpty()) {
            view.SetAll(rows.RowCount());
            MoveTo(rows.RowCount() > 0 ? 0 : -1, true, rows.RowCount() == 0);
        } else {
            if (filtered)
                filter.Bind(rows, names);
            for (const SortKey& key : ActiveKeys())
                if (key.field < 0)
                    indexName.clear(); // an order over fields that this result lacks
            RebuildView(kNoRow);
        }
        SetState(TDataSetState::Browse);
        NotifyReset();
        NotifyMoved();
    } catch (...) {
        Abandon();
        throw;
    }
    Run(q->AfterOpen);
    if (cursor >= 0)
        Run(q->AfterScroll);
}

void TClientDataSetEx::Private::Abandon() noexcept
{
    ++generation;
    const bool wasOpen = state != TDataSetState::Inactive;
    rows.Clear();
    view.SetAll(0);
    cursor = -1;
    bof = eof = true;
    editRow = rowBeforeInsert = kNoRow;
    pending.Clear();
    modified = false;
    ranks.Clear();
    lookup.Clear();
    undo.Clear();
    valueFilters.Forget();
    gathered.clear();
    unresolved.reset();
    SetState(TDataSetState::Inactive);
    if (wasOpen) {
        NotifyReset();
        NotifyMoved();
    }
}

TDataSetState TClientDataSetEx::State() const noexcept
{
    return d_->state;
}

// --- Fields ---

int TClientDataSetEx::FieldCount() const noexcept
{
    return Active() ? d_->rows.FieldCount() : 0;
}

TField& TClientDataSetEx::Field(int index)
{
    if (index < 0 || index >= FieldCount())
        RaiseUsage(u"数据集“%1”没有第%2个字段！"_s.arg(objectName()).arg(index));
    return d_->fields[static_cast<size_t>(index)];
}

const wire::ColumnInfo& TClientDataSetEx::FieldInfo(int index) const
{
    if (index < 0 || index >= FieldCount())
        RaiseUsage(u"数据集“%1”没有第%2个字段！"_s.arg(objectName()).arg(index));
    return d_->rows.Infos()[static_cast<size_t>(index)];
}

int TClientDataSetEx::FieldIndex(QStringView name) const noexcept
{
    return Active() ? d_->names.Find(d_->rows.Infos(), name) : -1;
}

TField* TClientDataSetEx::FindField(QStringView name) const noexcept
{
    const int index = FieldIndex(name);
    return index < 0 ? nullptr : &d_->fields[static_cast<size_t>(index)];
}

TField& TClientDataSetEx::FieldByName(QStringView name) const
{
    if (TField* const field = FindField(name))
        return *field;
    d_->RequireActive();
    RaiseUsage(u"数据集“%1”没有字段“%2”！"_s.arg(objectName(), name));
}

// --- The cursor ---

void TClientDataSetEx::Private::RequireActive() const
{
    if (state == TDataSetState::Inactive)
        RaiseUsage(u"数据集“%1”没有打开！"_s.arg(q->objectName()));
}

void TClientDataSetEx::Private::RequireRow() const
{
    RequireActive();
    if (cursor < 0)
        RaiseUsage(u"数据集“%1”没有当前记录！"_s.arg(q->objectName()));
}

void TClientDataSetEx::Private::RequireConnection() const
{
    if (!connection)
        RaiseUsage(u"数据集“%1”没有连接应用服务器！"_s.arg(q->objectName()));
}

bool TClientDataSetEx::IsEmpty() const noexcept
{
    return d_->view.Count() == 0;
}

int TClientDataSetEx::RecordCount() const noexcept
{
    return d_->view.Count();
}

int TClientDataSetEx::RecNo() const noexcept
{
    return d_->cursor + 1;
}

void TClientDataSetEx::SetRecNo(int recNo)
{
    d_->RequireActive();
    d_->Settle();
    if (recNo >= 1 && recNo <= d_->view.Count())
        d_->MoveTo(recNo - 1, false, false);
}

bool TClientDataSetEx::Bof() const noexcept
{
    return d_->bof;
}

bool TClientDataSetEx::Eof() const noexcept
{
    return d_->eof;
}

void TClientDataSetEx::Private::MoveTo(int index, bool atBof, bool atEof)
{
    const bool moved = index != cursor;
    cursor = index;
    bof = atBof || index < 0;
    eof = atEof || index < 0;
    // While opening, views and handlers are told when all is in place.
    if (moved && notifiedState != TDataSetState::Inactive) {
        NotifyMoved();
        Run(q->AfterScroll);
    }
}

void TClientDataSetEx::First()
{
    d_->RequireActive();
    d_->Settle();
    d_->MoveTo(IsEmpty() ? -1 : 0, true, false);
}

void TClientDataSetEx::Last()
{
    d_->RequireActive();
    d_->Settle();
    d_->MoveTo(d_->view.Count() - 1, false, true);
}

void TClientDataSetEx::Next()
{
    MoveBy(1);
}

void TClientDataSetEx::Prior()
{
    MoveBy(-1);
}

void TClientDataSetEx::MoveBy(int distance)
{
    d_->RequireActive();
    d_->Settle();
    const int last = d_->view.Count() - 1;
    if (last < 0 || distance == 0)
        return;
    const qint64 wanted = static_cast<qint64>(d_->cursor) + distance;
    d_->MoveTo(static_cast<int>(std::clamp<qint64>(wanted, 0, last)), wanted<0, wanted> last);
}

TBookmark TClientDataSetEx::Bookmark() const noexcept
{
    return d_->cursor < 0 ? 0 : d_->view.RowAt(d_->cursor) + 1;
}

bool TClientDataSetEx::BookmarkValid(TBookmark bookmark) const noexcept
{
    return ViewRowOf(bookmark) >= 0;
}

bool TClientDataSetEx::GotoBookmark(TBookmark bookmark)
{
    d_->RequireActive();
    d_->Settle();
    const int index = ViewRowOf(bookmark);
    if (index < 0)
        return false;
    d_->MoveTo(index, false, false);
    return true;
}

// --- Notices ---

void TClientDataSetEx::Private::SetState(TDataSetState next)
{
    state = next;
    // Opening and closing are announced even while controls are disabled: whoever disabled them may be gone.
    const bool openingOrClosing =
        (next == TDataSetState::Inactive) != (notifiedState == TDataSetState::Inactive);
    if (next == notifiedState || (disableCount > 0 && !openingOrClosing))
        return;
    notifiedState = next;
    Q_EMIT q->StateChanged(next);
}

void TClientDataSetEx::Private::NotifyReset()
{
    Notify([this] { Q_EMIT q->DataReset(); });
}

void TClientDataSetEx::Private::NotifyMoved()
{
    Notify([this] { Q_EMIT q->CursorMoved(); });
}

void TClientDataSetEx::Private::NotifyRow(int viewIndex)
{
    if (viewIndex >= 0)
        Notify([&] { Q_EMIT q->RowChanged(viewIndex); });
}

void TClientDataSetEx::DisableControls()
{
    ++d_->disableCount;
}

void TClientDataSetEx::EnableControls()
{
    if (d_->disableCount == 0 || --d_->disableCount > 0)
        return;
    d_->undo.EndStep();
    if (std::exchange(d_->resetHeldBack, false)) {
        d_->NotifyReset();
        d_->NotifyMoved();
    }
    d_->SetState(d_->state);
}

bool TClientDataSetEx::ControlsDisabled() const noexcept
{
    return d_->disableCount > 0;
}
