// What all sessions of a server share; outlives them.
#pragma once

#include "host/ConnectionList.h"
#include "host/ExtensionModule.h"
#include "host/Limits.h"
#include "host/MemoryBudget.h"
#include "host/PenaltyBox.h"
#include "host/RequestWatch.h"
#include "host/TrustedProxies.h"
#include "host/WorkerPool.h"

namespace host {

struct SessionServices {
    const Limits& limits;
    const ExtensionModule& module;
    const TrustedProxies& proxies;
    WorkerPool& pool;
    ConnectionList& connections;
    PenaltyBox& penalties;
    MemoryBudget& memory;
    RequestWatch& watch;
};

}  // namespace host
