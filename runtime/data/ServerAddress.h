#pragma once

#include "runtime/Export.h"

#include <QString>

#include <optional>
#include <vector>

struct RUNTIME_EXPORT TServerAddress {
    QString host;
    int port = 8866;

    // "host:port"; an IPv6 address in brackets.
    QString Text() const;
    // This machine by its address or as "localhost": what is sent there never leaves it.
    bool IsLoopback() const;
    bool operator==(const TServerAddress&) const = default;
};

// Servers of one database.
using TServerAddresses = std::vector<TServerAddress>;

// Reads "host", "host:port" or "[v6 address]:port"; nullopt when the text is none of them.
RUNTIME_EXPORT std::optional<TServerAddress> ParseServerAddress(const QString& text);
// Reads several with commas between them, at least one; nullopt when one of them is none.
RUNTIME_EXPORT std::optional<TServerAddresses> ParseServerAddresses(const QString& text);
// The same back again.
RUNTIME_EXPORT QString TextOf(const TServerAddresses& addresses);
