#include "framework/LabelledControls.h"

#include "module/data/DateRange.h"

#include <QAction>
#include <QFrame>

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

QWidget* NewLegend(QWidget* parent, const QColor& color, const QString& text)
{
    auto* legend = new QWidget(parent);
    legend->setObjectName(u"Legend"_s);
    auto* patch = new QFrame(legend);
    patch->setFrameShape(QFrame::Box);
    patch->setAutoFillBackground(true);
    QPalette palette = patch->palette();
    palette.setColor(QPalette::Window, color);
    patch->setPalette(palette);
    const int side = legend->fontMetrics().ascent();
    patch->setFixedSize(side, side);
    auto* row = new QHBoxLayout(legend);
    row->setContentsMargins(8, 3, 8, 3);
    row->addWidget(patch);
    row->addWidget(new QLabel(text, legend));
    row->addStretch(1);
    return legend;
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
