#pragma once

#include "runtime/controls/DBControls.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

class QAction;

// Controls with their labels, as the panels above a list set them out.

// A label that leads to the control and names it for screen readers; "&" marks its key.
QLabel* LabelFor(QWidget* control, const QString& text, QWidget* parent);
// Puts label and control at the end of the row, the control at most so many characters wide (0: as wide as it
// likes). Returns the label.
QLabel* AddControl(QBoxLayout& row, const QString& label, QWidget* control, int characters = 0);
// Two date editors, preset to the whole of today.
void AddDateRange(QBoxLayout& row, TDBDateTimeEditEh* from, const QString& fromLabel, TDBDateTimeEditEh* to,
    const QString& toLabel);
// A line that says what a colour of the list means, with a patch of it.
QWidget* NewLegend(QWidget* parent, const QColor& color, const QString& text);
QPushButton* NewButton(QWidget* parent, const QString& name, const QString& caption);
// A button that runs the action and is named after it, with "Button" behind.
QToolButton* NewActionButton(QWidget* parent, QAction* action);
