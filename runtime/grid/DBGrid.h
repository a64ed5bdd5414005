#pragma once

#include "runtime/Export.h"
#include "runtime/data/DataSource.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QFont>
#include <QHash>
#include <QTableView>

#include <functional>
#include <memory>
#include <vector>

class QMenu;
class TDBGridEh;
class TDBLookupComboboxEh;
struct TActionKey;

enum class TAlignment { Left, Right, Center };
enum class TSortMarker { None, Up, Down }; // Up: ascending
enum class TFooterValueType { None, StaticText, Count, Sum };
enum class TColumnStyle { Text, CheckBox, PickList, KeyPickList, Lookup, DateTime, Memo };

struct TFooter {
    TFooterValueType valueType = TFooterValueType::None;
    QString value{}; // static text
    TAlignment alignment = TAlignment::Left;
};

// A column of a drop-down list.
struct TLookupColumn {
    QString field{};
    QString title{};
    int width = 100; // pixels at 96 dpi
};

// What a column that is chosen from another dataset's rows needs.
struct TLookupParams {
    TDataSource* listSource = nullptr;
    QString keyField{}; // what is stored
    QString listField{}; // what is shown; the same where empty
    std::vector<TLookupColumn> columns{};
    // Extra fields whose beginning may also be typed (codes).
    QStringList searchFields{};
    // Said at a text that no row holds.
    QString unknownText = QStringLiteral("列表中没有");
};

// One column of a grid. Title levels are separated by "|": "商品信息|名称".
struct TColumnEh {
    QString fieldName{};
    QString title{};
    int width = 80; // pixels at 96 dpi
    bool visible = true;
    bool readOnly = false;
    bool titleButton = false;
    TSortMarker sortMarker = TSortMarker::None;
    TAlignment alignment = TAlignment::Left;
    TColumnStyle style = TColumnStyle::Text;
    QStringList pickList{}; // texts offered (PickList: also stored)
    QStringList keyList{}; // KeyPickList, CheckBox: stored values, parallel to pickList
    TLookupParams lookup{};
    std::vector<TFooter> footers{};
    QString displayFormat{}; // date-times: "yyyy-mm-dd hh:nn:ss" pattern; numbers: decimals as "0.00"
    bool numericOnly = false;
    QString nullText{}; // shown where the field is null
    QHash<QString, QString> namedKeys{}; // KeyPickList: texts of stored values that are not offered
};

// Under a column of numbers: a word in the upper footer row, the sum in the lower.
RUNTIME_EXPORT std::vector<TFooter> SumFooters(const QString& word = {});

// How the user left a column.
struct TColumnPlace {
    int column = -1; // its index before
    QString title{};
    int width = 80; // pixels at 96 dpi
};

// What a handler may change of one cell about to be painted.
struct TCellParams {
    QColor background;
    QColor foreground;
    QFont font;
};

// The model over a dataset: rows are its view rows, columns the grid's columns; read from the dataset's
// columns as painted, never copied.
class RUNTIME_EXPORT TDBGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit TDBGridModel(TDBGridEh* grid);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    friend class TDBGridEh;
    // The dataset tells of an insertion or removal when it has happened; until the views know, a model row
    // may stand for another view row.
    int ViewRow(int modelRow) const noexcept;
    bool Holds(const QModelIndex& index) const noexcept;
    TClientDataSetEx* OpenDataSet() const noexcept;
    void Reset();
    void Insert(int viewRow);
    void Remove(int viewRow);

    TDBGridEh* grid_;
    int rows_ = 0;
    int insertedAt_ = -1;
    int removedAt_ = -1;
};

// The grid over a dataset. Its current row is the dataset's; moving posts a pending edit first and stays when
// the post is refused.
class RUNTIME_EXPORT TDBGridEh : public QTableView {
    Q_OBJECT
public:
    explicit TDBGridEh(QWidget* parent = nullptr, const QString& name = {});
    ~TDBGridEh() override;

    void SetDataSource(TDataSource* source);
    TDataSource* DataSource() const noexcept;
    TClientDataSetEx* DataSet() const noexcept;

    // Columns in the order shown. Change them through these, so that titles, footers and layout follow.
    void SetColumns(std::vector<TColumnEh> columns);
    int ColumnCount() const noexcept;
    const TColumnEh& Column(int index) const;
    int ColumnIndex(QStringView fieldName) const noexcept; // first by field name, case-insensitive; -1
    void ModifyColumn(int index, const std::function<void(TColumnEh&)>& change);
    void MoveColumn(int from, int to);
    // All columns, in the order to be shown, each once.
    void ArrangeColumns(const std::vector<TColumnPlace>& places);
    // Back to the order, titles and widths of SetColumns, and to the visibility that the program gave.
    void RestoreDefaultColumns();
    // Columns of this title show the row's number in the order shown, whatever their field, while the sum
    // list is active.
    void SetRowNumberTitle(const QString& title);

    bool ReadOnly = false; // no cell may be edited
    bool AllowInsert = false; // rows by keyboard; the data view's grid has neither
    bool AllowDelete = false;
    void SetFrozenCols(int count);
    int FrozenCols() const noexcept;
    void SetFooterRowCount(int count);
    int FooterRowCount() const noexcept;
    void SetFooterColor(const QColor& color);
    QString FooterText(int footerRow, int column) const;
    // Whether the current row stays at its place in the window, as near as whole rows allow, when what lies
    // above the grid grows or shrinks.
    bool KeepsRowPlace = false;
    // Sorting by title clicks; the data view switches it off while a row is edited.
    void SetSortLocal(bool on);
    bool SortLocal() const noexcept;
    void SetSumListActive(bool on);
    bool SumListActive() const noexcept;

    // The selected (current) column; -1 when none.
    int SelectedIndex() const noexcept;
    void SetSelectedIndex(int column);
    QString SelectedField() const;
    void SelectField(QStringView fieldName);

    // Rows selected together (Ctrl or Shift with click or arrows, Ctrl+A), in view order.
    std::vector<TBookmark> SelectedRows() const;
    void SelectRows(const std::vector<TBookmark>& rows);
    void ClearSelectedRows();
    bool IsRowSelected(TBookmark row) const;

    // What the user may do with a title: toggles ascending, descending, off; with several marked, in marking
    // order. Runs OnTitleBtnClick first.
    void ClickTitle(int column);
    void ClearSortMarkers();

    // A filter by title: the texts that a column may show (of date-times the day), or bounds, both inclusive,
    // of dates and numbers, empty where there is none.
    struct Filter {
        QString field;
        QStringList shown; // an empty text among them: blank cells
        QString from, to;
        bool IsEmpty() const { return shown.isEmpty() && from.isEmpty() && to.isEmpty(); }
        QString Words() const; // what passes, for a chip
    };
    // Narrows the dataset's rows, in memory; an empty filter ends the field's. Edits and selection stay.
    void SetFilter(const Filter& filter);
    void ClearFilters();
    const std::vector<Filter>& Filters() const noexcept;
    // What the current column shows of the current row, and nothing else.
    void FilterByCurrentValue();
    // The window to choose from the column's values.
    void ShowFilter(int column);

    // The cell as shown (pick-list text, formatted number, check mark as 1 or 0).
    QString CellText(int viewRow, int column) const;
    // Opens the editor of the current cell, as F2 or typing does; false when it may not be edited.
    bool EditCurrentCell();
    // Closes an open editor, writing what it holds; false when it could not be written.
    bool CommitEditor();

    // Jumps to the next row whose current column contains the text, brings the cell and its neighbours into
    // sight and colours it until the current cell changes; the host's search box uses it. False when there is
    // none.
    bool FindText(const QString& text, bool fromCurrent = true, bool backwards = false);
    // What the list does by keys, in the order of a cell's menu.
    std::vector<TActionKey> Keys() const;

    // Handlers.
    std::function<void(const TColumnEh& column, int viewRow, TCellParams& params)> OnGetCellParams;
    // True when the handler has drawn the cell itself (over the background already painted).
    std::function<bool(QPainter& painter, const QRect& rect, int column, int viewRow)> OnDrawColumnCell;
    std::function<void(int column)> OnTitleBtnClick;
    std::function<void(const TColumnEh& column)> OnCellClick;
    std::function<void()> OnDblClick;
    std::function<void(QKeyEvent* event)> OnKeyDown; // accept the event to eat it
    // A row was taken from the list of a lookup cell's editor, before the cell is written.
    std::function<void(const TColumnEh& column, const TDBLookupComboboxEh& editor)> OnLookupUpdateData;
    // At the end of a cell's menu, behind the grid's own entries and its actions() (what a list can do with
    // all its rows is added as an action, with its key).
    std::function<void(QMenu& menu)> OnContextMenu;
    std::function<bool(int column)> OnColExit; // false keeps the column
    std::function<void()> OnColEnter;

    // The height of a row, in pixels of the screen.
    int RowHeight() const;

    QRect visualRect(const QModelIndex& index) const override;
    QModelIndex indexAt(const QPoint& point) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    void selectAll() override;

Q_SIGNALS:
    void ColumnsChanged();
    void FiltersChanged();
    void SelectionChanged(); // the rows selected, or the current column

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

protected Q_SLOTS:
    void updateGeometries() override;

private:
    friend class TDBGridModel;
    friend class TGridHeader;
    friend class TGridFooter;
    friend class TGridIndicator;
    friend class TFilterPopup;
    friend class TFindBar;
    friend class TGridFind;
    class Private;
    std::unique_ptr<Private> d_;
};

// The grid that the widget is, or lies in as a cell's editor; nullptr when there is none.
RUNTIME_EXPORT TDBGridEh* GridOf(QWidget* widget);
