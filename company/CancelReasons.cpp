#include "company/CancelReasons.h"

using namespace Qt::Literals::StringLiterals;

namespace company {

const QStringList& CancelReasons()
{
    static const QStringList reasons{u"揽收地超服务范围"_s, u"虚假揽收地址"_s, u"虚假取件电话"_s,
        u"揽收预约时间超范围,无法协商"_s, u"派送地超服务范围"_s, u"虚假派送地址"_s, u"禁运品"_s,
        u"用户取消投递"_s, u"超规格"_s, u"其它错误"_s};
    return reasons;
}

} // namespace company
