#pragma once

#include "reports/frm_Overdue.h"

// 未揽件查询: orders that were accepted and not picked up in time.
class Tfrm_UnRec : public Tfrm_Overdue {
    Q_OBJECT
public:
    explicit Tfrm_UnRec(QObject* owner);
};
