#pragma once

#include "runtime/grid/DBGrid.h"
#include "runtime/grid/GridFooter.h"
#include "runtime/grid/GridHeader.h"
#include "runtime/grid/GridText.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QTimer>

#include <span>
#include <unordered_set>

class QMenu;
class QRegularExpression;
class TFindBar;
class TGridFind;

// One column with what the grid knows of it beyond its description.
struct TGridColumn {
    TColumnEh info;
    int field = -1; // of the dataset; -1 while closed or absent
    int markOrder = 0; // among the sort markers, from 1; 0 unmarked
    bool rowNumber = false;
    // What the list of a lookup column says of a key.
    struct LookupText {
        QString shown;
        bool known = true;
    };
    mutable QHash<QString, LookupText> lookupTexts;
    // As the program set it, for restoring.
    struct {
        int place = 0;
        QString title;
        int width = 0;
        bool visible = true;
    } initial;
};

class TDBGridEh::Private {
public:
    explicit Private(TDBGridEh* grid)
        : q(grid)
    {
    }

    TDBGridEh* q;
    TDBGridModel* model = nullptr;
    TGridHeader* header = nullptr;
    TGridIndicator* indicator = nullptr;
    TGridFooter* footer = nullptr;

    // Data.
    QPointer<TDataSource> source;
    QPointer<TClientDataSetEx> dataSet;
    std::vector<QMetaObject::Connection> connections;
    std::vector<QMetaObject::Connection> listConnections; // to the lists of lookup columns
    void FollowLists();
    void Attach(TClientDataSetEx* newDataSet);
    TClientDataSetEx* OpenDataSet() const noexcept
    {
        return dataSet && dataSet->Active() ? dataSet.data() : nullptr;
    }
    void BindFields();
    void DataReset();
    void RowTouched(int viewRow);
    void FollowCursor();
    void EditingStateChanged();

    // Columns.
    std::vector<TGridColumn> columns;
    int frozen = 0;
    int currentColumn = 0;
    void ApplyColumns();
    void ApplyListStyle();
    void ColumnsReordered();
    void ShowColumn(int column, bool on); // the user's wish, not the program's
    QString rowNumberTitle;
    const TGridColumn::LookupText& LookupTextOf(const TGridColumn& column, const QString& key) const;
    bool ShowsUnknown(int viewRow, int column) const; // a lookup cell whose text its list does not hold
    QString ShownText(const TGridColumn& column, const wire::Value& value) const;
    bool ShownColumn(int column) const;
    int NextShownColumn(int column, int step) const; // -1 when there is none
    int FrozenWidth() const;
    int ColumnLeft(int column) const; // in the viewport, frozen or scrolled
    void RenumberMarkers();
    void ApplySorting();
    bool sortLocal = false;

    // Filters by title.
    std::vector<TDBGridEh::Filter> filters;
    void DropFilters();
    bool CanFilter(int column) const;
    class FilterTexts;
    class FilterCondition;
    void ApplyFilter(const TDBGridEh::Filter& filter, const FilterCondition& condition);

    // Footers.
    int footerRows = 0;
    QColor footerColor{0xdd, 0xdd, 0xff};
    bool sumList = false;
    mutable QHash<int, QString> sums; // by field, until rows change
    int FooterHeight() const;

    // Painting.
    bool placing = false;
    // Where the current row was last seen, in pixels of its form; -1: out of sight.
    int rowPlace = -1;
    int InForm(int y) const; // a height in the viewport, as one in the form
    int RowPlace() const;
    void RestoreRowPlace(int place);
    TGridText texts;
    int rowHeight = 18;
    // A column's cells as far as they are painted, in pixels of the viewport.
    struct CellPlace {
        int column, left, width;
    };
    // The columns that cross the rectangle: the frozen ones, or the others.
    std::vector<CellPlace> PlacesIn(const QRect& dirty, bool frozenPart) const;
    void PaintRows(QPainter& painter, const QRect& dirty, bool frozenPart);
    void MarkRow(int row, const std::vector<CellPlace>& places, std::vector<TCellParams>& params) const;
    void PaintGround(QPainter& painter, int top, const std::vector<CellPlace>& places,
        const std::vector<TCellParams>& params) const;
    void PaintLines(QPainter& painter, const QRect& dirty, int firstRow, int lastRow,
        const std::vector<CellPlace>& places) const;
    void PaintCurrentFrame(QPainter& painter) const;
    void AskHandler(const TColumnEh& column, int viewRow, TCellParams& params) const;
    void PaintCell(QPainter& painter, const QRect& rect, int viewRow, int column, TCellParams& params);
    void PaintCheck(QPainter& painter, const QRect& rect, bool checked);
    void PaintChanged(QPainter& painter, const QRect& rect);
    void PaintFound(QPainter& painter, const QRect& inner, const QString& text, int left);
    void PaintUnknown(QPainter& painter, const QRect& inner, const TGridColumn& column, int textEnd);
    void UpdateRow(int viewRow);

    // Current cell. False: a pending edit, or leaving the column, was refused.
    bool moving = false;
    bool MoveTo(int viewRow, int column);
    bool MoveBy(int rows);
    bool MoveOn(int step); // to the next cell, across rows
    bool PostRow();
    int CurrentRow() const;
    bool Editable(int column) const;
    QString typedSearch;
    QTimer searchPause;
    QString lastFound;
    // The cell that a search found, while it is current.
    struct {
        TBookmark row = 0;
        int column = -1;
    } found;
    void ShowFound(int viewRow, int column);
    bool IsFound(int viewRow, int column) const;
    // The line that finds in the list, while it is there, and what it marks.
    TFindBar* findBar = nullptr;
    const TGridFind* hits = nullptr;
    QString findText; // of last time
    bool findInColumn = false;
    int FindBarHeight() const;
    bool GoToHit(int viewRow, int column);
    void ShowNeighbours(int viewRow);
    void FindAgain(bool backwards);
    void PaintHit(QPainter& painter, const QRect& inner, const QString& text, int left, int column);
    void SearchTyped(const QString& typed);
    bool Navigate(QKeyEvent* event);
    bool HandleKey(QKeyEvent* event);
    struct Command;
    static std::span<const Command> Commands();
    bool RunCommand(const QKeyEvent& event);
    void Escape();
    bool MayUndo() const { return OpenDataSet() && OpenDataSet()->CanUndo(); }
    bool MayRedo() const { return OpenDataSet() && OpenDataSet()->CanRedo(); }
    void UndoStep();
    void RedoStep();
    void UndoRow();
    void Copy(const std::vector<int>& rows, const std::vector<int>& copied, bool withTitles) const;
    void CopyRows(bool withTitles) const;
    void CopyColumn() const;
    void Paste();
    struct Pasted;
    bool PasteRows(const std::vector<int>& into, const std::vector<TBookmark>& rows,
        const std::vector<QStringList>& lines, Pasted& result);
    QString PasteRow(const std::vector<int>& into, const QStringList& cells);
    void FillMenu(QMenu& menu);
    QString ToolTipAt(const QModelIndex& index) const;

    // Rows selected together.
    std::unordered_set<TBookmark> selected;
    TBookmark anchor = 0;
    bool dragging = false;
    QPersistentModelIndex pressed;
    // The row of the last press, so that a double click whose rows moved between its presses opens nothing.
    TBookmark pressedRow = 0;
    QPoint pressedAt; // on the screen
    QElapsedTimer sincePress;
    void SelectOnly(int viewRow);
    void SelectToggle(int viewRow);
    void SelectTo(int viewRow);
    void SelectAfterMove(Qt::KeyboardModifiers modifiers);

    // The open editor.
    QPointer<QWidget> editor;
    int editorColumn = -1;
    bool editorModified = false;
    bool committing = false;
    QWidget* MakeEditor(int column);
    QWidget* MakeListEditor(int column);
    QWidget* MakeLookupEditor(int column);
    QWidget* MakeDateEditor(int column);
    QWidget* MakeTextEditor(int column);
    void PlaceEditor();
    void EditorChanged();
    QString EditorText() const;
    bool AcceptableText(int column, QString& text) const;
    static const QRegularExpression& NumberPattern(); // of columns that take nothing else
    void CloseEditor();
    bool WriteCell(int column, const QString& stored);
    bool BeginEdit();
    void ToggleCheck();
    bool EditorKey(QKeyEvent* event);
    void DropDownEditor();
    QString StoredText(int column, const QString& shown) const;
};
