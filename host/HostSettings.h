#pragma once

#include "host/HostOptions.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/PropStorage.h"

#include <QByteArray>

#include <vector>

// What the host remembers between runs, in "host.ini" of its data folder. Never a password.
class THostSettings {
public:
    // `onProblem` is told once when the file cannot be read or written; the host goes on without it.
    THostSettings(const QString& dataDir, std::function<void(const QString& message)> onProblem);

    bool UsesServer() const;
    QString LastAccount() const;
    // Lists of servers that worked, the last used first.
    std::vector<TServerAddresses> Servers() const;
    TTlsUse Tls() const;
    QString CaFile() const;
    // After a login: `way` is nullopt for the embedded database.
    void RememberLogin(const QString& account, const std::optional<TConnectOptions>& way);

    // The screens that were open when the account left last, the current one last.
    QStringList OpenScreens(const QString& account) const;
    void RememberOpenScreens(const QString& account, const QStringList& names);

    // How the account wants its lists; for a damaged value the standard's, with a line in the log.
    TListStyle ListStyle(const QString& account) const;
    void RememberListStyle(const QString& account, const TListStyle& style);

    QByteArray WindowGeometry() const;
    void RememberWindowGeometry(const QByteArray& geometry);

private:
    TIniPropStorageManEh file_;
};
