#include "runtime/data/Collation.h"

#include <QHash>

#include <unicode/ucnv.h>
#include <unicode/ucol.h>
#include <unicode/ustring.h>
#include <unicode/utrans.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <numeric>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace {

struct CloseIcu {
    void operator()(UCollator* collator) const noexcept { ucol_close(collator); }
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
    void operator()(UTransliterator* transliterator) const noexcept { utrans_close(transliterator); }
};

const UChar* Utf16(QStringView text)
{
    return reinterpret_cast<const UChar*>(text.utf16());
}

// Pinyin order, with Latin letters before the Chinese characters; nullptr where ICU has no data at all.
const UCollator* ChineseCollator()
{
    static const std::unique_ptr<UCollator, CloseIcu> collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UCollator, CloseIcu> opened(ucol_open("zh@collation=pinyin", &status));
        if (opened) {
            constexpr int32_t order[] = {USCRIPT_LATIN, USCRIPT_HAN};
            ucol_setReorderCodes(opened.get(), order, 2, &status);
        }
        return opened;
    }();
    return collator.get();
}

// Digits and letters of one case: their collation order is the order of their bytes.
bool OrdersByBytes(const std::vector<QByteArrayView>& texts)
{
    bool upper = false;
    bool lower = false;
    for (const QByteArrayView text : texts) {
        for (const char c : text) {
            upper = upper || (c >= 'A' && c <= 'Z');
            lower = lower || (c >= 'a' && c <= 'z');
            const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
            if (!plain || (upper && lower))
                return false;
        }
    }
    return true;
}

// The sort keys of texts, one after the other.
class KeyPool {
public:
    void Add(QByteArrayView text, const UCollator* collator)
    {
        const size_t start = bytes_.size();
        if (!collator) {
            bytes_.insert(bytes_.end(), text.begin(), text.end());
        } else {
            if (units_.size() < static_cast<size_t>(text.size()))
                units_.resize(static_cast<size_t>(text.size()) * 2);
            int32_t length = 0;
            UErrorCode status = U_ZERO_ERROR;
            u_strFromUTF8WithSub(units_.data(), static_cast<int32_t>(units_.size()), &length, text.data(),
                static_cast<int32_t>(text.size()), 0xfffd, nullptr, &status);
            // Mostly enough; the length comes back either way.
            size_t room = static_cast<size_t>(length) * 4 + 16;
            for (;;) {
                bytes_.resize(start + room);
                const auto needed = static_cast<size_t>(ucol_getSortKey(
                    collator, units_.data(), length, bytes_.data() + start, static_cast<int32_t>(room)));
                bytes_.resize(start + needed);
                if (needed <= room)
                    break;
                room = needed;
            }
        }
        starts_.push_back(start);
    }

    std::vector<quint32> Ranks()
    {
        struct Item {
            quint64 prefix; // the first eight bytes settle most comparisons
            quint32 index;
        };
        starts_.push_back(bytes_.size());
        std::vector<Item> items(starts_.size() - 1);
        for (size_t i = 0; i < items.size(); ++i) {
            quint64 prefix = 0;
            const size_t size = starts_[i + 1] - starts_[i];
            for (size_t k = 0; k < 8; ++k)
                prefix = prefix << 8 | (k < size ? bytes_[starts_[i] + k] : 0);
            items[i] = {prefix, static_cast<quint32>(i)};
        }
        const auto key = [this](const Item& item) {
            return std::string_view(reinterpret_cast<const char*>(bytes_.data()) + starts_[item.index],
                starts_[item.index + 1] - starts_[item.index]);
        };
        std::sort(items.begin(), items.end(), [&](const Item& a, const Item& b) {
            return a.prefix != b.prefix ? a.prefix < b.prefix : key(a) < key(b);
        });
        std::vector<quint32> ranks(items.size());
        quint32 rank = 0;
        for (size_t i = 0; i < items.size(); ++i) {
            if (i > 0 && (items[i].prefix != items[i - 1].prefix || key(items[i]) != key(items[i - 1])))
                ++rank;
            ranks[items[i].index] = rank;
        }
        return ranks;
    }

private:
    std::vector<uint8_t> bytes_;
    std::vector<size_t> starts_;
    std::vector<UChar> units_;
};

// Readings in place names that differ from the character's usual one.
struct PlaceReading {
    QStringView word;
    QStringView initials;
};
constexpr PlaceReading kPlaceReadings[] = {
    {u"重庆", u"cq"},
    {u"厦门", u"xm"},
    {u"长沙", u"cs"},
    {u"长春", u"cc"},
    {u"长治", u"cz"},
    {u"长宁", u"cn"},
    {u"长乐", u"cl"},
    {u"乐清", u"yq"},
    {u"六安", u"la"},
    {u"蚌埠", u"bb"},
    {u"番禺", u"py"},
    {u"大厦", u"ds"},
    {u"银行", u"yh"},
};

// The first letter of the character's reading; 0 where it has none.
char16_t ReadInitial(char32_t character)
{
    thread_local const std::unique_ptr<UTransliterator, CloseIcu> transliterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        constexpr QStringView id = u"Han-Latin; Latin-ASCII";
        return std::unique_ptr<UTransliterator, CloseIcu>(utrans_openU(
            Utf16(id), static_cast<int32_t>(id.size()), UTRANS_FORWARD, nullptr, 0, nullptr, &status));
    }();
    if (!transliterator)
        return 0;
    constexpr int32_t kRoom = 32;
    UChar buffer[kRoom] = {};
    int32_t length = 0;
    const auto units = QChar::fromUcs4(character);
    for (const QChar unit : QStringView(units))
        buffer[length++] = unit.unicode();
    int32_t limit = length;
    UErrorCode status = U_ZERO_ERROR;
    utrans_transUChars(transliterator.get(), buffer, &length, kRoom, 0, &limit, &status);
    const char16_t first = QChar(buffer[0]).toLower().unicode();
    return U_SUCCESS(status) && first >= u'a' && first <= u'z' ? first : u'\0';
}

char16_t Initial(char32_t character)
{
    thread_local QHash<char32_t, char16_t> known;
    auto found = known.find(character);
    if (found == known.end())
        found = known.insert(character, ReadInitial(character));
    return *found;
}

} // namespace

std::vector<quint32> CollationRanks(const std::vector<QByteArrayView>& utf8Texts)
{
    const UCollator* const collator = OrdersByBytes(utf8Texts) ? nullptr : ChineseCollator();
    KeyPool keys;
    for (const QByteArrayView text : utf8Texts)
        keys.Add(text, collator);
    return keys.Ranks();
}

int CompareChinese(const QString& a, const QString& b)
{
    const UCollator* const collator = ChineseCollator();
    if (!collator)
        return a.compare(b);
    return ucol_strcoll(
        collator, Utf16(a), static_cast<int32_t>(a.size()), Utf16(b), static_cast<int32_t>(b.size()));
}

QString PinyinInitials(QStringView text)
{
    QString initials;
    initials.reserve(text.size());
    for (qsizetype i = 0; i < text.size();) {
        const auto* const reading = std::find_if(std::begin(kPlaceReadings), std::end(kPlaceReadings),
            [&](const PlaceReading& place) { return text.sliced(i).startsWith(place.word); });
        if (reading != std::end(kPlaceReadings)) {
            initials += reading->initials;
            i += reading->word.size();
            continue;
        }
        char32_t character = text[i].unicode();
        qsizetype units = 1;
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            character = QChar::surrogateToUcs4(text[i], text[i + 1]);
            units = 2;
        }
        const char16_t initial = QChar::script(character) == QChar::Script_Han ? Initial(character) : u'\0';
        if (initial)
            initials += QChar(initial);
        else
            initials += text.sliced(i, units).toString().toLower();
        i += units;
    }
    return initials;
}

int CodePage936Length(QStringView text)
{
    thread_local const std::unique_ptr<UConverter, CloseIcu> converter = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UConverter, CloseIcu> opened(ucnv_open("windows-936-2000", &status));
        if (opened)
            ucnv_setSubstChars(opened.get(), "?", 1, &status);
        return opened;
    }();
    int length = 0;
    if (converter) {
        UErrorCode status = U_ZERO_ERROR;
        length = ucnv_fromUChars(
            converter.get(), nullptr, 0, Utf16(text), static_cast<int32_t>(text.size()), &status);
    } else {
        for (const QChar c : text)
            length += c.unicode() < 0x80 ? 1 : 2;
    }
    return length;
}
