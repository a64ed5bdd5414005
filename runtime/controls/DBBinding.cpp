#include "runtime/controls/DBControls.h"
#include "runtime/ui/Application.h"
#include "wire/Error.h"

#include <QStyle>
#include <QVariant>

using namespace Qt::Literals::StringLiterals;

class TDBBinding::Private {
public:
    QWidget* control = nullptr;
    QPointer<TDataSource> source;
    QPointer<TClientDataSetEx> dataSet;
    QString fieldName;
    bool readOnly = false;
    bool modified = false;
    bool showing = false;
    bool writing = false;
    QMetaObject::Connection sourceChanged;
    std::vector<QMetaObject::Connection> connections;

    // The style sheet paints a control with this property as holding something unacceptable.
    void Mark(const QString& reason)
    {
        const bool marked = control->property("invalid").toBool();
        if (marked || !reason.isEmpty())
            control->setToolTip(reason);
        if (marked == !reason.isEmpty())
            return;
        control->setProperty("invalid", !reason.isEmpty());
        Repolish();
    }
    void Repolish() const
    {
        control->style()->unpolish(control);
        control->style()->polish(control);
    }
};

TDBBinding::TDBBinding(QWidget* control)
    : QObject(control)
    , d_(std::make_shared<Private>())
{
    d_->control = control;
}

void TDBBinding::SetDataSource(TDataSource* source)
{
    disconnect(d_->sourceChanged);
    d_->source = source;
    if (source)
        d_->sourceChanged = connect(source, &TDataSource::DataSetChanged, this, &TDBBinding::Attach);
    Attach(source ? source->DataSet() : nullptr);
}

TDataSource* TDBBinding::DataSource() const noexcept
{
    return d_->source;
}

void TDBBinding::Attach(TClientDataSetEx* dataSet)
{
    for (const QMetaObject::Connection& connection : d_->connections)
        disconnect(connection);
    d_->connections.clear();
    d_->dataSet = dataSet;
    d_->modified = false;
    if (dataSet) {
        d_->connections = {
            connect(dataSet, &TClientDataSetEx::DataReset, this, [this] { Forget(); }),
            connect(dataSet, &TClientDataSetEx::CursorMoved, this, [this] { Forget(); }),
            connect(dataSet, &TClientDataSetEx::RowInserted, this, [this] { Refresh(); }),
            connect(dataSet, &TClientDataSetEx::RowRemoved, this, [this] { Refresh(); }),
            connect(dataSet, &TClientDataSetEx::RowChanged, this, [this] { Refresh(); }),
            connect(dataSet, &TClientDataSetEx::FieldChanged, this,
                [this](int field) {
                    const TField* own = Field();
                    if (own && own->Index() == field)
                        Refresh();
                }),
            connect(dataSet, &TClientDataSetEx::StateChanged, this,
                [this](TDataSetState state) {
                    if (state == TDataSetState::Browse || state == TDataSetState::Inactive)
                        Forget();
                }),
            connect(dataSet, &TClientDataSetEx::UpdateRecordRequested, this,
                [this] {
                    // What was typed cannot be stored: whatever asked for it must not go on.
                    if (!Commit())
                        Abort();
                }),
            connect(dataSet, &TClientDataSetEx::UnwrittenTextAsked, this,
                [this](bool& held) { held = held || d_->modified; }),
        };
    }
    Refresh();
}

void TDBBinding::SetDataField(QStringView fieldName)
{
    d_->fieldName = fieldName.toString();
    Refresh();
}

const QString& TDBBinding::DataField() const noexcept
{
    return d_->fieldName;
}

bool TDBBinding::Bound() const noexcept
{
    return d_->source && !d_->fieldName.isEmpty();
}

TField* TDBBinding::Field() const noexcept
{
    if (!d_->dataSet || !d_->dataSet->Active() || d_->fieldName.isEmpty())
        return nullptr;
    return d_->dataSet->FindField(d_->fieldName);
}

bool TDBBinding::ReadOnly() const noexcept
{
    return d_->readOnly;
}

void TDBBinding::SetReadOnly(bool on)
{
    d_->readOnly = on;
    // A box that is ticked or chosen from has no text to be copied from it.
    if (!d_->control->setProperty("readOnly", on))
        d_->control->setEnabled(!on);
    d_->Repolish();
}

void TDBBinding::Forget()
{
    d_->modified = false;
    d_->Mark({});
    Refresh();
}

void TDBBinding::Refresh()
{
    // Text being typed is not overwritten by what happens to other fields of the row.
    if (!Bound() || !Show || d_->showing || d_->writing || d_->modified)
        return;
    d_->showing = true;
    Show();
    d_->showing = false;
}

bool TDBBinding::Showing() const noexcept
{
    return d_->showing;
}

bool TDBBinding::Changed()
{
    if (!Bound() || d_->showing)
        return true;
    if (d_->modified)
        return true;
    TField* field = Field();
    bool allowed = field && !d_->readOnly;
    if (allowed) {
        allowed = false;
        d_->writing = true; // a row that begins here does not take the letter away that began it
        Guarded([&] {
            if (d_->dataSet->State() == TDataSetState::Browse && d_->dataSet->IsEmpty())
                d_->dataSet->Append();
            else
                d_->dataSet->Edit();
            allowed = d_->dataSet->State() != TDataSetState::Browse;
        });
        d_->writing = false;
    }
    d_->modified = allowed;
    if (!allowed)
        Refresh();
    return allowed;
}

bool TDBBinding::Commit()
{
    if (!d_->modified || !Field() || !Write)
        return true;
    d_->writing = true;
    bool written = false;
    QString reason;
    try {
        written = Write();
    } catch (const EAbort&) {
    } catch (const wire::Error& error) {
        reason = error.Message();
    }
    d_->writing = false;
    d_->modified = !written;
    d_->Mark(reason);
    if (!reason.isEmpty() && Application)
        Application->HandleException(reason);
    if (written)
        Refresh();
    return written;
}

bool TDBBinding::Modified() const noexcept
{
    return d_->modified;
}
