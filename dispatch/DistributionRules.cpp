#include "dispatch/DistributionRules.h"

#include "company/CandidateSites.h"
#include "company/OrderStatus.h"

using namespace Qt::Literals::StringLiterals;

void CheckDistribution(TClientDataSetEx& cds, const TClerk& clerk)
{
    RequireReasonFor(cds, company::kStatusRefused, clerk, u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s);
    StampModifier(cds, clerk.site);
}

QString ChosenSitesMessage(qsizetype length)
{
    if (length <= company::kMaxCandidateText)
        return {};
    return u"详细：您选择的网点列表长度为\"%1\"，超过\"200\"个字符的最大长度！"_s.arg(length);
}
