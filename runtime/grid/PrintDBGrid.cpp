#include "runtime/grid/PrintDBGrid.h"

TPrintDBGridEh::TPrintDBGridEh(QObject* grid, const QString& name)
    : QObject(grid)
{
    setObjectName(name);
}
