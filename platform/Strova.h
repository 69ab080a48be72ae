// Strova: byte streams, written at the back and read at the front. A stream belongs to one thread
// at a time. Nothing throws; a call that runs out of memory fails and changes nothing.
#pragma once

#include "platform/Kernova.h"

namespace Strova {

struct _THandle;

_THandle* CreateHandle();  // an empty stream; null on failure
void DestroyHandle(_THandle*);

// As if the stream ended after `size` more bytes, for reading, peeking, dropping and GetLength; -1 ends that.
// Bytes can be appended meanwhile.
void SetEnd(_THandle*, int size);

int GetLength(_THandle*);                          // bytes in the stream
int Write(_THandle*, const void* data, int size);  // appends; size, or -1 on failure
int Read(_THandle*, void* data, int size);         // takes up to size bytes; the count, or -1
int Peek(_THandle*, void* data, int size);         // copies up to size bytes, leaves them; the count
int RemoveLeft(_THandle*, int size);               // drops up to size bytes; the count, or -1
// The contents as a block for Netrova::Link::Send. It belongs to the stream; after a Send the
// stream may only be destroyed.
Kernova::MemoryPool::_XMemory* GetXMemory(_THandle*);

}  // namespace Strova
