#pragma once

#include "runtime/grid/DBGrid.h"

#include <QJSValue>

namespace automation {

// `grid` of a script. Rows count from 0 in the order shown; columns go by their field names
// or, failing that, by their titles ("收货人|姓名").
class TGridObject : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name READ Name)
    Q_PROPERTY(int rowCount READ RowCount)
    Q_PROPERTY(int current READ Current WRITE SetCurrent)
public:
    explicit TGridObject(TDBGridEh* grid);

    QString Name() const;
    int RowCount() const;
    int Current() const;
    void SetCurrent(int row);

    // Of every column: field, caption, visible, width.
    Q_INVOKABLE QJSValue columns();
    // As displayed.
    Q_INVOKABLE QString cell(int row, const QString& field);
    // As stored.
    Q_INVOKABLE QJSValue value(int row, const QString& field);
    // Through the cell's editor; false when the cell has none to offer or its text was not taken.
    Q_INVOKABLE bool edit(int row, const QString& field, const QString& text);
    Q_INVOKABLE void select(const QList<int>& rows);
    Q_INVOKABLE QList<int> selected();
    Q_INVOKABLE void clickTitle(const QString& field);
    // Drags the title's right edge until the column is that wide, in pixels.
    Q_INVOKABLE void resize(const QString& field, int width);
    Q_INVOKABLE void click(int row, const QString& field);
    Q_INVOKABLE void doubleClick(int row, const QString& field);
    Q_INVOKABLE void key(const QString& name);
    // The footer's text below the column; its last line where none is named.
    Q_INVOKABLE QString footer(const QString& field, int line = -1);
    // Of the row's background in its first column, as "#rrggbb"; the marks of selection apart.
    Q_INVOKABLE QString color(int row);

private:
    TDBGridEh* Grid() const;
    int Column(const QString& name) const;
    QModelIndex Index(int row, const QString& field) const;
    int BringTitleIntoView(const QString& field) const;
    QPoint PlaceOf(const QModelIndex& index) const;

    QPointer<TDBGridEh> grid_;
};

} // namespace automation
