#include "reports/frm_UnRec.h"

Tfrm_UnRec::Tfrm_UnRec(QObject* owner)
    : Tfrm_Overdue(owner, kNotPickedUp)
{
}
