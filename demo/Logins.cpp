#include "demo/Generator.h"
#include "demo/Network.h"

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

// The first employee of a site logs in.
Login LoginAt(const QString& account, const QString& siteName, const QString& role, const QString& userType)
{
    const Network& network = TheNetwork();
    const Site& site = network.Named(siteName);
    const Employee& employee = network.employees[static_cast<size_t>(site.firstEmployee)];
    return {account, employee.code, siteName + u" · "_s + role, userType, u"111"_s};
}

} // namespace

const std::vector<Login>& Logins()
{
    static const std::vector<Login> logins{
        LoginAt(u"benbu"_s, u"快运本部"_s, u"总部"_s, u"2"_s),
        LoginAt(u"hefei"_s, u"合肥中心"_s, u"中心"_s, u"1"_s),
        LoginAt(u"hefei1"_s, u"安徽合肥一部"_s, u"网点，自有面单"_s, u"1"_s),
        LoginAt(u"hefei2"_s, u"安徽合肥二部"_s, u"网点，财务中心面单"_s, u"1"_s),
        LoginAt(u"hefei3"_s, u"安徽合肥三部"_s, u"网点，独立面单"_s, u"1"_s),
        LoginAt(u"xuancheng"_s, u"安徽宣城同行"_s, u"同行"_s, u"1"_s),
    };
    return logins;
}

QString DemoPassword()
{
    return u"demo"_s;
}

} // namespace demo
