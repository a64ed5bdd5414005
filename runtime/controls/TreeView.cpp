#include "runtime/controls/TreeView.h"

TTreeView::TTreeView(QWidget* parent, const QString& name)
    : QTreeWidget(parent)
{
    setObjectName(name);
    setColumnCount(1);
    setHeaderHidden(true);
    setUniformRowHeights(true);
}
