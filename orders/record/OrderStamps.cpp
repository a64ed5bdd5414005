#include "orders/record/OrderStamps.h"

#include "module/data/HostBridge.h"
#include "orders/record/LoginSite.h"

using namespace Qt::Literals::StringLiterals;

TClerk LoginClerk()
{
    return {LoginSite(), GlobalValue(u"employeeName"_s)};
}

qint64 StatusOf(const TClientDataSetEx& cds)
{
    return cds.FieldByName(u"STATUS").AsInteger();
}

void StampCancellation(TClientDataSetEx& cds, const TClerk& clerk)
{
    if (cds.FieldByName(u"BL_CANCEL").AsInteger() != 0)
        return;
    cds.FieldByName(u"BL_CANCEL").SetAsInteger(1);
    cds.FieldByName(u"CANCEL_DATE").SetAsDateTime(ServerDateTime());
    SetText(cds, u"CANCEL_SITE", clerk.site);
    SetText(cds, u"CANCEL_MAN", clerk.employeeName);
}

void ClearCancellation(TClientDataSetEx& cds)
{
    cds.FieldByName(u"BL_CANCEL").SetAsInteger(0);
    ClearField(cds, u"CANCEL_DESC");
    ClearField(cds, u"CANCEL_SITE");
    ClearField(cds, u"CANCEL_MAN");
    ClearField(cds, u"CANCEL_DATE");
}

void RequireReasonFor(TClientDataSetEx& cds, int status, const TClerk& clerk, const QString& missingReason)
{
    if (StatusOf(cds) == status) {
        if (!HasText(cds, u"CANCEL_DESC"))
            throw TRuleViolation{missingReason, u"CANCEL_DESC"_s};
        StampCancellation(cds, clerk);
    } else if (HasText(cds, u"CANCEL_DESC")) {
        ClearCancellation(cds);
    }
}

TModifier PresentModifier()
{
    return {GlobalValue(u"EmployeeName"_s), GlobalValue(u"EmployeeCode"_s), LoginSite()};
}

void StampModifier(TClientDataSetEx& cds)
{
    StampModifier(cds, PresentModifier());
}

void StampModifier(TClientDataSetEx& cds, const TModifier& modifier)
{
    SetText(cds, u"MODIFIER", modifier.employeeName);
    SetText(cds, u"MODIFY_CODE", modifier.employeeCode);
    SetText(cds, u"MODIFY_SITE", modifier.site);
}

void StampModifier(TClientDataSetEx& cds, const QString& site)
{
    StampModifier(cds, {GlobalValue(u"EmployeeName"_s), GlobalValue(u"EmployeeCode"_s), site});
}
