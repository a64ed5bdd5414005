#include "host/automation/GridObject.h"

#include "host/automation/Input.h"
#include "host/automation/Rows.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <algorithm>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

[[noreturn]] void Fail(const QString& message)
{
    throw std::runtime_error(message.toStdString());
}

// Puts the text into an open cell editor, as typed or chosen. A row that may not be edited closes it at the
// first change.
void FillEditor(const QPointer<QWidget>& editor, const QString& text)
{
    if (auto* box = qobject_cast<QComboBox*>(editor.data()); box && !box->isEditable()) {
        const int wanted = box->findText(text);
        if (wanted < 0)
            Fail(u"the cell does not offer "_s + text);
        for (int step = 0; box->currentIndex() != wanted && step < box->count(); ++step)
            PressKey(box, box->currentIndex() < wanted ? u"Down"_s : u"Up"_s);
        return;
    }
    PressKey(editor, u"Ctrl+A"_s);
    if (text.isEmpty())
        PressKey(editor, u"Delete"_s);
    TypeText(text.left(1));
    if (editor && editor->isVisible())
        TypeText(text.mid(1));
}

} // namespace

TGridObject::TGridObject(TDBGridEh* grid)
    : grid_(grid)
{
}

TDBGridEh* TGridObject::Grid() const
{
    if (!grid_)
        throw std::runtime_error("the grid is gone");
    return grid_;
}

int TGridObject::Column(const QString& name) const
{
    const TDBGridEh* grid = Grid();
    int found = grid->ColumnIndex(name);
    for (int column = 0; found < 0 && column < grid->ColumnCount(); ++column) {
        if (grid->Column(column).title == name)
            found = column;
    }
    if (found < 0)
        Fail(grid->objectName() + u" has no column "_s + name);
    return found;
}

QModelIndex TGridObject::Index(int row, const QString& field) const
{
    TDBGridEh* grid = Grid();
    const int column = Column(field);
    if (row < 0 || row >= grid->model()->rowCount())
        Fail(grid->objectName() + u" has no row "_s + QString::number(row));
    return grid->model()->index(row, column);
}

int TGridObject::BringTitleIntoView(const QString& field) const
{
    TDBGridEh* grid = Grid();
    const int column = Column(field);
    grid->scrollTo(grid->model()->index(0, column));
    Settle();
    return column;
}

QPoint TGridObject::PlaceOf(const QModelIndex& index) const
{
    TDBGridEh* grid = Grid();
    grid->scrollTo(index);
    Settle();
    const QRect cell = grid->visualRect(index).intersected(grid->viewport()->rect());
    if (cell.isEmpty())
        Fail(u"the cell cannot be seen"_s);
    return cell.center();
}

QString TGridObject::Name() const
{
    return grid_ ? grid_->objectName() : QString();
}

int TGridObject::RowCount() const
{
    return grid_ ? grid_->model()->rowCount() : 0;
}

int TGridObject::Current() const
{
    const TClientDataSetEx* rows = grid_ ? grid_->DataSet() : nullptr;
    return rows && rows->Active() ? rows->RecNo() - 1 : -1;
}

void TGridObject::SetCurrent(int row)
{
    Call(this, [&] {
        TDBGridEh* grid = Grid();
        const int column = std::max(0, grid->SelectedIndex());
        for (int candidate = column; candidate < grid->ColumnCount(); ++candidate) {
            if (!grid->Column(candidate).fieldName.isEmpty() && grid->Column(candidate).visible) {
                Click(grid->viewport(), PlaceOf(Index(row, grid->Column(candidate).fieldName)));
                return;
            }
        }
        Fail(u"the grid has no column to click"_s);
    });
}

QJSValue TGridObject::columns()
{
    return Call(this, [this] {
        const TDBGridEh* grid = Grid();
        QJSEngine* engine = qjsEngine(this);
        QJSValue array = engine->newArray(static_cast<uint>(grid->ColumnCount()));
        for (int index = 0; index < grid->ColumnCount(); ++index) {
            const TColumnEh& column = grid->Column(index);
            QJSValue object = engine->newObject();
            object.setProperty(u"field"_s, column.fieldName);
            object.setProperty(u"caption"_s, column.title);
            object.setProperty(u"visible"_s, column.visible);
            object.setProperty(u"width"_s, column.width);
            array.setProperty(static_cast<quint32>(index), object);
        }
        return array;
    });
}

QString TGridObject::cell(int row, const QString& field)
{
    return Call(this, [&] { return Grid()->CellText(row, Index(row, field).column()); });
}

QJSValue TGridObject::value(int row, const QString& field)
{
    return Call(this, [&] {
        const TClientDataSetEx* rows = Grid()->DataSet();
        int index = rows ? rows->FieldIndex(field) : -1;
        if (rows && index < 0)
            index = rows->FieldIndex(Grid()->Column(Column(field)).fieldName);
        if (index < 0 || row < 0 || row >= rows->RecordCount())
            Fail(u"there is no "_s + field + u" in row "_s + QString::number(row));
        return ToScript(rows->ViewValue(row, index));
    });
}

bool TGridObject::edit(int row, const QString& field, const QString& text)
{
    return Call(this, [&] {
        TDBGridEh* grid = Grid();
        const QPersistentModelIndex index = Index(row, field);
        Click(grid->viewport(), PlaceOf(index));
        if (grid->currentIndex() != index)
            return false;
        PressKey(grid, u"F2"_s);
        QWidget* editor = grid->indexWidget(index);
        if (!editor)
            editor = QApplication::focusWidget();
        if (!editor || editor == grid || !grid->isAncestorOf(editor))
            return false;
        const QPointer<QWidget> open = editor;
        FillEditor(open, text);
        if (!open || !open->isVisible())
            return false;
        PressKey(editor, u"Return"_s);
        return !open || !open->isVisible() || grid->CommitEditor();
    });
}

void TGridObject::select(const QList<int>& rows)
{
    Call(this, [&] {
        TDBGridEh* grid = Grid();
        QString field;
        for (int column = 0; column < grid->ColumnCount() && field.isEmpty(); ++column) {
            if (grid->Column(column).visible)
                field = grid->Column(column).fieldName;
        }
        grid->ClearSelectedRows();
        for (const int row : rows)
            Click(grid->viewport(), PlaceOf(Index(row, field)), Qt::ControlModifier);
    });
}

QList<int> TGridObject::selected()
{
    return Call(this, [this] {
        QList<int> rows;
        const TDBGridEh* grid = Grid();
        for (const TBookmark row : grid->SelectedRows())
            rows.append(grid->DataSet()->ViewRowOf(row));
        return rows;
    });
}

void TGridObject::clickTitle(const QString& field)
{
    Call(this, [&] {
        const int column = BringTitleIntoView(field);
        QHeaderView* titles = Grid()->horizontalHeader();
        const int left = titles->sectionViewportPosition(column);
        // The lowest line of the title is the column's own; those above may be shared.
        Click(titles->viewport(), QPoint(left + titles->sectionSize(column) / 2, titles->height() - 6));
    });
}

void TGridObject::resize(const QString& field, int width)
{
    Call(this, [&] {
        const int column = BringTitleIntoView(field);
        const QHeaderView* titles = Grid()->horizontalHeader();
        const QPoint edge(
            titles->sectionViewportPosition(column) + titles->sectionSize(column) - 2, titles->height() - 6);
        Drag(titles->viewport(), edge, edge + QPoint(width - titles->sectionSize(column), 0));
    });
}

void TGridObject::click(int row, const QString& field)
{
    Call(this, [&] { Click(Grid()->viewport(), PlaceOf(Index(row, field))); });
}

void TGridObject::doubleClick(int row, const QString& field)
{
    Call(this, [&] { DoubleClick(Grid()->viewport(), PlaceOf(Index(row, field))); });
}

void TGridObject::key(const QString& name)
{
    Call(this, [&] {
        TDBGridEh* grid = Grid();
        const QWidget* focused = QApplication::focusWidget();
        if (focused != grid && !(focused && grid->isAncestorOf(focused)))
            Focus(grid);
        PressKey(grid, name);
    });
}

QString TGridObject::footer(const QString& field, int line)
{
    return Call(this, [&] {
        const TDBGridEh* grid = Grid();
        return grid->FooterText(line < 0 ? grid->FooterRowCount() - 1 : line, Column(field));
    });
}

QString TGridObject::color(int row)
{
    return Call(this, [&]() -> QString {
        const TDBGridEh* grid = Grid();
        for (int column = 0; column < grid->ColumnCount(); ++column) {
            if (!grid->Column(column).visible || grid->Column(column).fieldName.isEmpty())
                continue;
            // As painting asks for it.
            TCellParams params{grid->palette().color(QPalette::Base), {}, {}};
            Index(row, grid->Column(column).fieldName);
            if (grid->OnGetCellParams)
                grid->OnGetCellParams(grid->Column(column), row, params);
            return params.background.name();
        }
        Fail(u"the grid shows no column"_s);
    });
}

} // namespace automation
