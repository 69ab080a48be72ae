// Netrova: one TCP client endpoint, its links and their callbacks. Every operation may be called
// from any thread; none throws. A failing call leaves its code in Platova::GetLastError.
#pragma once

#include <cstddef>

#include "platform/Kernova.h"
#include "platform/Strova.h"

namespace Netrova {

// One established connection, reference counted.
namespace Link {
struct _THandle;

int AddRef(_THandle*);   // the count afterwards
int Release(_THandle*);  // the count afterwards

// Accepts the block's bytes for sending or refuses them, and never waits for the peer: -1 if the link is
// closed or its queue is full (kMaxQueuedBytes), otherwise the bytes accepted. The block is used up: its
// stream may only be destroyed afterwards.
// A block that is accepted while the calling thread holds the active links leaves when that thread gives
// the list back, an inner hold included, and no byte of it leaves before: until then the thread may prepare
// for the answer. Any other block may leave at once. Blocks leave in the order in which they may.
int Send(_THandle*, Kernova::MemoryPool::_XMemory* const);

// Around the waking of callers who may all send again at once, on one thread: between the two calls, blocks
// that may leave are kept until so many senders have come, so that they leave together. EndGathering lets the
// callers run who share this thread's processor, and then everything leaves that has come. Where that has
// taken long, because others want the processor too, both calls do nothing for a while. A second
// BeginGathering on the link takes the place of the first, and one EndGathering ends both.
void BeginGathering(_THandle*, std::size_t senders);
void EndGathering(_THandle*);

// Whether every block that was accepted has been handed to the operating system whole.
bool HasSentAll(_THandle*);

// Asks for one receive of up to `size` bytes; several may be outstanding, each ends in one received
// callback once bytes have been added to the read stream. Reading stops when none is outstanding,
// which is how a slow reader slows the peer down. -1 if the link is closed.
int Recv(_THandle*, int size);

// Locks and returns the stream of all bytes received and not yet taken; null on failure, and then
// nothing is locked. Re-entrant.
Strova::_THandle* LockReadStream(_THandle*);
bool UnlockReadStream(_THandle*);

// Closes the connection; the disconnected callback follows on a pool thread. What was queued before
// is still written if the peer takes it at once. False if it was closed already.
bool Close(_THandle*);

// A link refuses further blocks while more than this is waiting to be written. The largest of the waiting
// blocks does not count: one list of all users does not make every other call fail until it has left.
inline constexpr std::size_t kMaxQueuedBytes = 32u << 20;

// Why the connection of the link has ended, with the system's code if it has Failed: the first reason counts.
// Known in the disconnected callback and later.
enum class End { ByPeer, ClosedHere, Stalled, Failed };
End GetEnd(_THandle*, int& nCode);

// What all links of the process hold for writing at this moment, in bytes. Waits for nothing.
std::size_t GetQueuedBytes();

// A link whose queue makes no progress for so many seconds is lost: its peer is there and reads no more.
inline constexpr int kMaxStall = 30;
}  // namespace Link

// A locked view of a connector's live links.
namespace ActiveLinkList {
struct _THandle;
Link::_THandle* GetLink(_THandle*, std::size_t index);  // null if there is none
}  // namespace ActiveLinkList

// A client endpoint. Callbacks run on the pool's threads:
//   connected     once for each link, before anything else of that link;
//   received      after bytes have been added to the read stream; one at a time for a link;
//   disconnected  once for each link, after connected has returned and when the link has left the
//                 active list. It does not wait for a received callback that is still running.
// A link stays valid for the length of a callback, and as long as somebody holds a reference.
namespace Connector {
struct _THandle;
using Callback = void (*)(_THandle*, Link::_THandle*, void* context);

// Null on failure; a pool serves one connector at a time.
_THandle* CreateHandle(Kernova::ThreadPool::_THandle* pool);
// Closes the links, waits until every callback has returned and the disconnected callbacks have
// run, and frees the connector. Takes null. Must not be called from one of its own callbacks.
void DestroyHandle(_THandle*);

// Stored before Connect. OnTimeout is never called by this library's own implementation.
bool SetOnConnected(_THandle*, Callback, void* context);
bool SetOnDisconnected(_THandle*, Callback, void* context);
bool SetOnTimeout(_THandle*, Callback, void* context);
bool SetOnReceived(_THandle*, Callback, void* context);

// Opens one TCP connection to the host, dotted or named, and blocks until it stands, has failed or
// the time is over; true on success. The connected callback follows on a pool thread.
bool Connect(_THandle*, const char* host, unsigned short port, int timeoutMilliseconds);
// Lets the Connect calls that are under way fail at once, and those that follow.
void AbortConnects(_THandle*);

// Re-entrant for the thread that holds it. Null on failure, and then nothing is locked.
// Every unlock, an inner one too, lets the blocks leave that its thread has sent.
ActiveLinkList::_THandle* LockActiveLinks(_THandle*);
bool UnlockActiveLinks(_THandle*);
}  // namespace Connector

}  // namespace Netrova
