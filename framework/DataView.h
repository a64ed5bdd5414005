#pragma once

#include "runtime/data/DataSource.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/grid/PrintDBGrid.h"

#include <QFrame>

class QLabel;
class QMenu;

// The list control of every screen: a grid over one dataset with row numbers, a record count, sorting by
// title clicks and optional stripes, which remembers the user's column layout in the module's settings file.
//
// A screen makes the view (parent and objectName given), sets the grid's columns, binds DS to its dataset,
// then calls Loaded() once: the stored layout is restored and the footers and title buttons are prepared. The
// layout is stored under the names of view and screen, so the view must lie in its screen by then. It is
// written when the view is destroyed.
//
// A screen with a GetCellParams handler of its own calls DataViewGridGetCellParams first.
class TDataView : public QFrame {
    Q_OBJECT
    Q_PROPERTY(bool Striped READ Striped WRITE SetStriped)
public:
    explicit TDataView(QWidget* parent, const QString& name);
    ~TDataView() override;

    TDBGridEh* DataViewGrid;
    TPrintDBGridEh* DataViewPrint;
    TDataSource* DS;
    QLabel* Panel1; // caption above the grid, hidden
    QFrame* FilterBar; // what the list is filtered by, hidden without a filter

    bool Striped() const noexcept { return striped_; }
    void SetStriped(bool on);

    void Loaded();

    // Handlers of the grid and the source.
    void DataViewGridGetCellParams(const TColumnEh& column, int viewRow, TCellParams& params);
    bool DataViewGridDrawColumnCell(QPainter& painter, const QRect& rect, int column, int viewRow);
    void DataViewGridTitleBtnClick(int column);
    void DSStateChange();
    // The screen's own actions, in the menu of its main list.
    void DataViewGridContextMenu(QMenu& menu);

private:
    void PrepareFooters();
    void PrepareTitleButtons();
    void ShowFilters();
    void ShowFilteredCount();

    QString layoutSection_; // empty until loaded
    bool striped_ = false;
};
