#pragma once

#include "runtime/data/TcpTransport.h"
#include "wire/DateTime.h"

#include <QStringList>

#include <optional>

// What the command line asks for.
struct THostOptions {
    QString dataDir; // folder of the embedded database and of the host's own settings
    QString demo = QStringLiteral("medium");
    std::optional<wire::DateTime> now; // fixes the embedded server's clock at start-up
    TServerAddresses servers; // of one database; empty: what was chosen last
    std::optional<TTlsUse> tls; // nothing: as chosen last
    QString caFile; // "": as chosen last
    QString script; // a script that drives the host instead of a user
    QString traceFile; // every SQL text as one JSON line
    QString screenshots; // folder for what scripts photograph
    bool tour = false; // play the guided tour
    bool freshData = false; // the data folder is the tour's own and starts empty
    bool paintAndQuit = false; // end once the login window is painted, for measuring
};

// What could not be understood, for the user; the process then ends with code 2.
struct TOptionsProblem {
    QString message;
    bool isHelp = false; // the user asked for the text: it goes to stdout with code 0
};

// Reads the arguments, the program's name first. `headless` says that there is no display: without a script
// the guided tour is what can be done.
std::optional<TOptionsProblem> ReadOptions(
    const QStringList& arguments, bool headless, THostOptions& options);

// The folder for this user's data where none is named.
QString DefaultDataDir();
