#include "reports/frm_UnAccept.h"

Tfrm_UnAccept::Tfrm_UnAccept(QObject* owner)
    : Tfrm_Overdue(owner, kNotAccepted)
{
}
