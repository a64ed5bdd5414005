#pragma once

// A grid in a window over a small table, driven as a user does.

#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Application.h"
#include "tests/runtime/DataSetRows.h"

#include <QApplication>
#include <QScrollBar>
#include <QTest>

class GridTest : public testing::Test {
protected:
    GridTest()
    {
        source.SetDataSet(&orders);
        window.resize(600, 300);
        grid.resize(600, 300);
        orders.OpenRows(ThreeOrders());
    }

    ~GridTest() override { Application->OnException = {}; }

    void Open(std::vector<TColumnEh> columns)
    {
        grid.SetColumns(std::move(columns));
        grid.SetDataSource(&source);
        grid.SetSortLocal(true);
        grid.SetSumListActive(true);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        grid.setFocus();
        Application->OnException = [this](const QString& message) { problems += message; };
    }

    static TColumnEh Titled(const char16_t* field, const char16_t* title, int width = 80)
    {
        TColumnEh column;
        column.fieldName = QString::fromUtf16(field);
        column.title = QString::fromUtf16(title);
        column.width = width;
        column.titleButton = true;
        return column;
    }

    static std::vector<TColumnEh> OrderGridColumns()
    {
        std::vector<TColumnEh> columns = {Titled(u"ID", u"物流号"), Titled(u"STATUS", u"状态"),
            Titled(u"SITE", u"网点|名称"), Titled(u"AMOUNT", u"网点|金额"),
            Titled(u"CREATE_DATE", u"时间", 140)};
        columns[0].readOnly = true;
        columns[1].style = TColumnStyle::KeyPickList;
        columns[1].pickList = {
            QStringLiteral("等待接单"), QStringLiteral("接单成功"), QStringLiteral("接单失败")};
        columns[1].keyList = {QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")};
        columns[3].alignment = TAlignment::Right;
        columns[3].displayFormat = QStringLiteral("0.00");
        return columns;
    }

    // As a user types into whatever has the focus; keys by name in braces: "广州{Return}{Ctrl+Z}".
    static void Type(const QString& typed)
    {
        for (qsizetype i = 0; i < typed.size(); ++i) {
            ASSERT_NE(QApplication::focusWidget(), nullptr);
            if (typed[i] == u'{') {
                const qsizetype end = typed.indexOf(u'}', i);
                const QKeyCombination keys = QKeySequence(typed.sliced(i + 1, end - i - 1))[0];
                QTest::keyClick(QApplication::focusWidget(), keys.key(), keys.keyboardModifiers());
                i = end;
                continue;
            }
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, typed[i]);
            QApplication::sendEvent(QApplication::focusWidget(), &press);
        }
    }
    static void Type(const char16_t* typed) { Type(QString::fromUtf16(typed)); }
    static void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    void TypeInto(QStringView field, const QString& typed)
    {
        grid.SelectField(field);
        Type(typed);
    }

    // What a row shows, with bars between the columns.
    QString RowText(int row) const
    {
        QStringList cells;
        for (int column = 0; column < grid.ColumnCount(); ++column)
            cells += grid.CellText(row, column);
        return cells.join(u'|');
    }

    QPoint CellCentre(int row, int column) const
    {
        return grid.visualRect(grid.model()->index(row, column)).center();
    }

    void Click(int row, int column, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, modifiers, CellCentre(row, column));
    }

    // The names of the selected rows, in the order shown.
    QString Selected() const
    {
        QStringList names;
        for (const TBookmark row : grid.SelectedRows())
            names += orders.ViewText(orders.ViewRowOf(row), 0);
        return names.join(u' ');
    }

    TClientDataSetEx orders;
    TDataSource source;
    QWidget window;
    TDBGridEh grid{&window, QStringLiteral("DataViewGrid")};
    QStringList problems;
};
