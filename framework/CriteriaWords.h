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

// What stands in a box that leaves its criterion open.
inline constexpr QStringView kAnything = u"全部";

// Whether the box shows a field of a row.
bool BelongsToRow(const QWidget& box);
// Whether the box gives a value to the orders that the buttons beside it act on, and asks nothing of a query.
bool ServesAction(const QWidget& box);
