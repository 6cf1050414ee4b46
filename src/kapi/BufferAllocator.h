#ifndef KAPI_BUFFERALLOCATOR_H
#define KAPI_BUFFERALLOCATOR_H
// Where buffer memory comes from. The streaming pipeline gives its buffers an allocator over the
// reserved streaming region; everything else uses the process heap (DefaultAllocator).
// Implementations are safe to call from any thread.
namespace Kapi {

class BufferAllocator
{
public:
    virtual ~BufferAllocator() = default;
    // Null when no memory is available.
    virtual void* malloc(unsigned size) = 0;
    // Null is ignored.
    virtual void free(void* p) = 0;
    // Null when no memory is available (the old block is then unchanged).
    virtual void* realloc(void* p, unsigned size) = 0;
};

// The process heap.
class DefaultAllocator : public BufferAllocator
{
public:
    // The process-wide instance (never destroyed).
    static DefaultAllocator* getInstance();
    void* malloc(unsigned size) override;
    void free(void* p) override;
    void* realloc(void* p, unsigned size) override;
};

} // namespace Kapi

#endif
