#pragma once

#include "framework/DataView.h"
#include "runtime/data/ClientDataSet.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QString>

class QTimer;

// The goods lines of one order.
QString ItemsQuery(const QString& orderNumber);

// Keeps a dataset of goods lines on the current order of another dataset. Screens call Load after a query and
// on a cell click; moving by keyboard loads after a short rest, so that running through a list asks nothing.
//
// Lines that could not be read are closed, and read again when their order is visited again. Nobody asked for
// those of a row that was merely passed: the pane and the status bar say so, no box opens.
class TOrderItems : public QObject {
    Q_OBJECT
public:
    // Lives as long as `items`.
    TOrderItems(TClientDataSetEx* orders, TClientDataSetEx* items);

    // Reads the lines of the current order. An order without a number leaves them as they are; without any
    // order there are none. Raises wire::Error.
    void Load();
    // What the pane says above the lines; empty: nothing.
    const QString& Note() const noexcept { return note_; }

Q_SIGNALS:
    void NoteChanged();

private:
    void LoadAfterRest();
    bool HasOrder() const;
    void Clear();
    void SetNote(const QString& note);
    void ShowAsUnread();
    bool OutOfReach() const;

    QPointer<TClientDataSetEx> orders_;
    TClientDataSetEx* items_;
    QTimer* rest_;
    QString shown_; // the order whose lines stand in `items_`
    QString note_;
    QDeadlineTimer pause_; // while it runs, a broken connection is not tried for a row that is passed
};

// Sets up a view over goods lines.
void PrepareItemsView(TDataView& view, TClientDataSetEx* items);
