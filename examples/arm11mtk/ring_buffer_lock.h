#ifndef ARM11MTK_RING_BUFFER_LOCK_H
#define ARM11MTK_RING_BUFFER_LOCK_H
// A byte ring guarded by a recursive mutex. z_read and z_write count every byte ever read and
// written and grow without wrapping (modulo 2^32); the fill level is z_write - z_read and never
// exceeds z_buff_size, a power of two; a storage position is an index masked with
// z_buff_size - 1. The storage is either the caller's (x_locked_fifo_init, never freed here)
// or allocated together with the record (x_locked_fifo_alloc, `alloc` set).
//
// Contract of x_locked_fifo_read: when the readable bytes do not wrap past the end of the
// storage, never ask for more than x_locked_fifo_len() bytes (the second copy's length would be
// negative). Writers and readers may be different threads; each operation holds the lock
// while it changes the indices.
#include "kapi/KapiTypes.h"

#include <pthread.h>

struct locked_fifo_t
{
    uint32 z_read;
    uint32 z_write;
    uint32 z_buff_size;
    bool alloc;
    uint8* puc_data;
    pthread_mutex_t lock;
};

// Null unless `size` is a power of two.
locked_fifo_t* x_locked_fifo_init(void* storage, uint32 size);
locked_fifo_t* x_locked_fifo_alloc(uint32 size);
// Bytes copied: at most `n`, at most the fill level.
uint32 x_locked_fifo_read(locked_fifo_t* f, uint8* dst, uint32 n);
// Bytes stored: at most `n`, at most the free space.
uint32 x_locked_fifo_write(locked_fifo_t* f, const uint8* src, uint32 n);
uint32 x_locked_fifo_len(locked_fifo_t* f);
bool x_locked_fifo_full(locked_fifo_t* f);
void x_locked_fifo_free(locked_fifo_t* f);
void x_locked_fifo_reset(locked_fifo_t* f);
uint32 x_locked_fifo_size(locked_fifo_t* f);

#endif
