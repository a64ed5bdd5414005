#pragma once

#include "runtime/data/TcpTransport.h"
#include "wire/Frame.h"
#include "wire/SocketStream.h"

#include <functional>

// An open connection to one server as a sequence of frames, waited for on the caller's thread.
class TServerChannel : public wire::FrameChannel {
public:
    // Connects, encrypted where the options ask for it. Raises wire::Error as MakeTcpTransport says.
    // `keepWaiting` as wire::Transport's, none where the caller has nothing else to look after.
    TServerChannel(const TServerAddress& address, const TConnectOptions& options, int connectTimeout,
        std::function<bool()> keepWaiting = {});
    ~TServerChannel() override;

    // How long each following read may wait, in milliseconds.
    void SetReplyTimeout(int timeout) noexcept { replyTimeout_ = timeout; }
    // False as soon as it is known that the server has closed the connection.
    bool IsOpen() const noexcept { return stream_.IsOpen(); }
    // Beyond this machine, where bandwidth is worth the work of compressing.
    bool IsRemote() const;

private:
    qsizetype ReadSome(char* to, qsizetype size, bool idle) override;
    void WriteAll(const char* bytes, qsizetype size) override;
    template <typename F> auto Guarded(F&& work) const;

    const QString address_;
    const std::function<bool()> keepWaiting_;
    wire::SocketStream stream_;
    int replyTimeout_;
};
