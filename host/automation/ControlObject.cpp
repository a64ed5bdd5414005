#include "host/automation/ControlObject.h"

#include "host/automation/Input.h"
#include "host/automation/Rows.h"
#include "runtime/controls/DBControls.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QTextEdit>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

void ChooseItem(QComboBox& box, const QString& text)
{
    const int wanted = box.findText(text);
    if (wanted < 0)
        throw std::runtime_error((box.objectName() + u" does not offer "_s + text).toStdString());
    Focus(&box);
    // Arrow keys stop at the ends of the list, so the way is at most its length.
    for (int step = 0; box.currentIndex() != wanted && step < box.count(); ++step)
        PressKey(&box, box.currentIndex() < wanted ? u"Down"_s : u"Up"_s);
    if (box.currentIndex() != wanted)
        throw std::runtime_error((box.objectName() + u" does not take "_s + text).toStdString());
}

QStringList LookupItems(const TDBLookupComboboxEh& box)
{
    const TLookupParams& lookup = box.Lookup();
    const TClientDataSetEx* list = lookup.listSource ? lookup.listSource->DataSet() : nullptr;
    if (!list || !list->Active())
        return {};
    const int field = list->FieldIndex(lookup.listField.isEmpty() ? lookup.keyField : lookup.listField);
    QStringList texts;
    for (int row = 0; row < list->RecordCount(); ++row)
        texts.append(list->ViewText(row, field));
    return texts;
}

// A query or save button that its screen leaves to the frame's toolbar.
bool IsLeftToFrame(const QWidget* widget)
{
    if (!widget->isHidden())
        return false;
    for (const QWidget* above = widget->parentWidget(); above; above = above->parentWidget()) {
        for (const char* property : {"QueryButton", "SaveButton"}) {
            if (above->property(property).value<QObject*>() == widget)
                return true;
        }
    }
    return false;
}

} // namespace

TControlObject::TControlObject(QObject* control)
    : control_(control)
{
}

QObject* TControlObject::Object() const
{
    if (!control_)
        throw std::runtime_error("the control is gone");
    return control_;
}

QWidget* TControlObject::Widget() const
{
    QObject* object = Object();
    if (auto* action = qobject_cast<QAction*>(object)) {
        const QList<QObject*> shownBy = action->associatedObjects();
        for (QObject* candidate : shownBy) {
            auto* button = qobject_cast<QAbstractButton*>(candidate);
            if (button && button->isVisible())
                return button;
        }
        throw std::runtime_error((action->objectName() + u" has no button on the screen"_s).toStdString());
    }
    return static_cast<QWidget*>(object);
}

QString TControlObject::Name() const
{
    return control_ ? control_->objectName() : QString();
}

QString TControlObject::Text() const
{
    return Call(this, [this] {
        const QObject* object = Object();
        if (const auto* combo = qobject_cast<const QComboBox*>(object))
            return combo->currentText();
        if (const auto* memo = qobject_cast<const QPlainTextEdit*>(object))
            return memo->toPlainText();
        if (const auto* memo = qobject_cast<const QTextEdit*>(object))
            return memo->toPlainText();
        return object->property("text").toString();
    });
}

void TControlObject::SetText(const QString& text)
{
    Call(this, [&] {
        QWidget* widget = Widget();
        auto* combo = qobject_cast<QComboBox*>(widget);
        const bool isMemo = qobject_cast<QPlainTextEdit*>(widget) || qobject_cast<QTextEdit*>(widget);
        if (combo && !combo->isEditable()) {
            ChooseItem(*combo, text);
        } else {
            Focus(widget);
            PressKey(widget, u"Ctrl+A"_s);
            PressKey(widget, u"Delete"_s);
            TypeText(text);
        }
        PressKey(widget, isMemo ? u"Ctrl+Return"_s : u"Tab"_s);
        if (QWidget* focused = QApplication::focusWidget(); focused == widget)
            focused->clearFocus();
        Settle();
    });
}

bool TControlObject::Checked() const
{
    return control_ && control_->property("checked").toBool();
}

void TControlObject::SetChecked(bool checked)
{
    if (checked != Checked())
        click();
}

bool TControlObject::Enabled() const
{
    return control_ && control_->property("enabled").toBool();
}

bool TControlObject::Visible() const
{
    return control_ && control_->property("visible").toBool();
}

bool TControlObject::HasFocus() const
{
    return control_ && control_->isWidgetType() && static_cast<QWidget*>(control_.data())->hasFocus();
}

void TControlObject::click()
{
    Call(this, [this] {
        QWidget* widget = Widget();
        auto* button = qobject_cast<QAbstractButton*>(widget);
        if (button && IsLeftToFrame(button)) {
            button->click();
            Settle();
            return;
        }
        // The mark of a box or the text beside it, not the empty rest of its line.
        if (button && button->isCheckable())
            Click(widget, QPoint(widget->fontMetrics().height() / 2, widget->height() / 2));
        else
            Click(widget);
    });
}

void TControlObject::focus()
{
    Call(this, [this] { Focus(Widget()); });
}

void TControlObject::key(const QString& name)
{
    Call(this, [&] {
        QWidget* widget = Widget();
        if (!widget->hasFocus() && !QApplication::activePopupWidget())
            Focus(widget);
        PressKey(widget, name);
    });
}

void TControlObject::type(const QString& text)
{
    Call(this, [&] {
        if (!Widget()->hasFocus())
            Focus(Widget());
        TypeText(text);
    });
}

QStringList TControlObject::items()
{
    return Call(this, [this] {
        QStringList texts;
        QObject* object = Object();
        if (const auto* lookup = qobject_cast<const TDBLookupComboboxEh*>(object))
            return LookupItems(*lookup);
        if (const auto* combo = qobject_cast<const QComboBox*>(object)) {
            for (int index = 0; index < combo->count(); ++index)
                texts.append(combo->itemText(index));
        } else if (const auto* list = qobject_cast<const QListWidget*>(object)) {
            for (int index = 0; index < list->count(); ++index)
                texts.append(list->item(index)->text());
        }
        return texts;
    });
}

} // namespace automation
