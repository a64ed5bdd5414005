#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// Which site delivers to an address: keywords end the address's town, road and house number; the pieces they
// cut are looked up among the delivery areas. Pieces end with the first character of a keyword, and the next
// begins one behind it: keywords are meant to have one character, the rest of a longer one leads the next
// piece.

struct TDeliveryAddress {
    QString province;
    QString city;
    QString county;
    QString address;
};

struct TKeywords {
    QStringList number;
    QStringList road;
    QStringList town;
};

// In characters from 1; 0: no such keyword.
struct TKeywordPlaces {
    qsizetype number = 0; // the character before the keyword
    qsizetype road = 0; // its first character
    qsizetype town = 0;
};

struct TAddressPieces {
    int number = -1; // none, or none that is a number
    QString road;
    QString town;
};

enum class TKeywordLevel { Number, Road, Town }; // from the highest

// The first keyword in the order of its list that occurs anywhere decides, not the one that comes first.
TKeywordPlaces FindKeywords(const QString& address, const TKeywords& keywords);
TAddressPieces CutAddress(const QString& address, const TKeywordPlaces& places);

QString KeywordsQuery(TKeywordLevel level);
QString AreaQuery(const TDeliveryAddress& to, const TAddressPieces& pieces);

// Runs a query: the text of its first row's only column, empty where there is no row.
using TLookUp = std::function<QString(const QString& sqlText)>;

// The site, empty where no area matches; there is no second, coarser try. Asks four times, or not at all for
// a blank address. Raises what `lookUp` raises.
QString FindDeliverySite(const TDeliveryAddress& to, const TLookUp& lookUp);
