// The locked byte ring; see ring_buffer_lock.h for the representation.
#include "ring_buffer_lock.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

static bool isPowerOfTwo_i(uint32 size)
{
    return ((size - 1) & size) == 0;
}

static void initLock_i(locked_fifo_t* f)
{
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&f->lock, &attr);
    pthread_mutexattr_destroy(&attr);
}

locked_fifo_t* x_locked_fifo_init(void* storage, uint32 size)
{
    if (!isPowerOfTwo_i(size))
        return nullptr;
    locked_fifo_t* f = static_cast<locked_fifo_t*>(calloc(1, sizeof(locked_fifo_t)));
    if (f == nullptr)
        return nullptr;
    f->puc_data = static_cast<uint8*>(storage);
    f->z_buff_size = size;
    initLock_i(f);
    return f;
}

locked_fifo_t* x_locked_fifo_alloc(uint32 size)
{
    if (!isPowerOfTwo_i(size))
        return nullptr;
    // One allocation: the record, then the storage.
    locked_fifo_t* f = static_cast<locked_fifo_t*>(calloc(1, sizeof(locked_fifo_t) + size));
    if (f == nullptr)
        return nullptr;
    f->puc_data = reinterpret_cast<uint8*>(f + 1);
    f->z_buff_size = size;
    f->alloc = true;
    initLock_i(f);
    return f;
}

uint32 x_locked_fifo_write(locked_fifo_t* f, const uint8* src, uint32 n)
{
    // Only the writer moves z_write, so it may be read before the lock.
    const uint32 size = f->z_buff_size;
    const uint32 in = f->z_write;
    pthread_mutex_lock(&f->lock);
    const uint32 count = std::min(n, size - (in - f->z_read));
    const uint32 at = in & (size - 1);
    const uint32 first = std::min(count, size - at);
    memcpy(f->puc_data + at, src, first);
    memcpy(f->puc_data, src + first, count - first);
    f->z_write += count;
    pthread_mutex_unlock(&f->lock);
    return count;
}

uint32 x_locked_fifo_read(locked_fifo_t* f, uint8* dst, uint32 n)
{
    // Only the reader moves z_read, so it may be read before the lock.
    const uint32 size = f->z_buff_size;
    const uint32 out = f->z_read;
    pthread_mutex_lock(&f->lock);
    const uint32 at = out & (size - 1);
    const uint32 first = std::min(n, size - at);
    const uint32 count = std::min(n, f->z_write - out);
    memcpy(dst, f->puc_data + at, first);
    if (count != first)
        memcpy(dst + first, f->puc_data, count - first);
    f->z_read += count;
    pthread_mutex_unlock(&f->lock);
    return count;
}

uint32 x_locked_fifo_len(locked_fifo_t* f)
{
    pthread_mutex_lock(&f->lock);
    const uint32 len = f->z_write - f->z_read;
    pthread_mutex_unlock(&f->lock);
    return len;
}

bool x_locked_fifo_full(locked_fifo_t* f)
{
    pthread_mutex_lock(&f->lock);
    const bool full = f->z_write - f->z_read == f->z_buff_size;
    pthread_mutex_unlock(&f->lock);
    return full;
}

void x_locked_fifo_reset(locked_fifo_t* f)
{
    pthread_mutex_lock(&f->lock);
    f->z_read = 0;
    f->z_write = 0;
    pthread_mutex_unlock(&f->lock);
}

uint32 x_locked_fifo_size(locked_fifo_t* f)
{
    return f->z_buff_size;
}

void x_locked_fifo_free(locked_fifo_t* f)
{
    if (f == nullptr)
        return;
    pthread_mutex_destroy(&f->lock);
    free(f); // storage allocated with the record goes with it
}
