#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "siege/chaos/Ledger.h"

#include <atomic>
#include <random>

namespace chaos {

// One desk with its clerk: takes, picks up and gives back orders as the screens do, on orders that others
// take at the same moment. Whatever goes wrong is written down, and the clerk goes on. Belongs to one thread.
class ChaosDesk {
public:
    struct Settings {
        QString account;
        TConnectOptions way;
        QString ledgerPath;
        int number = 0; // of the desk; what it writes into orders begins with it
        quint32 seed = 0;
        int longestThought = 100; // milliseconds between two actions
        QString from; // orders created between these, "yyyy-mm-dd hh:mm:ss"
        QString to;
    };

    explicit ChaosDesk(const Settings& settings);

    // Headquarters: makes `count` of the orders wait for any of the `sites`.
    void OfferToAll(int count, const QStringList& sites);
    // Until `stop`; what is then on its way is brought to its end.
    void Work(const std::atomic<bool>& stop);

private:
    class Recorder;

    void Turn();
    void LogIn();
    void Accept();
    void PickUp();
    void GiveBack();
    void Save();
    void Open(TClientDataSetEx& dataSet, const QString& sqlText);
    // Goes to up to `most` rows, each once, and has them edited.
    template <typename Edit> void EditSome(int most, Edit&& edit);
    void StampModifier();
    void Set(QStringView field, const QString& value);
    void SetStatus(int status);
    void Clear(std::initializer_list<QStringView> fields);
    template <typename Action> bool Try(const QString& what, Action&& action);
    void Served();
    void Wanted();
    int Below(int limit) { return int(random_() % quint32(limit)); }

    const Settings settings_;
    LedgerWriter ledger_;
    TSocketConnectionEx connection_;
    TClientDataSetEx orders_;
    TClientDataSetEx comm_; // for look-ups
    std::mt19937 random_;
    wire::Identity clerk_; // known from the first login on
    int saves_ = 0;
    const std::atomic<bool>* stop_ = nullptr;
    QElapsedTimer wanted_; // since when the clerk waits for something
    qint64 longestWait_ = 0;
};

} // namespace chaos
