#include "runtime/data/DataSource.h"

TDataSource::TDataSource(QObject* owner, const QString& name)
    : QObject(owner)
{
    setObjectName(name);
}

void TDataSource::SetDataSet(TClientDataSetEx* dataSet)
{
    if (dataSet == dataSet_)
        return;
    if (dataSet_)
        disconnect(dataSet_, nullptr, this, nullptr);
    dataSet_ = dataSet;
    const auto stateChanged = [this] {
        if (OnStateChange)
            OnStateChange();
    };
    if (dataSet)
        connect(dataSet, &TClientDataSetEx::StateChanged, this, stateChanged);
    Q_EMIT DataSetChanged(dataSet);
    stateChanged();
}

TClientDataSetEx* TDataSource::DataSet() const noexcept
{
    return dataSet_;
}
