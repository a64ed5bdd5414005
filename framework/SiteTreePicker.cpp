#include "framework/SiteTreePicker.h"

#include "runtime/data/Collation.h"
#include "runtime/ui/Application.h"

#include <QLabel>
#include <QSignalBlocker>
#include <QTimer>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

void SetCheckedWithChildren(QTreeWidgetItem* item, Qt::CheckState state)
{
    item->setCheckState(0, state);
    for (int i = 0; i < item->childCount(); ++i)
        SetCheckedWithChildren(item->child(i), state);
}

} // namespace

Tfrm_SiteTreePicker::Tfrm_SiteTreePicker(QObject* owner, const TTreeView& sites, bool withChildren)
    : TForm(owner, u"frm_SiteTreePicker"_s)
    , Edit1(new QLineEdit(this))
    , Tree1(new TTreeView(this, u"Tree1"_s))
    , Button1(new QPushButton(u"确定(&Y)"_s, this))
    , Button2(new QPushButton(u"取消(&N)"_s, this))
    , withChildren_(withChildren)
{
    Edit1->setObjectName(u"Edit1"_s);
    Edit1->setPlaceholderText(u"网点名称或拼音首字母，回车找下一个"_s);
    Edit1->setClearButtonEnabled(true);
    Button1->setObjectName(u"Button1"_s);
    Button2->setObjectName(u"Button2"_s);
    Tree1->setHeaderHidden(true);
    Tree1->setColumnCount(1);
    Tree1->setAccessibleName(u"网点"_s);
    for (int i = 0; i < sites.topLevelItemCount(); ++i)
        Tree1->addTopLevelItem(sites.topLevelItem(i)->clone());
    SetChecked({});
    if (Tree1->topLevelItemCount() > 0)
        Tree1->setCurrentItem(Tree1->topLevelItem(0));

    auto* label = new QLabel(u"查找(&F)"_s, this);
    label->setBuddy(Edit1);
    Edit1->setAccessibleName(u"查找"_s);
    auto* search = new QHBoxLayout;
    search->addWidget(label);
    search->addWidget(Edit1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(Button1);
    buttons->addWidget(Button2);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(search);
    layout->addWidget(Tree1, 1);
    layout->addLayout(buttons);
    resize(fontMetrics().averageCharWidth() * 42, fontMetrics().lineSpacing() * 32);

    connect(Tree1, &QTreeWidget::itemChanged, this, &Tfrm_SiteTreePicker::TreeItemChanged);
    connect(Edit1, &QLineEdit::returnPressed, this, [this] { FindNext(Edit1->text()); });
    connect(Button1, &QPushButton::clicked, this, [this] {
        confirmed_ = true;
        Close();
    });
    connect(Button2, &QPushButton::clicked, this, [this] { Close(); });
}

QString Tfrm_SiteTreePicker::Execute(
    const QString& caption, const TTreeView& sites, const QString& siteList, bool withChildren)
{
    // Frees itself once closed, but not before control is back in the event loop.
    const QPointer<Tfrm_SiteTreePicker> picker = new Tfrm_SiteTreePicker(Application, sites, withChildren);
    picker->SetCaption(caption);
    picker->SetChecked(siteList.left(siteList.lastIndexOf(u';') + 1).split(u';', Qt::SkipEmptyParts));
    picker->ShowModal();
    return picker && picker->confirmed_ ? picker->CheckedList() : QString();
}

void Tfrm_SiteTreePicker::SetChecked(const QStringList& sites)
{
    const QSignalBlocker quiet(Tree1);
    const QSet<QString> wanted(sites.begin(), sites.end());
    for (QTreeWidgetItemIterator item(Tree1); *item; ++item) {
        const bool checked = wanted.contains((*item)->text(0));
        (*item)->setFlags((*item)->flags() | Qt::ItemIsUserCheckable);
        (*item)->setCheckState(0, checked ? Qt::Checked : Qt::Unchecked);
        for (QTreeWidgetItem* parent = checked ? (*item)->parent() : nullptr; parent;
             parent = parent->parent())
            parent->setExpanded(true);
    }
}

QString Tfrm_SiteTreePicker::CheckedList() const
{
    QString list;
    for (QTreeWidgetItemIterator item(Tree1, QTreeWidgetItemIterator::Checked); *item; ++item)
        list += (*item)->text(0) + u';';
    return list.isEmpty() ? list : u';' + list;
}

bool Tfrm_SiteTreePicker::FindNext(const QString& text)
{
    if (text.isEmpty())
        return false;
    const auto matches = [&](const QTreeWidgetItem* item) {
        return item->text(0).contains(text, Qt::CaseInsensitive)
            || PinyinInitials(item->text(0)).startsWith(text, Qt::CaseInsensitive);
    };
    QTreeWidgetItem* first = nullptr;
    bool passed = Tree1->currentItem() == nullptr;
    for (QTreeWidgetItemIterator item(Tree1); *item; ++item) {
        if (matches(*item) && passed) {
            Tree1->setCurrentItem(*item);
            return true;
        }
        if (!first && matches(*item))
            first = *item;
        passed = passed || *item == Tree1->currentItem();
    }
    if (first)
        Tree1->setCurrentItem(first);
    return first != nullptr;
}

void Tfrm_SiteTreePicker::TreeItemChanged(QTreeWidgetItem* item)
{
    if (!withChildren_)
        return;
    const QSignalBlocker quiet(Tree1);
    SetCheckedWithChildren(item, item->checkState(0));
    Tree1->viewport()->update();
}

void Tfrm_SiteTreePicker::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    Edit1->setFocus();
    // Once the picker stands, so that an answer given beforehand goes through its controls.
    QTimer::singleShot(0, this, &Tfrm_SiteTreePicker::AnswerForUser);
}

void Tfrm_SiteTreePicker::AnswerForUser()
{
    QStringList answer;
    if (Application->TakeAnswer(answer)) {
        if (answer.size() == 1 && answer.front().compare(u"cancel"_s, Qt::CaseInsensitive) == 0) {
            Button2->click();
            return;
        }
        const bool asTheyStand =
            answer.size() == 1 && answer.front().compare(u"ok"_s, Qt::CaseInsensitive) == 0;
        if (!asTheyStand)
            SetChecked(answer);
        Button1->click();
    } else if (Application->Unattended) {
        Button2->click();
    }
}
