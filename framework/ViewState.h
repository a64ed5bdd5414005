#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/grid/DBGrid.h"

#include <QObject>

// How an account left a list, beside the stored layout that all accounts of the machine share: the order and
// widths of the columns, which of them are hidden and frozen, and the order of the rows. Nothing is kept
// where nobody is logged in.
class TViewState : public QObject {
    Q_OBJECT
public:
    // There is a settings file; `section` is the layout's in it. The grid has its columns and its dataset.
    TViewState(QObject* owner, TDBGridEh& grid, const QString& section);
    // Keeps the state; the grid still lives, its dataset may be gone.
    ~TViewState() override;

    void RestoreColumns();
    // Once the titles can be clicked. Rows that are not there yet come in that order.
    void RestoreSorting();

private:
    void Write();
    QString Sorting() const;

    TDBGridEh& grid_;
    QString section_; // empty: keeps nothing
    int frozen_; // as the screen has it
    QString sorting_; // as last seen
};

// The section of an account's own settings behind the name; empty where nobody is logged in.
QString AccountSection(const QString& name);
