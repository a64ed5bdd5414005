#include "framework/FlowRow.h"

#include "framework/FilterPane.h"
#include "framework/FlowGrid.h"
#include "framework/LabelledControls.h"

#include <QCoreApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// However wide the panel: what is shown lies in it, nothing upon another, each label beside its control.
TEST(FlowRow, GoesOnInASecondLineAndKeepsLabelsBesideTheirControls)
{
    QWidget panel;
    auto* row = new TFlowRow(&panel);
    std::vector<std::pair<QWidget*, QWidget*>> pairs;
    for (const QString& text : {u"省份"_s, u"城市"_s, u"区/县"_s}) {
        auto* box = new QLineEdit(&panel);
        box->setFixedWidth(120);
        pairs.emplace_back(AddControl(*row, text, box), box);
    }
    row->addSpacing(16);
    row->addWidget(NewButton(&panel, u"Button1"_s, u"查询"_s));
    auto* hidden = NewButton(&panel, u"Button2"_s, u"保存"_s);
    hidden->hide();
    row->addWidget(hidden);
    row->addStretch(1);
    panel.show();

    int lines = 0;
    for (const int width : {900, 420, 240, row->minimumSize().width()}) {
        panel.resize(width, row->heightForWidth(width));
        const int height = panel.height();
        EXPECT_GE(height, lines) << "narrower, not lower";
        lines = height;
        QRegion taken;
        for (const QWidget* shown : panel.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (shown->isHidden())
                continue;
            EXPECT_TRUE(panel.rect().contains(shown->geometry())) << width;
            EXPECT_FALSE(taken.intersects(shown->geometry())) << width;
            taken += shown->geometry();
        }
        for (const auto& [label, box] : pairs)
            EXPECT_EQ(label->geometry().center().y(), box->geometry().center().y()) << width;
    }
    EXPECT_GT(lines, 3 * panel.fontMetrics().height());
}

// Boxes of one column stand below one another, each beside its label; narrower, in fewer columns.
TEST(FlowGrid, KeepsItsColumnsWhileTheyFitAndHasFewerThen)
{
    QWidget panel;
    auto* grid = new TFlowGrid(&panel, 3, 40);
    std::vector<QLineEdit*> boxes;
    for (int i = 0; i < 5; ++i) {
        boxes.push_back(new QLineEdit(&panel));
        boxes.back()->setMinimumWidth(i == 0 ? 150 : 80);
        grid->AddBox(LabelFor(boxes.back(), u"箱%1"_s.arg(i), &panel), boxes.back(), i == 4 ? 2 : 1);
    }
    panel.show();
    const struct {
        int width, lines, sameColumn;
    } cases[] = {{900, 2, 3}, {500, 2, 3}, {380, 3, 2}, {grid->minimumSize().width(), 5, 1}};
    for (const auto& [width, lines, sameColumn] : cases) {
        panel.resize(width, grid->heightForWidth(width));
        QSet<int> tops;
        QRegion taken;
        for (const QWidget* shown : panel.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            EXPECT_TRUE(panel.rect().contains(shown->geometry())) << width;
            EXPECT_FALSE(taken.intersects(shown->geometry())) << width;
            taken += shown->geometry();
            tops += shown->y();
        }
        EXPECT_EQ(tops.size(), lines) << width;
        EXPECT_EQ(boxes[0]->x(), boxes[size_t(sameColumn)]->x()) << width;
        EXPECT_GE(boxes[0]->width(), 150) << width;
        EXPECT_EQ(boxes[4]->geometry().right(), panel.rect().right()) << width;
    }
}

// In a low window the list keeps its rows, and the filters above it are scrolled to.
TEST(FilterPane, GivesWayToTheListBelow)
{
    QWidget window;
    auto* filters = new QWidget(&window);
    auto* rows = new QVBoxLayout(filters);
    std::vector<QLineEdit*> boxes;
    for (int i = 0; i < 6; ++i)
        rows->addWidget(boxes.emplace_back(new QLineEdit(filters)));
    auto* list = new TBelowFilters<QPlainTextEdit>(&window);
    list->setMinimumHeight(200);
    auto* pane = new TFilterPane(&window, {filters});
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(pane);
    layout->addWidget(list, 1);
    window.show();
    window.activateWindow();
    const auto resize = [&](int height) {
        window.resize(400, height);
        QCoreApplication::processEvents();
    };
    resize(700);
    EXPECT_FALSE(pane->verticalScrollBar()->isVisible());
    EXPECT_EQ(pane->height(), pane->sizeHint().height());
    resize(320);
    EXPECT_GE(list->height(), 200);
    EXPECT_TRUE(pane->verticalScrollBar()->isVisible());
    boxes.back()->setFocus();
    EXPECT_TRUE(pane->rect().contains(boxes.back()->mapTo(pane, boxes.back()->rect().center())));
    EXPECT_EQ(boxes.back()->nextInFocusChain(), list) << "Tab goes on as before the panels were put there";
}
