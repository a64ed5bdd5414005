#pragma once

#include <QObject>

class QWidget;
class TDataView;

// What the rows of a screen's main list were asked for by, in words: the boxes that belong to no
// row and to no action, on whatever page, as they stood when the rows came.
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

// Whether the box gives a value to the orders that the buttons beside it act on, and asks nothing of a query.
bool ServesAction(const QWidget& box);
