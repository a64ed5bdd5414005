#pragma once

#include "reports/frm_Overdue.h"

// 未接单查询: orders that no site has accepted in time.
class Tfrm_UnAccept : public Tfrm_Overdue {
    Q_OBJECT
public:
    explicit Tfrm_UnAccept(QObject* owner);
};
