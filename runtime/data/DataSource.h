#pragma once

#include "runtime/data/ClientDataSet.h"

// Stands between a dataset and what shows it, so that views can be bound before the dataset is known and all
// be turned to another one at once.
class RUNTIME_EXPORT TDataSource : public QObject {
    Q_OBJECT
public:
    explicit TDataSource(QObject* owner = nullptr, const QString& name = {});

    void SetDataSet(TClientDataSetEx* dataSet);
    TClientDataSetEx* DataSet() const noexcept;

    // The dataset's state changed, or another dataset was set.
    std::function<void()> OnStateChange;

Q_SIGNALS:
    void DataSetChanged(TClientDataSetEx* dataSet);

private:
    QPointer<TClientDataSetEx> dataSet_;
};
