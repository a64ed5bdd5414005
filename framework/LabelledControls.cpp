#include "framework/LabelledControls.h"

#include "module/data/DateRange.h"

#include <QAction>

using namespace Qt::Literals::StringLiterals;

QLabel* LabelFor(QWidget* control, const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setBuddy(control);
    // The marked letter stands in brackets behind the caption: 优惠券(&Y).
    control->setAccessibleName(text.section(u"(&"_s, 0, 0));
    return label;
}

QLabel* AddControl(QBoxLayout& row, const QString& label, QWidget* control, int characters)
{
    QLabel* made = LabelFor(control, label, control->parentWidget());
    row.addWidget(made);
    row.addWidget(control);
    if (characters > 0)
        control->setMaximumWidth(control->fontMetrics().averageCharWidth() * characters);
    return made;
}

void AddDateRange(QBoxLayout& row, TDBDateTimeEditEh* from, const QString& fromLabel, TDBDateTimeEditEh* to,
    const QString& toLabel)
{
    AddControl(row, fromLabel, from);
    AddControl(row, toLabel, to);
    from->SetText(StartOfToday());
    to->SetText(EndOfToday());
}

QPushButton* NewButton(QWidget* parent, const QString& name, const QString& caption)
{
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    return button;
}

QToolButton* NewActionButton(QWidget* parent, QAction* action)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(action->objectName() + u"Button"_s);
    button->setDefaultAction(action);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}
