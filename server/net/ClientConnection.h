#pragma once

#include "server/net/Listener.h"

#include <mutex>

namespace server {

// One client: `Run` on its thread, everything else from the listener's.
class ClientConnection {
public:
    // Takes the descriptor over when `Run` begins. Factory and options must outlive the connection.
    ClientConnection(qintptr descriptor, const SessionFactory& newSession, const ListenerOptions& options);

    // Reads and answers until either side ends the connection; logs why when it was not the client's wish.
    void Run() noexcept;
    // No further request is read; the one that runs is answered.
    void Finish() noexcept;
    // Ends a running request soon.
    void Interrupt() noexcept;
    // Interrupts a request that runs for a client that has gone.
    void InterruptIfAbandoned() noexcept;

private:
    class Channel;
    class Sink;

    void Serve(Channel& channel);
    // Raises what ends the connection; everything else goes to the client.
    void Answer(Channel& channel, const wire::Request& request, quint32 number, bool compress);
    // Around a request; false where none, or no further one, may run.
    bool Begin();
    bool End();
    void Log(const QString& text) const;

    const SessionFactory& newSession_;
    const ListenerOptions& options_;
    QString peer_;
    std::unique_ptr<Session> session_; // there while `running_`
    bool loggedIn_ = false;

    std::mutex mutex_; // of what follows
    qintptr descriptor_; // -1 once it is being closed
    bool running_ = false; // a request
    bool finishing_ = false;
};

} // namespace server
