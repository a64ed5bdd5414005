#pragma once

#include "runtime/data/ServerAddress.h"
#include "wire/Messages.h"

#include <atomic>
#include <memory>

// What is encrypted, and then only for a server whose certificate stands up to being checked.
enum class TTlsUse {
    Network, // every connection that leaves this machine
    Always,
    Never,
};

// How to reach the servers of one database.
struct TConnectOptions {
    TServerAddresses addresses; // tried in turn, beginning with the one that answered last
    TTlsUse tls = TTlsUse::Network;
    QString caFile; // PEM: the authorities to trust; "": those that the system trusts
    // Milliseconds.
    int connectTimeout = 10'000; // for all addresses together, yet at least two seconds for each
    int loginTimeout = 30'000; // a login's answer
    int replyTimeout = 120'000; // any other answer, from its last received byte

    // Which address answered last: shared by the copies.
    std::shared_ptr<std::atomic<size_t>> lastGood = std::make_shared<std::atomic<size_t>>(0);
};

// Makes no connection before `Connect`, which raises wire::Error: Connection where none of the addresses
// answers, Policy where a certificate forbids it, each saying what is wrong with which address.
RUNTIME_EXPORT std::unique_ptr<wire::Transport> MakeTcpTransport(TConnectOptions options);
// To one server, encrypted where it is another machine.
RUNTIME_EXPORT std::unique_ptr<wire::Transport> MakeTcpTransport(
    const QString& host, int port, int connectTimeout = 10'000, int replyTimeout = 120'000);
