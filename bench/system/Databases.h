#pragma once

#include "server/provider/ApplicationServer.h"

#include <QString>

#include <memory>

// The databases that are measured: made once, kept beside the build.

struct MeasuredDatabase {
    QString folder;
    QString file; // of SQLite

    std::unique_ptr<server::ApplicationServer> Serve() const;
};

// The demo company with 100,000 orders.
MeasuredDatabase Medium(const QString& cacheFolder);
// The same, and 900,000 older orders that no measured range selects.
MeasuredDatabase Grown(const QString& cacheFolder);
