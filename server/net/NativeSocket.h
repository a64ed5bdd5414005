#pragma once

#include <QtGlobal>

namespace server {

// What a socket can be asked from a thread that does not own its QTcpSocket. Safe beside that thread's
// reading and writing, as long as the descriptor is open.

// The other side has closed or reset the connection and everything that it had sent was read.
bool PeerHasClosed(qintptr descriptor) noexcept;
// Lets whoever reads, now or later, come to the end of the stream; writing goes on.
void EndReading(qintptr descriptor) noexcept;
// Tells the other side that nothing more will come; reading goes on.
void EndWriting(qintptr descriptor) noexcept;

} // namespace server
