// The order in which a thread may take the system's locks.
#pragma once

namespace Kernova::Threading {

// Outermost first. A thread takes a lock only if the lock's rank lies below (comes after) the ranks of all
// locks that the thread holds, or if it holds that very lock already: locks are re-entrant. Debugging builds
// check this at every Lock and end the process with a line on standard error that names both ranks.
//
// A thread that holds UserInfoMap takes ActiveLinks again only because the thread entered through
// ActiveLinks. No lock is held while a caller waits for an answer. ReadStream alone is held while the game's
// callback runs: in a handler.
enum class LockRank {
    Lifecycle,    // InitModule and UninitModule against each other
    ReadStream,   // of a link, held over a handler
    ActiveLinks,  // the connector's list, held over building and sending a message
    UserInfoMap,  // held over completing a checkin's waiter and adding its user
    Table,        // CFailedCheckOutVector's lock and CResWaiterMap's lock, never both
    Leaf,         // everything else: a waiter's response, flags, settings, ids, the pool's map
    Creation,     // of a process-wide object, which any thread may be the first to need
};

}  // namespace Kernova::Threading
