#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"

#include <QTemporaryDir>
#include <QThread>

#include <functional>
#include <memory>

// One client at a server: a connection and the orders it works on. Belongs to one thread.
struct Desk {
    Desk(int port, const QString& account);

    void Open(const QString& sqlText);
    // Edits every row that it has.
    void MarkAll(const QString& remark);

    TSocketConnectionEx connection;
    TClientDataSetEx orders;
};

// A thread that a socket may wait in, joined at the end of its scope.
class DeskThread {
public:
    explicit DeskThread(std::function<void()> work)
        : thread_(QThread::create(std::move(work)))
    {
        thread_->start();
    }
    ~DeskThread() { thread_->wait(); }

private:
    std::unique_ptr<QThread> thread_;
};

// Values of one query's rows, run with an administrator's rights beside the server that serves the folder.
std::vector<QStringList> AskDatabase(const QString& folder, const QString& sqlText);
