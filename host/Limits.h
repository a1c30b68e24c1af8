// The bounds that the host puts on what a client may send and on how long it may take.
#pragma once

#include <chrono>
#include <cstddef>

namespace host {

struct Limits {
    size_t maxRequestLine = 8 * 1024;
    size_t maxPath = 1023;       ///< decoded; extensions ask for variables with room for 1024 bytes
    size_t maxHead = 16 * 1024;  ///< request line and header lines together
    size_t maxFields = 100;
    size_t maxFieldName = 256;
    size_t maxBody = 32 * 1024 * 1024;
    size_t queueLength = 256;            ///< requests that wait for a worker
    size_t maxHeld = 256 * 1024 * 1024;  ///< memory for the bodies of requests and answers
    size_t maxConnections = 10'000;      ///< beyond it, those go that have waited longest

    std::chrono::milliseconds headTime{20'000};       ///< for the TLS handshake and the whole head
    std::chrono::milliseconds pieceTime{30'000};      ///< for the next piece of a body or an answer
    std::chrono::milliseconds transferTime{600'000};  ///< for a whole body or a whole answer
    std::chrono::milliseconds lingerTime{3'000};  ///< for the client to see the end of the answer
    std::chrono::milliseconds drainTime{30'000};  ///< for the requests in progress at the end
};

}  // namespace host
