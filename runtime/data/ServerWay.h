#pragma once

#include "runtime/Export.h"
#include "wire/Messages.h"

#include <QString>

#include <atomic>
#include <memory>
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
using TServerList = std::vector<TServerAddress>;

// Reads "host", "host:port" or "[v6 address]:port"; nullopt when the text is none of them.
RUNTIME_EXPORT std::optional<TServerAddress> ParseServerAddress(const QString& text);
// Reads several with commas between them, at least one; nullopt when one of them is none.
RUNTIME_EXPORT std::optional<TServerList> ParseServerAddresses(const QString& text);
// The same back again.
RUNTIME_EXPORT QString TextOf(const TServerList& addresses);

// What is enciphered, and then only for a server whose certificate stands up to being checked.
enum class TTlsUse {
    Network, // every way that leaves this machine
    Always,
    Never,
};

// The way to the servers of one database.
struct TServerWay {
    TServerList addresses; // tried in turn, beginning with the one that answered last
    TTlsUse tls = TTlsUse::Network;
    QString caFile; // PEM: the authorities to trust; "": those that the system trusts
    // Milliseconds.
    int connectTimeout = 10'000; // for all addresses together, yet at least two seconds for each
    int loginTimeout = 30'000; // a login's answer
    int replyTimeout = 120'000; // any other answer, from its last received byte

    // Which address answered last: shared by the copies of a way.
    std::shared_ptr<std::atomic<size_t>> lastGood = std::make_shared<std::atomic<size_t>>(0);
};

// Makes no connection before `Connect`, which raises wire::Error: Connection where none of the addresses
// answers, Policy where a certificate forbids it, each saying what is wrong with which address.
RUNTIME_EXPORT std::unique_ptr<wire::Transport> MakeTcpTransport(TServerWay way);
