#pragma once

#include "runtime/controls/TreeView.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Forms.h"
#include "tests/support/FakeServer.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QTemporaryDir>

#include <cstdint>

// A main form as the module expects the host's to be.
class TFakeMainForm : public QMainWindow {
    Q_OBJECT
    Q_PROPERTY(qulonglong GlobalCdsAddr READ CdsAddress)
    Q_PROPERTY(qulonglong GlobalValueAddr READ ValueAddress)
    Q_PROPERTY(qulonglong GlobalTreeAddr READ TreeAddress)
    Q_PROPERTY(QString GlobalTree MEMBER WantedTree)
    Q_PROPERTY(double ServerDateTime MEMBER ServerDays)
public:
    TFakeMainForm();

    Q_INVOKABLE void ResetSearch(QWidget* grid) { SearchTargets.push_back(grid); }
    Q_INVOKABLE void ShowNotice(const QString& text) { Notices.append(text); }

    qulonglong CdsAddress() const { return reinterpret_cast<quintptr>(&DataSets); }
    qulonglong ValueAddress() const { return reinterpret_cast<quintptr>(&Values); }
    qulonglong TreeAddress() const { return reinterpret_cast<quintptr>(&Trees); }

    TObjectList DataSets, Values, Trees;
    QString WantedTree;
    double ServerDays = 0;

    QStringList Notices;
    std::vector<QWidget*> SearchTargets; // every target given, none included
    struct TMessage {
        int number;
        QWidget* first;
        qintptr second;
    };
    std::vector<TMessage> Messages; // 1124, 1125 and 1127 as they came
    std::vector<int> MessageNumbers() const;

protected:
    bool event(QEvent* event) override;
};

// Application, screen, main form, connections and shared data of a branch site's login, set as the process's
// own for as long as it lives. Boxes take queued answers, or their default button at once.
class TFakeHost {
public:
    TFakeHost();
    ~TFakeHost();
    TFakeHost(const TFakeHost&) = delete;
    TFakeHost& operator=(const TFakeHost&) = delete;

    TClientDataSetEx& AddDataSet(const QString& name, wire::RowSet rows);
    void SetValue(const QString& name, const QString& text);
    TClientDataSetEx& DataSet(const QString& name);
    // The array that `exec` takes.
    std::vector<std::uintptr_t> HostData();
    // Texts of the boxes shown since the last call.
    QStringList TakeMessages();

    QTemporaryDir Folder; // of the "running program"
    TFakeServer Server;
    TApplication App;
    TScreen Scr;
    TFakeMainForm MainForm;
    TSocketConnectionEx Connection;
    TSocketConnectionEx Connection2;

private:
    TApplication* applicationBefore_;
    TScreen* screenBefore_;
};
