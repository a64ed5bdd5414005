#include "dispatch/frm_order_pda_depute.h"

#include "company/OrderStatus.h"
#include "module/data/MessageBoxes.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderStamps.h"

using namespace Qt::Literals::StringLiterals;

Tfrm_order_pda_depute::Tfrm_order_pda_depute(QObject* owner)
    : Tfrm_order_pda_control(owner, {.status = company::kStatusWaiting, .gaps = false},
        {.site = u"委托网点"_s,
            .offer = u"批量委托"_s,
            .driverQuestion = u"是否进行批量修改可接单网点?"_s,
            .cancelPrompt = u"请输入取消订单的描述"_s})
{
}

void Tfrm_order_pda_depute::btn_SelectClick()
{
    const QString site = TargetSite(u"详细：请输入委托网点！"_s);
    if (site.isEmpty())
        return;
    bool hasSource = false;
    RunBatch({.question = u"是否进行批量修改委托网点?"_s,
        .takes =
            [&hasSource](const TClientDataSetEx& row) {
                const qint64 status = StatusOf(row);
                if (HasText(row, u"BILL_CODE")
                    || (status != company::kStatusWaiting && status != company::kStatusAccepted
                        && status != company::kStatusDispatched))
                    return false;
                const bool ours = IsAtHeadquarters() || !HasText(row, u"ORDERSOURCE");
                hasSource = hasSource || !ours;
                return ours;
            },
        .change =
            [&site](TClientDataSetEx& row) {
                SetText(row, u"PREPARE_SITE", u';' + site + u';');
                ClearField(row, u"CANCEL_DESC");
            },
        .beforeSummary =
            [&] {
                if (hasSource)
                    ShowInformation(u"存在订单来源不为空的订单！这些订单只可以快运本部可以委托"_s, Caption());
            },
        .summaryEnd = u"订单状态不符"_s});
}

void Tfrm_order_pda_depute::CDS_ORDER_PDABeforeEdit()
{
    if (HasText(*cds, u"REC_BILL_MAN"))
        throw TRuleViolation{
            u"详细：该订单已分派给员工，不能修改可接单网点！"_s, {}, TMessageIcon::Information};
}

void Tfrm_order_pda_depute::CDS_ORDER_PDABeforePost()
{
    const QString sites = TextOf(*cds, u"PREPARE_SITE");
    bool offered = StatusOf(*cds) == company::kStatusCancelled;
    if (!offered) {
        if (sites.isEmpty())
            throw TRuleViolation{
                u"详细：该可接单网点不能为空！"_s, u"PREPARE_SITE"_s, TMessageIcon::Information};
        offered = sites.count(u';') < sites.size();
        if (offered)
            cds->FieldByName(u"STATUS").SetAsInteger(company::kStatusAccepted);
    }
    cds->FieldByName(u"BL_DISPART").SetAsInteger(offered ? 1 : 0);
    cds->FieldByName(u"BL_DEPUTE").SetAsInteger(1);
}
