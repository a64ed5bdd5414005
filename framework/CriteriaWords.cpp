#include "framework/CriteriaWords.h"

#include "framework/DataView.h"
#include "framework/NumberListInput.h"
#include "framework/frm_Basic.h"
#include "runtime/ui/ActionKeys.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QLabel>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStackedWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

Tfrm_Basic* ScreenOf(const QWidget& widget)
{
    for (QWidget* above = widget.parentWidget(); above; above = above->parentWidget()) {
        if (auto* screen = qobject_cast<Tfrm_Basic*>(above))
            return screen;
    }
    return nullptr;
}

// A box of the screen itself, on whatever page: not of a list, nor a part of another box.
bool IsCriterion(const Tfrm_Basic& screen, const QWidget& box)
{
    if (box.objectName().isEmpty() || BelongsToRow(box) || box.isHidden() || !box.isEnabled()
        || ServesAction(box))
        return false;
    for (const QWidget* around = box.parentWidget(); around && around != &screen;
         around = around->parentWidget()) {
        const bool otherPage = qobject_cast<const QStackedWidget*>(around->parentWidget());
        if (qobject_cast<const TDataView*>(around) || qobject_cast<const QComboBox*>(around)
            || qobject_cast<const QAbstractItemView*>(around) || (around->isHidden() && !otherPage))
            return false;
    }
    return true;
}

QString Tidied(QString label)
{
    label.remove(QRegularExpression(uR"(\(&.\)|&|[:：]\s*$)"_s));
    return label.trimmed();
}

QString LabelOf(const Tfrm_Basic& screen, const QWidget& box)
{
    for (const QLabel* label : screen.findChildren<QLabel*>()) {
        if (label->buddy() == &box)
            return Tidied(label->text());
    }
    return Tidied(box.accessibleName());
}

// Empty where the box asks nothing.
QString WordsOf(const Tfrm_Basic& screen, const QWidget& box)
{
    if (const auto* button = qobject_cast<const QAbstractButton*>(&box))
        return button->isChecked() && !button->text().isEmpty() ? Tidied(button->text()) : QString();
    QString text;
    if (const auto* date = qobject_cast<const TDBDateTimeEditEh*>(&box))
        text = date->Text();
    else if (const auto* edit = qobject_cast<const QLineEdit*>(&box))
        text = edit->text();
    else if (const auto* combo = qobject_cast<const QComboBox*>(&box))
        text = combo->currentText() == kAnything ? QString() : combo->currentText();
    else if (const auto* memo = qobject_cast<const QPlainTextEdit*>(&box)) {
        const auto numbers = memo->toPlainText().split(u'\n', Qt::SkipEmptyParts).size();
        return numbers > 0 ? u"%1 个单号"_s.arg(numbers) : QString();
    }
    text = text.trimmed();
    const QString label = LabelOf(screen, box);
    return text.isEmpty() || label.isEmpty() ? text : label + u' ' + text;
}

bool MayAsk(const QWidget& box)
{
    if (qobject_cast<const QPlainTextEdit*>(&box)) {
        const auto* list = qobject_cast<const TNumberListInput*>(box.parentWidget());
        return list && (list->FirstWay() || list->SecondWay());
    }
    return qobject_cast<const QLineEdit*>(&box) || qobject_cast<const QComboBox*>(&box)
        || qobject_cast<const QCheckBox*>(&box) || qobject_cast<const QRadioButton*>(&box);
}

} // namespace

bool BelongsToRow(const QWidget& box)
{
    const auto* binding = box.findChild<TDBBinding*>(QString(), Qt::FindDirectChildrenOnly);
    return binding && binding->Bound();
}

bool ServesAction(const QWidget& box)
{
    const QWidget* panel = box.parentWidget();
    if (!panel || qobject_cast<const TNumberListInput*>(panel))
        return false;
    bool acts = false;
    for (const QAbstractButton* button :
        panel->findChildren<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (PlainActionText(button->text()) == u"查询")
            return false;
        acts = acts || !(qobject_cast<const QCheckBox*>(button) || qobject_cast<const QRadioButton*>(button));
    }
    return acts;
}

TCriteriaWords::TCriteriaWords(TDataView& view)
    : QObject(&view)
    , view_(view)
{
    connect(view.DataViewGrid->model(), &QAbstractItemModel::modelReset, this, &TCriteriaWords::Gather);
}

// Sorting and filtering reset the rows, too; a new query has another text.
void TCriteriaWords::Gather()
{
    const TClientDataSetEx* rows = view_.DataViewGrid->DataSet();
    if (!rows || !rows->Active() || rows->CommandText() == query_)
        return;
    const Tfrm_Basic* screen = ScreenOf(view_);
    if (!screen || (screen->DataView() && screen->DataView() != &view_))
        return;
    query_ = rows->CommandText();
    words_.clear();
    for (const QWidget* box : screen->findChildren<QWidget*>()) {
        if (MayAsk(*box) && IsCriterion(*screen, *box))
            words_ += WordsOf(*screen, *box);
    }
    words_.removeAll(QString());
}

QString TCriteriaWords::Text() const
{
    QStringList words = words_;
    for (const TDBGridEh::Filter& filter : view_.DataViewGrid->Filters()) {
        const int column = view_.DataViewGrid->ColumnIndex(filter.field);
        const QString title = column < 0 ? filter.field : view_.DataViewGrid->Column(column).title;
        words += u"筛选 "_s + QString(title).replace(u'|', u" · "_s) + u' ' + filter.Words();
    }
    return words.join(u"；"_s);
}
