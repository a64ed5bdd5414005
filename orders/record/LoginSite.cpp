#include "orders/record/LoginSite.h"

#include "company/Headquarters.h"
#include "module/data/HostBridge.h"

using namespace Qt::Literals::StringLiterals;

QString LoginSite()
{
    return GlobalValue(u"site"_s);
}

bool IsAtHeadquarters()
{
    return LoginSite() == company::kHeadquarters;
}

bool IsAtCentre()
{
    return GlobalCds(u"loginSite"_s).FieldByName(u"type").AsString() == company::kCentreType;
}
