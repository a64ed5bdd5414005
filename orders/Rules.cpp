#include "orders/Rules.h"

#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "orders/OrderRecord.h"

using namespace Qt::Literals::StringLiterals;

void RunRules(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus)
{
    try {
        rules();
    } catch (const TRuleViolation& violation) {
        ShowWarning(violation.message, caption);
        if (focus && !violation.field.isEmpty())
            focus(violation.field);
        Abort();
    } catch (const wire::Error& error) {
        ShowFailure(error.Message(), caption); // a look-up that got no answer: the row waits for another try
        Abort();
    }
}

void SetText(TClientDataSetEx& cds, const char16_t* field, const QString& text)
{
    TField& target = cds.FieldByName(QStringView(field));
    if (target.AsString() != text)
        target.SetAsString(text);
}

void ClearField(TClientDataSetEx& cds, const char16_t* field)
{
    TField& target = cds.FieldByName(QStringView(field));
    if (!target.IsNull())
        target.Clear();
}

bool HasText(const TClientDataSetEx& cds, const char16_t* field)
{
    return !cds.FieldByName(QStringView(field)).IsNull();
}

QString TextOf(const TClientDataSetEx& cds, const char16_t* field)
{
    return cds.FieldByName(QStringView(field)).AsString();
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

void StampModifier(TClientDataSetEx& cds)
{
    SetText(cds, u"MODIFIER", GlobalValue(u"EmployeeName"_s));
    SetText(cds, u"MODIFY_CODE", GlobalValue(u"EmployeeCode"_s));
    SetText(cds, u"MODIFY_SITE", GlobalValue(u"site"_s));
}
