#pragma once

#include "wire/Frame.h"

#include <QString>

#include <functional>
#include <memory>

// A frame of the wire protocol that has arrived whole and waits to be passed on.
struct PassingFrame {
    enum class Direction { ToServer, ToClient } direction = Direction::ToServer;
    int connection = 0; // counted from 1, in the order of their coming
    wire::FrameHeader header;
    qsizetype size = 0; // bytes, header included
};

// What becomes of it.
struct Fate {
    enum class Kind {
        Pass,
        Trickle, // passed in pieces of `bytes`
        Cut, // both ends lose the connection when `bytes` of the frame have passed: none, some or all
        Stall, // neither this nor anything after it passes, either way; the connection stands
        // A request: its client loses the connection; the frame reaches the server all the same, on the old
        // connection, after `replies` further replies have reached other clients.
        Hold,
    } kind = Kind::Pass;
    qsizetype bytes = 0;
    int replies = 0;
};

// Stands between clients and a server, here or in another process, and does to what passes as its script
// says. It reads the frames, so they must not be encrypted; without a script, bytes pass as they come,
// whatever they are. Runs on a thread of its own.
class FaultProxy {
public:
    using Script = std::function<Fate(const PassingFrame&)>;

    // Where the server is; it need not be there yet. Listens on a free port of this machine.
    FaultProxy(const QString& host, quint16 port);
    ~FaultProxy();
    FaultProxy(const FaultProxy&) = delete;
    FaultProxy& operator=(const FaultProxy&) = delete;

    quint16 Port() const noexcept;
    // Called on the proxy's thread, for one frame at a time, from now on; empty: everything passes.
    void SetScript(Script script);
    // Every client loses its connection, every request that is held or stalled is forgotten.
    void CutAll();
    // Lets what is held reach the server now; returns when the server has answered all of it, or left. False
    // when it does neither within ten seconds.
    bool ReleaseHeld();

private:
    class Private;
    std::unique_ptr<Private> d_;
};

// Faults at random, the same for the same seed: about `rate` of the frames meet one. Requests and replies of
// any kind are cut before, inside and after, trickled, held back; one fault in `stallsIn` is a stall.
FaultProxy::Script RandomFaults(quint32 seed, double rate, int stallsIn = 50);
