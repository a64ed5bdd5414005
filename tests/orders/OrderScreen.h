#pragma once

#include "framework/DataView.h"
#include "framework/frm_ErrorList.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QTimer>

#include <gtest/gtest.h>

// A screen over the orders of a desk, and a clerk's hands.
template <typename Screen, typename Desk> class OrderScreen : public ::testing::Test {
protected:
    void Open()
    {
        screen = MakeScreen<Screen>(&desk.host.App);
        screen->Show();
        QCoreApplication::processEvents();
        desk.host.TakeMessages();
        grid = screen->template findChild<TDataView*>(QStringLiteral("DataView1"))->DataViewGrid;
        cds = screen->template findChild<TClientDataSetEx*>(QStringLiteral("cds"));
    }
    void Press(const QString& button)
    {
        auto* control = screen->template findChild<QAbstractButton*>(button);
        ASSERT_NE(control, nullptr);
        control->click();
        QCoreApplication::processEvents();
    }
    struct FailureList {
        QString caption;
        QStringList rows; // the first is the header
    };
    // Saves, and reads the list of rows that could not be saved while it is open.
    FailureList PressSave()
    {
        FailureList shown;
        QTimer::singleShot(0, screen, [&] {
            for (TForm* form : desk.host.Scr.Forms()) {
                if (auto* list = qobject_cast<Tfrm_ErrorList*>(form)) {
                    shown.caption = list->template findChild<QLabel*>(QStringLiteral("Label1"))->text();
                    shown.rows = list->RowsAsText().split(u'\n', Qt::SkipEmptyParts);
                }
            }
        });
        Press(QStringLiteral("Button1"));
        return shown;
    }

    Desk desk;
    Screen* screen = nullptr;
    TDBGridEh* grid = nullptr;
    TClientDataSetEx* cds = nullptr;
};
