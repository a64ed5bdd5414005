#pragma once

#include "runtime/controls/TreeView.h"
#include "runtime/ui/Forms.h"

#include <QLineEdit>
#include <QPushButton>

// Chooses sites by checking them in a copy of the host's site tree.
class Tfrm_SiteTreePicker : public TForm {
    Q_OBJECT
public:
    // With `withChildren`, checking or clearing a site does the same to every site below it.
    Tfrm_SiteTreePicker(QObject* owner, const TTreeView& sites, bool withChildren);

    // Shows the tree with the sites of the list checked, those that a ";" follows. Returns ";" and each
    // checked site followed by ";", in the order of the tree; empty when none is checked or the picker was
    // closed without confirming.
    static QString Execute(
        const QString& caption, const TTreeView& sites, const QString& siteList, bool withChildren = true);

    // Checks exactly these sites, each for itself.
    void SetChecked(const QStringList& sites);
    QString CheckedList() const;
    // Goes to the next site whose name holds the text or whose pinyin initials begin with it.
    bool FindNext(const QString& text);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void TreeItemChanged(QTreeWidgetItem* item);
    void AnswerForUser();

    QLineEdit* Edit1; // 查找
    TTreeView* Tree1;
    QPushButton* Button1; // 确定
    QPushButton* Button2; // 取消
    bool withChildren_;
    bool confirmed_ = false;
};
