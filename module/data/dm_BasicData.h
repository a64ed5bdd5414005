#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"

#include <QObject>

// The server link: the connection that the host handed over, and the command datasets that all screens share.
// A command dataset holds the result of the last query run through it only until the next one: read what you
// need at once.
class Tdm_BasicData : public QObject {
    Q_OBJECT
public:
    explicit Tdm_BasicData(QObject* owner = nullptr);

    TSocketConnectionEx* temp; // stands in until the host's connection is known; never opened
    TClientDataSetEx* comm;
    TClientDataSetEx* comm1;
    TClientDataSetEx* comm2;

    QPointer<TSocketConnectionEx> HostConnection; // the host's; none before the first call from the host
};

extern Tdm_BasicData* dm_BasicData;
