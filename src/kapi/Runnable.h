#ifndef KAPI_RUNNABLE_H
#define KAPI_RUNNABLE_H
// What a Kapi::Thread runs: main() on the new thread; its result is what join() returns.
namespace Kapi {

class Runnable
{
public:
    virtual ~Runnable() = default;
    virtual int main() = 0;
};

} // namespace Kapi

#endif
