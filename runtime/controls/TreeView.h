#pragma once

#include "runtime/Export.h"

#include <QTreeWidget>

// A tree of texts; shared by the host under its objectName, or shown with check boxes in a picker.
class RUNTIME_EXPORT TTreeView : public QTreeWidget {
    Q_OBJECT
public:
    explicit TTreeView(QWidget* parent = nullptr, const QString& name = {});
};
