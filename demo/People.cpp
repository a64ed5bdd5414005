#include "demo/Network.h"
#include "demo/Numbers.h"
#include "demo/Random.h"

#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

constexpr std::u16string_view kSurnames =
    u"王李张刘陈杨黄赵吴周徐孙马朱胡郭何高林罗郑梁谢宋唐许韩冯邓曹彭曾肖田董袁潘于蒋蔡余杜叶程苏魏吕丁任沈"
    u"姚卢姜崔钟谭陆汪范金石廖贾夏韦付方白邹孟熊秦邱江尹薛闫段雷";
constexpr std::u16string_view kFirst = u"建志文海晓永国明春玉秀丽俊庆学世";
constexpr std::u16string_view kSecond = u"军华强平芳敏静伟勇杰";

constexpr int kNames = static_cast<int>(kSurnames.size() * kFirst.size() * kSecond.size());
// Without a common factor with the number of names, so that steps of it meet every name once.
constexpr int kStride = 7919;
static_assert(kNames == kNameCount && kNames % kStride != 0);

} // namespace

QString PersonName(int number)
{
    auto rest = static_cast<std::size_t>((static_cast<qint64>(number) * kStride) % kNames);
    const char16_t characters[] = {kSurnames[rest % kSurnames.size()],
        kFirst[rest / kSurnames.size() % kFirst.size()], kSecond[rest / kSurnames.size() / kFirst.size()]};
    return QString(reinterpret_cast<const QChar*>(characters), 3);
}

QString MobileNumber(quint64 number)
{
    static constexpr int kPrefixes[] = {
        138, 139, 135, 136, 137, 150, 151, 158, 159, 182, 187, 188, 130, 131, 186, 189};
    Random random(number);
    const qint64 prefix = random.Pick(kPrefixes);
    return Digits(prefix * 100'000'000 + random.Below(100'000'000), 11);
}

QString LandlineNumber(const QString& areaCode, quint64 number)
{
    Random random(number);
    return areaCode + u'-' + Digits(random.Between(20'000'000, 88'999'999), 8);
}

} // namespace demo
