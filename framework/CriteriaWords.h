#pragma once

#include <QObject>

class TDataView;

// What the rows of a screen's main list were asked for by, in words: the boxes that lie in sight and belong
// to no row, as they stood when the rows came.
class TCriteriaWords : public QObject {
    Q_OBJECT
public:
    explicit TCriteriaWords(TDataView& view);

    // With the filters by title, as they stand now.
    QString Text() const;

private:
    void Gather();

    TDataView& view_;
    QString query_; // that the words belong to
    QStringList words_;
};
